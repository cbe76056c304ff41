#include "run/histogram.h"

#include <gtest/gtest.h>
#include <algorithm>
#include <cmath>
#include <functional>
#include <numeric>
#include <random>

namespace {

double SortedPercentile(std::vector<std::uint64_t> sorted, double fraction)
{
    std::sort(sorted.begin(), sorted.end());
    return static_cast<double>(
        sorted[static_cast<std::size_t>(std::ceil(fraction * static_cast<double>(sorted.size()))) - 1]);
}

struct TDurations
{
    const char* name;
    std::function<std::uint64_t(std::mt19937_64&)> next;
};

TEST(Histogram, PercentilesAreWithinTheStatedErrorOfTheSortedOnes)
{
    const TDurations kinds[] = {
        {"narrow", [](auto& random) { return 1000000 + random() % 1000; }},
        {"wide", [](auto& random) { return std::uint64_t{1} << (random() % 40); }},
        {"log-uniform",
         [](auto& random) {
             return static_cast<std::uint64_t>(std::exp2(1e-3 * static_cast<double>(random() % 39000)));
         }},
        {"two peaks",
         [](auto& random) { return random() % 50 == 0 ? 40000000 + random() % 10000 : 900000 + random() % 999; }},
    };
    for (const TDurations& kind : kinds) {
        std::mt19937_64 random(7);
        host::CHistogram histogram;
        std::vector<std::uint64_t> durations(20001);
        for (std::uint64_t& ns : durations)
            histogram.Record(ns = kind.next(random));
        for (const double fraction : {0.001, 0.25, 0.5, 0.9, 0.99, 0.999, 1.0}) {
            const double expected = SortedPercentile(durations, fraction);
            EXPECT_NEAR(histogram.Percentile(fraction), expected, expected * host::CHistogram::relative_error)
                << kind.name << ' ' << fraction;
        }
        EXPECT_EQ(histogram.Max(), *std::max_element(durations.begin(), durations.end())) << kind.name;
        const double sum = std::accumulate(durations.begin(), durations.end(), 0.0, [](double total, std::uint64_t ns) {
            return total + static_cast<double>(ns);
        });
        EXPECT_DOUBLE_EQ(histogram.Mean(), sum / static_cast<double>(durations.size())) << kind.name;
    }
}

TEST(Histogram, SmallAndSingleValuesAreExact)
{
    for (std::uint64_t ns = 0; ns < 128; ++ns) {
        host::CHistogram histogram;
        histogram.Record(ns);
        EXPECT_EQ(histogram.Percentile(0.5), static_cast<double>(ns));
    }
}

TEST(Histogram, PercentilesAreNearestRanks)
{
    host::CHistogram histogram;
    for (std::uint64_t ns = 10; ns > 0; --ns)
        histogram.Record(ns);
    EXPECT_EQ(histogram.Percentile(0.5), 5.0);
    EXPECT_EQ(histogram.Percentile(0.51), 6.0);
    EXPECT_EQ(histogram.Percentile(0.91), 10.0);
    EXPECT_EQ(histogram.Percentile(0.01), 1.0);
}

TEST(Histogram, TakesTheEmptyAndTheEndless)
{
    host::CHistogram histogram;
    EXPECT_EQ(histogram.Percentile(0.5), 0.0);
    EXPECT_EQ(histogram.Mean(), 0.0);
    histogram.Record(std::uint64_t{1} << 50);
    EXPECT_EQ(histogram.Max(), std::uint64_t{1} << 50);
    EXPECT_EQ(histogram.Percentile(0.99), std::exp2(50.0));
}

}  // namespace
