#include "orvo_time/accumulator.h"

#include <algorithm>

namespace kt {
namespace chrono {

Accumulator::Accumulator() = default;
Accumulator::Accumulator(const Accumulator& other) : values_(other.values_) {}
Accumulator::~Accumulator() = default;

Accumulator& Accumulator::operator=(const Accumulator& other)
{
    values_ = other.values_;
    return *this;
}

/// The error of each addition (D. E. Knuth, The Art of Computer Programming 2, 4.2.2, theorem B) goes into the next
/// one.
void Accumulator::TSum::Add(double addend)
{
    addend += lost;
    const double sum = value + addend;
    const double shared = sum - value;
    lost = (value - (sum - shared)) + (addend - shared);
    value = sum;
}

/// B. P. Welford, Note on a method for calculating corrected sums of squares and products (1962). Alone it comes to a
/// stop: after some 10^7 values near 10^9 a step of the mean is less than the mean's last digit. Hence the sums that
/// keep what is lost.
void Accumulator::Add(double value)
{
    TValues& v = values_;
    v.last = value;
    v.min = v.count == 0 ? value : std::min(v.min, value);
    v.max = v.count == 0 ? value : std::max(v.max, value);
    ++v.count;
    const double from_old_mean = (value - v.mean.value) - v.mean.lost;
    v.mean.Add(from_old_mean / static_cast<double>(v.count));
    const double from_new_mean = (value - v.mean.value) - v.mean.lost;
    v.squares.Add(from_old_mean * from_new_mean);
    if (observers_)
        (*observers_)(*this);
}

void Accumulator::Reset()
{
    values_ = TValues();
}

double Accumulator::Variance() const
{
    return values_.count == 0 ? 0.0 : values_.squares.value / static_cast<double>(values_.count);
}

void Accumulator::RegisterObserver(const Observer& observer) const
{
    if (!observers_)
        observers_.reset(new Signal);
    observers_->connect(observer);
}

}  // namespace chrono
}  // namespace kt
