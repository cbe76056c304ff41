// The bytes in which a recording keeps an image, and back: as they are, as PNG, or packed by zstd.
//
// Every way keeps each pixel bit for bit. Thread rule: the functions are safe on any thread.
#ifndef REC_PAYLOAD_H
#define REC_PAYLOAD_H

#include <boost/shared_ptr.hpp>
#include <cstddef>
#include <cstdint>
#include <string>

#include "rec/export.h"

namespace cimage {
class CImage;
struct TPixelFormat;
}  // namespace cimage

namespace rec {

/// The value is the byte in a block header.
enum class Compression : std::uint8_t
{
    None = 0,
    Png = 1,
    Zstd = 2
};

/// "none", "png", "zstd".
ORVO_RECORDING_API const char* Name(Compression compression);
/// Throws std::invalid_argument saying what was found and what was wanted.
ORVO_RECORDING_API Compression ParseCompression(const std::string& name);

/// XXH3, 64 bits, seed 0: the checksum of everything that a recording checks.
ORVO_RECORDING_API std::uint64_t Checksum(const void* data, std::size_t size);

/// Bytes to be stored, and whoever keeps them alive.
struct TPayload
{
    boost::shared_ptr<const void> owner;
    const std::uint8_t* data = nullptr;
    std::size_t size = 0;
    Compression compression = Compression::None;  ///< that was used
};

/// The image's rows, one after the other without padding, packed as asked. Uncompressed they are not copied when they
/// lie that way already. What PNG cannot hold (packed YUV), and what zstd does not make smaller, comes back
/// uncompressed: `compression` tells. Other memory than the bytes told is not held. Throws std::bad_alloc alone.
ORVO_RECORDING_API TPayload Pack(const boost::shared_ptr<const cimage::CImage>& image, Compression compression);

/// The image of `size` stored bytes. Throws std::runtime_error saying what was found and what was wanted when they are
/// not exactly one image of that format and size; never reads or writes past either.
ORVO_RECORDING_API boost::shared_ptr<cimage::CImage> Unpack(const std::uint8_t* data, std::size_t size,
                                                            Compression compression, const cimage::TPixelFormat& format,
                                                            unsigned int width, unsigned int height);

}  // namespace rec

#endif
