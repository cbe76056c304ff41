// A chronometer of the device layer.
#ifndef DEV_CLOCK_H
#define DEV_CLOCK_H

#include "orvo_time/chronometer.h"

namespace dev {

/// A chronometer bound to one clock type, without a name at first.
class CClock : public kt::chrono::CTSChronometer
{
public:
    explicit CClock(kt::chrono::CChronometer::ClockType type) : kt::chrono::CTSChronometer(type) {}
};

}  // namespace dev

#endif
