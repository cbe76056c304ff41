#include "genicam/auto_mode.h"

#include <cmath>

namespace genicam {

void CAutoMode::Asked(Type mode)
{
    mode_ = mode;
    watching_ = false;
}

CAutoMode::Outcome CAutoMode::Saw(Time now, Type mode, double value, double tolerance)
{
    if (mode != mode_) {
        Asked(mode);
        return Outcome::Changed;
    }
    if (mode_ != Type::Once)
        return Outcome::Same;
    if (!watching_) {
        watching_ = true;
        began_ = still_since_ = now;
        still_at_ = value;
    }
    if (!(std::abs(value - still_at_) <= tolerance)) {
        still_at_ = value;
        still_since_ = now;
    }
    if (now - still_since_ >= settling_time())
        return Outcome::Settled;
    return now - began_ >= longest_time() ? Outcome::TimedOut : Outcome::Same;
}

}  // namespace genicam
