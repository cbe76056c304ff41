// What a request for a GenICam camera asks for.
#ifndef GENICAM_PLAN_H
#define GENICAM_PLAN_H

#include <string>
#include <vector>

#include "capture/source.h"
#include "orvo_proc_cimage/image.h"

namespace genicam {

/// The keys of a camera's section that the driver reads beside "FB", "ROI" and the identity:
///   BUFFERS      how many frames may be under way at once, from 2 to 1000; 16 without it. Each costs the memory of a
///                frame, and is in use until the last image of that frame is gone
///   PACKET SIZE  bytes of a packet of a GigE Vision camera, headers included, from 576 to 65535; without it, the
///                largest that gets through to this machine
extern const char* const buffers_key;
extern const char* const packet_size_key;

struct TPlan
{
    std::string location;
    const cimage::TPixelFormat* format = nullptr;
    unsigned int width = 0;   ///< of the whole sensor, pixels
    unsigned int height = 0;  ///< likewise
    std::string region;       ///< "ROI"; empty for the whole sensor
    unsigned int buffers = 16;
    unsigned int packet_size = 0;  ///< bytes; 0 leaves it to the camera and the network
};

/// Reads the request, without asking any camera. Adds whatever is wrong to `faults`; without any, the plan is whole.
TPlan ReadPlan(const capture::TRequest& request, std::vector<capture::TFault>* faults);

}  // namespace genicam

#endif
