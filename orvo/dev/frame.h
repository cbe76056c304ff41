// Frames: one image with its time stamp, as it travels from a capture source through a camera.
#ifndef DEV_FRAME_H
#define DEV_FRAME_H

#include <boost/date_time/posix_time/posix_time_types.hpp>
#include <boost/shared_ptr.hpp>
#include <cstdint>
#include <string>

#include "base/export.h"

namespace cimage {
class CImage;
}

namespace dev {

/// A plain value; a copy shares the image. No operation of the library sets the text or the counters: hosts use them
/// for the name of the source and for sequence numbers.
template <typename T = boost::shared_ptr<const cimage::CImage>>
struct TFrame
{
    std::string text;
    T image;
    boost::posix_time::ptime time_stamp;  ///< not_a_date_time until somebody stamps the frame
    std::uint64_t counter1 = 0;
    std::uint64_t counter2 = 0;
};

/// A frame at its defaults around a new image of the format and size of `image`. A null image stops the process.
ORVO_DEV_API TFrame<> FrameGenerator(const boost::shared_ptr<const cimage::CImage>& image);

/// Two numbers in the stream's default formatting, joined by ", ".
ORVO_DEV_API std::string to_string(double a, double b);

}  // namespace dev

#endif
