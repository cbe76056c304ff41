// When an automatic setting of a camera is over.
#ifndef GENICAM_AUTO_MODE_H
#define GENICAM_AUTO_MODE_H

#include <chrono>

#include "dev/camera/mode.h"

namespace genicam {

/// The mode of one automatic setting.
///
///             asked Auto                  asked Once
///   Manual ───────────────► Auto    Manual, Auto ───────────────► Once
///   Auto   ───────────────► Manual  asked Manual, or the camera went back to it
///   Once   ───────────────► Manual  the same, or the value has settled, or it took too long
///
/// A camera is supposed to end "Once" itself, and some never do; what is left to the owner then is to switch the camera
/// to Manual and to ask for Manual here. Knows no camera and no clock. Not thread-safe.
class CAutoMode
{
public:
    using Type = dev::camera::videoprop::attribute::mode::Type;
    using Time = std::chrono::steady_clock::time_point;

    enum class Outcome
    {
        Same,
        Changed,  ///< the camera has gone to another mode by itself
        Settled,  ///< Once: the value has found its place
        TimedOut  ///< Once: the value still moves, and has done so for too long
    };

    /// A value that stays as it is for so long has settled. A camera needs some frames before it moves at all.
    static constexpr std::chrono::seconds settling_time() { return std::chrono::seconds(2); }
    /// After so long a mode Once is over, settled or not.
    static constexpr std::chrono::seconds longest_time() { return std::chrono::seconds(10); }

    explicit CAutoMode(Type mode) : mode_(mode) {}

    Type Mode() const { return mode_; }

    /// The camera has taken this mode. Once starts anew, with the next Saw().
    void Asked(Type mode);

    /// What was read from the camera at `now`: its mode, and the value that the mode governs. A value that stays within
    /// `tolerance` of where it was is one that does not move. Settled and TimedOut come again at each call until
    /// another mode is asked for.
    Outcome Saw(Time now, Type mode, double value, double tolerance);

private:
    Type mode_;
    bool watching_ = false;  ///< the members below are of the present Once
    Time began_{};
    Time still_since_{};
    double still_at_ = 0.0;
};

}  // namespace genicam

#endif
