// Chronometers: how long something takes, measured over and over.
#ifndef ORVO_TIME_CHRONOMETER_H
#define ORVO_TIME_CHRONOMETER_H

#include <boost/date_time/posix_time/posix_time_duration.hpp>
#include <boost/function.hpp>
#include <cstdint>
#include <string>

#include "orvo_time/accumulator.h"
#include "orvo_time/export.h"

namespace kt {
namespace chrono {

/// Measures from Start() to Stop() and keeps the statistics of all measurements. Neither call takes memory.
/// A plain value: a copy has its own measurements, and none of the observers of the original's accumulator.
/// Thread rule: one chronometer belongs to one thread at a time. Start() and Stop() of one measurement on the thread's
/// CPU time come from the same thread, since two threads' times have nothing to do with each other.
class ORVO_TIME_API CChronometer
{
public:
    /// Which clock is read; every value but ThreadTime means the real one.
    enum ClockType : int
    {
        RealTime = 0,   ///< time that passes, never set back
        ThreadTime = 1  ///< time that the calling thread was on a processor
    };

    /// Nanoseconds since any fixed moment.
    using ClockFunction = boost::function<std::int64_t()>;

    explicit CChronometer(ClockType type, const std::string& name = std::string());
    /// Reads `clock` instead of the machine's; `type` is what Type() tells.
    CChronometer(ClockType type, const std::string& name, ClockFunction clock);

    const std::string& Name() const { return name_; }
    void SetName(const std::string& name) { name_ = name; }
    ClockType Type() const { return type_; }

    /// Begins a measurement. One that has begun already is given up.
    void Start();
    /// Ends the measurement and adds it. Without a Start() since the last Stop() it does nothing.
    void Stop();

    /// The measurements: how many, and their statistics to the microsecond. All 0 when there is none.
    std::uint64_t StopCounter() const { return accumulator_.Count(); }
    boost::posix_time::time_duration Min() const;
    boost::posix_time::time_duration Max() const;
    boost::posix_time::time_duration Avg() const;
    /// In microseconds squared, and of all measurements, as Accumulator::Variance() says.
    double Var() const { return accumulator_.Variance(); }

    /// Forgets the measurements. One that has begun goes on.
    void Clear() { accumulator_.Reset(); }

    /// The measurements in microseconds, with fractions. Observers are called within Stop().
    const kt::chrono::Accumulator& Accumulator() const { return accumulator_; }

private:
    std::string name_;
    ClockType type_;
    ClockFunction clock_;
    std::int64_t begin_ns_ = 0;
    bool running_ = false;
    kt::chrono::Accumulator accumulator_;
};

/// A chronometer that is made from its clock type alone; a name may follow.
class ORVO_TIME_API CTSChronometer : public CChronometer
{
public:
    explicit CTSChronometer(ClockType type) : CChronometer(type) {}
};

}  // namespace chrono
}  // namespace kt

#endif
