// What the pixels of an image look like, whatever they become.
#ifndef REC_DETAIL_SAMPLES_H
#define REC_DETAIL_SAMPLES_H

#include <cstdint>
#include <cstring>

#include "orvo_proc_cimage/image.h"

namespace rec {

/// True when no sample has a bit set above the significant ones; some cameras leave other things there.
inline bool HasCleanSamples(const cimage::CImage& image)
{
    const unsigned int bits = image.Format().bits_per_sample;
    if (bits == 8 || bits == 16)
        return true;
    unsigned int all = 0;
    for (unsigned int y = 0; y < image.Height(); ++y) {
        const std::uint8_t* const row = image.Data() + y * image.Stride();
        for (std::size_t i = 0; i < image.RowBytes(); i += 2) {
            std::uint16_t sample;
            std::memcpy(&sample, row + i, sizeof sample);
            all |= sample;
        }
    }
    return all >> bits == 0;
}

}  // namespace rec

#endif
