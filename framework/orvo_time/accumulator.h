// Running statistics over a stream of numbers, in constant memory.
#ifndef ORVO_TIME_ACCUMULATOR_H
#define ORVO_TIME_ACCUMULATOR_H

#include <boost/function.hpp>
#include <boost/signals2/dummy_mutex.hpp>
#include <boost/signals2/signal_type.hpp>
#include <boost/signals2/slot.hpp>
#include <cstdint>
#include <memory>

#include "orvo_time/export.h"

namespace kt {
namespace chrono {

/// Count, extremes, mean and variance of the values that were added, in whatever unit they have. Mean and variance are
/// good to about 15 digits however many values there are, up to 10^9 and beyond, and however far they lie from zero
/// compared with how much they differ. A value that is not finite makes both useless until Reset().
/// Without values everything is 0.
/// Thread rule: one thread at a time, RegisterObserver() included.
class ORVO_TIME_API Accumulator
{
public:
    using Observer = boost::signals2::slot<void(const Accumulator&), boost::function<void(const Accumulator&)>>;

    Accumulator();
    /// A copy takes the values; observers stay with the accumulator that they were registered at.
    Accumulator(const Accumulator& other);
    Accumulator& operator=(const Accumulator& other);
    ~Accumulator();

    /// Takes a value, then calls the observers. An observer may read, register and reset, but must not add. What it
    /// throws passes; the value counts nonetheless.
    void Add(double value);

    /// Forgets the values. The observers stay, and are not called.
    void Reset();

    std::uint64_t Count() const { return values_.count; }
    double Last() const { return values_.last; }
    double Min() const { return values_.min; }
    double Max() const { return values_.max; }
    double Mean() const { return values_.mean.value; }
    /// The mean squared distance from the mean (divided by the count, not by one less): the values that were added are
    /// all there is, not a sample of more.
    double Variance() const;

    /// Has `observer` called with this accumulator after each new value, on the thread that adds it, in the order of
    /// registration. It stays for good, unless it tracks an object (Observer::track) and goes with that.
    void RegisterObserver(const Observer& observer) const;

private:
    using Signal =
        boost::signals2::signal_type<void(const Accumulator&),
                                     boost::signals2::keywords::mutex_type<boost::signals2::dummy_mutex>>::type;

    /// A sum with what rounding took from it.
    struct TSum
    {
        double value = 0.0;
        double lost = 0.0;

        void Add(double addend);
    };

    struct TValues
    {
        std::uint64_t count = 0;
        double last = 0.0;
        double min = 0.0;
        double max = 0.0;
        TSum mean;
        TSum squares;  ///< of the distances from the mean
    };

    TValues values_;
    mutable std::unique_ptr<Signal> observers_;  ///< null until there is one: most accumulators have none
};

}  // namespace chrono
}  // namespace kt

#endif
