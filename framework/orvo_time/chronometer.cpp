#include "orvo_time/chronometer.h"

#include <time.h>
#include <cmath>
#include <utility>

namespace kt {
namespace chrono {

namespace {

std::int64_t Nanoseconds(clockid_t clock)
{
    timespec time{};
    clock_gettime(clock, &time);
    return std::int64_t{time.tv_sec} * 1000000000 + time.tv_nsec;
}

std::int64_t RealNanoseconds()
{
    return Nanoseconds(CLOCK_MONOTONIC);
}

std::int64_t ThreadNanoseconds()
{
    return Nanoseconds(CLOCK_THREAD_CPUTIME_ID);
}

boost::posix_time::time_duration Duration(double us)
{
    return boost::posix_time::microseconds(std::llround(us));
}

}  // namespace

CChronometer::CChronometer(ClockType type, const std::string& name)
    : CChronometer(type, name, type == ThreadTime ? &ThreadNanoseconds : &RealNanoseconds)
{
}

CChronometer::CChronometer(ClockType type, const std::string& name, ClockFunction clock)
    : name_(name), type_(type), clock_(std::move(clock))
{
}

void CChronometer::Start()
{
    running_ = true;
    begin_ns_ = clock_();
}

void CChronometer::Stop()
{
    const std::int64_t end_ns = clock_();
    if (!running_)
        return;
    running_ = false;
    accumulator_.Add(static_cast<double>(end_ns - begin_ns_) / 1000.0);
}

boost::posix_time::time_duration CChronometer::Min() const
{
    return Duration(accumulator_.Min());
}

boost::posix_time::time_duration CChronometer::Max() const
{
    return Duration(accumulator_.Max());
}

boost::posix_time::time_duration CChronometer::Avg() const
{
    return Duration(accumulator_.Mean());
}

}  // namespace chrono
}  // namespace kt
