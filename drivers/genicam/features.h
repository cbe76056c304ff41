// A camera's features as video properties, made from the description that the camera carries.
#ifndef GENICAM_FEATURES_H
#define GENICAM_FEATURES_H

#include <boost/noncopyable.hpp>
#include <chrono>
#include <memory>

#include "capture/source.h"
#include "genicam/access.h"

namespace genicam {

/// What was asked of each feature and what the camera took, behind the attributes that read and set them. Which
/// features there are, and under which names, says genicam/catalogue.h. Safe on any thread; Tend() and Reapply() on one
/// at a time.
///
/// A setter checks against the limits that hold at the moment, writes, reads back, and tells what the camera took when
/// that is another value; what else changed with it is shown as well. It throws std::runtime_error,
/// "Exposure.Time: found 5 us, wanted 10 to 10000000 us", with nothing changed. A getter gives what the camera took
/// last, and never asks the camera. Limits of a Range are those at the time of opening.
///
/// While a "Mode" is not Manual the value that it governs is disabled, follows the camera and cannot be set. Once ends
/// when the camera says so, when the value has settled, or after a while, which is told; then the mode is Manual. What
/// the camera had found when a mode became Manual counts as asked for.
class CFeatures : private boost::noncopyable
{
public:
    using Clock = std::chrono::steady_clock;

    /// Reads the description of the camera behind `access`, and tells what it has to leave out. The pixel format that
    /// the camera has by now is the only one that can be chosen: frames are expected in it. Throws std::runtime_error
    /// while the camera is gone.
    CFeatures(CAccess& access, const capture::Tell& tell);

    /// Attributes that somebody still holds can be read afterwards; setting them throws. `access` is not used any more.
    ~CFeatures();

    const capture::CSource::VideoProperties& Properties() const;

    /// Gives a camera that was connected anew the values that were asked for since the start, in an order that it can
    /// take: manual modes, values in the order of asking, automatic modes. Tells what it refuses, and goes on. A mode
    /// Once that was cut off is not repeated. Does nothing while the camera is gone.
    void Reapply();

    /// To be called some times a second while frames come, and cheap to call at each of them: a few times a second it
    /// reads what the camera adjusts by itself, ends a mode Once that is over, and once a second reads one of the
    /// values that can only be read. A camera that vanishes meanwhile is no error here; the first call to meet it
    /// takes as long as Aravis waits for an answer, seconds on GigE Vision, and then the camera is left alone for a
    /// while.
    void Tend(Clock::time_point now);

private:
    class CImpl;
    const std::shared_ptr<CImpl> impl_;  ///< shared with the setters and getters
};

}  // namespace genicam

#endif
