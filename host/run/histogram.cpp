#include "run/histogram.h"

#include <algorithm>
#include <bit>
#include <cmath>

namespace host {

namespace {

constexpr unsigned int bits = 6;  // 64 buckets per octave
constexpr std::uint64_t per_octave = std::uint64_t{1} << bits;

/// Values below 2^7 have a bucket each, then every octave 2^e to 2^(e+1) has 64 of the width 2^(e-6).
std::size_t BucketOf(std::uint64_t ns)
{
    const unsigned int width = static_cast<unsigned int>(std::bit_width(ns));
    const unsigned int shift = width > bits + 1 ? width - (bits + 1) : 0;
    return static_cast<std::size_t>(shift * per_octave + (ns >> shift));
}

/// The middle of a bucket.
double ValueOf(std::size_t bucket)
{
    const std::uint64_t shift = bucket < 2 * per_octave ? 0 : bucket / per_octave - 1;
    const std::uint64_t low = (bucket - shift * per_octave) << shift;
    return static_cast<double>(low) + 0.5 * static_cast<double>((std::uint64_t{1} << shift) - 1);
}

}  // namespace

CHistogram::CHistogram() : buckets_(BucketOf(longest_ns) + 1) {}

void CHistogram::Record(std::uint64_t ns)
{
    ++buckets_[BucketOf(std::min(ns, longest_ns))];
    ++count_;
    sum_ns_ += ns;
    max_ns_ = std::max(max_ns_, ns);
}

double CHistogram::Mean() const
{
    return count_ == 0 ? 0.0 : static_cast<double>(sum_ns_) / static_cast<double>(count_);
}

double CHistogram::Percentile(double fraction) const
{
    const auto wanted = static_cast<std::uint64_t>(std::ceil(fraction * static_cast<double>(count_)));
    std::uint64_t seen = 0;
    for (std::size_t bucket = 0; bucket + 1 < buckets_.size(); ++bucket) {
        seen += buckets_[bucket];
        if (seen > 0 && seen >= wanted)
            return std::min(ValueOf(bucket), static_cast<double>(max_ns_));
    }
    return static_cast<double>(max_ns_);
}

}  // namespace host
