// Percentiles of run times in fixed memory.
#ifndef HOST_RUN_HISTOGRAM_H
#define HOST_RUN_HISTOGRAM_H

#include <cstddef>
#include <cstdint>
#include <vector>

namespace host {

/// Counts durations in nanoseconds. Each octave is cut into 64 buckets, so a percentile is off by at most
/// relative_error of the true one; below 128 ns, and for the count, the mean and the maximum, the answers are exact.
/// Recording takes no memory. Thread rule: one thread at a time.
class CHistogram
{
public:
    /// Half a bucket's width over its lower end.
    static constexpr double relative_error = 1.0 / 128.0;
    /// What is longer (18 minutes) counts in the last bucket; percentiles there are the maximum.
    static constexpr std::uint64_t longest_ns = (std::uint64_t{1} << 40) - 1;

    CHistogram();

    void Record(std::uint64_t ns);

    std::uint64_t Count() const { return count_; }
    std::uint64_t Max() const { return max_ns_; }  ///< 0 when empty
    double Mean() const;                           ///< 0 when empty
    /// The least duration that at least `fraction` (above 0, at most 1) of all did not exceed: nearest rank. 0 when
    /// empty.
    double Percentile(double fraction) const;

private:
    std::vector<std::uint64_t> buckets_;
    std::uint64_t count_ = 0;
    std::uint64_t sum_ns_ = 0;
    std::uint64_t max_ns_ = 0;
};

}  // namespace host

#endif
