// What a request for pictures asks for: which files, how often, how fast, with what stamps.
#ifndef IMAGES_PLAN_H
#define IMAGES_PLAN_H

#include <cstdint>
#include <string>
#include <vector>

#include "capture/source.h"
#include "images/stamp.h"

namespace images {

/// The keys of a camera's section that the driver reads:
///   LOOP    TRUE (endless), FALSE (one pass, the default), or a number of passes from 1
///   FPS     frames per second from 0.001 to 10000; without it, as fast as the host takes them
///   STAMPS  FILE TIME (the default), FILE NAME or CLOCK
extern const char* const loop_key;
extern const char* const fps_key;
extern const char* const stamps_key;

struct TPlan
{
    std::vector<std::string> files;  ///< in natural order
    std::uint64_t passes = 1;        ///< 0 without end
    double fps = 0.0;                ///< frames per second; 0 as fast as the host takes them
    Stamps stamps = Stamps::FileTime;
};

/// Reads the request and looks at the files, but not into them. Adds whatever is wrong to `faults`.
TPlan ReadPlan(const capture::TRequest& request, std::vector<capture::TFault>* faults);

/// True for a file of bare pixels (".raw", ".bayer"): the rows of the format one after another, samples of more than
/// 8 bits in the machine's byte order.
bool IsRaw(const std::string& file);

}  // namespace images

#endif
