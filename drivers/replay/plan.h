// What a request for a replay asks for: which track of which recording, how fast, how often.
#ifndef REPLAY_PLAN_H
#define REPLAY_PLAN_H

#include <cstddef>
#include <cstdint>
#include <memory>
#include <vector>

#include "capture/source.h"
#include "orvo_proc_cimage/image.h"
#include "rec/recording.h"

namespace replay {

/// The keys of a camera's section that the driver reads:
///   REPLAY RATE  how many times as fast as it was recorded, from 0.001 to 1000, or MAX: as fast as the host takes it
///   LOOP         TRUE (endless), FALSE (one pass, the default), or a number of passes from 1
extern const char* const rate_key;
extern const char* const loop_key;

struct TPlan
{
    std::unique_ptr<rec::CRecording> recording;
    std::size_t track = 0;
    double rate = 1.0;         ///< infinite: as fast as the host takes it
    std::uint64_t passes = 1;  ///< 0 without end
};

/// Reads the request, with or without its format, and the index of the recording, but no frames. Adds whatever is wrong
/// to `faults`; without any, the plan is whole.
TPlan ReadPlan(const capture::TRequest& request, bool with_format, std::vector<capture::TFault>* faults);

/// True when an image of that kind may come from a camera whose images are `full`: all of them, or a region.
bool Fits(const cimage::TPixelFormat& format, unsigned int width, unsigned int height, const cimage::CImage& full);

}  // namespace replay

#endif
