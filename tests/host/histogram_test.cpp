#include "run/histogram.h"

#include <gtest/gtest.h>
#include <algorithm>
#include <cmath>
#include <functional>
#include <numeric>
#include <random>

namespace {

TEST(Histogram, PercentilesAreWithinTheStatedErrorOfTheSortedOnes)
{
    using Next = std::function<std::uint64_t(std::uint64_t)>;
    const std::vector<std::pair<const char*, Next>> kinds = {
        {"exact", [](auto random) { return random % 128; }},
        {"narrow", [](auto random) { return 1000000 + random % 1000; }},
        {"wide", [](auto random) { return std::uint64_t{1} << (random % 40); }},
        {"log-uniform", [](auto random) { return std::uint64_t(std::exp2(1e-3 * double(random % 39000))); }},
        {"two peaks", [](auto random) { return random % 50 == 0 ? 40000000 + random % 9999 : 900000 + random % 999; }},
    };
    for (const auto& kind : kinds) {
        SCOPED_TRACE(kind.first);
        std::mt19937_64 random(7);
        host::CHistogram histogram;
        std::vector<double> sorted;
        for (int i = 0; i < 20001; ++i) {
            const std::uint64_t ns = kind.second(random());
            histogram.Record(ns);
            sorted.push_back(static_cast<double>(ns));
        }
        std::sort(sorted.begin(), sorted.end());
        for (const double fraction : {0.001, 0.25, 0.5, 0.9, 0.99, 0.999, 1.0}) {
            const double expected = sorted[static_cast<std::size_t>(std::ceil(fraction * 20001.0)) - 1];
            const double error = expected < 128 ? 0.0 : expected * host::CHistogram::relative_error;
            EXPECT_NEAR(histogram.Percentile(fraction), expected, error) << fraction;
        }
        EXPECT_EQ(static_cast<double>(histogram.Max()), sorted.back());
        EXPECT_DOUBLE_EQ(histogram.Mean(), std::accumulate(sorted.begin(), sorted.end(), 0.0) / 20001.0);
    }
}

TEST(Histogram, TakesTheEmptyAndTheEndless)
{
    host::CHistogram histogram;
    EXPECT_EQ(histogram.Percentile(0.5), 0.0);
    EXPECT_EQ(histogram.Mean(), 0.0);
    histogram.Record(std::uint64_t{1} << 50);
    EXPECT_EQ(histogram.Percentile(0.99), std::exp2(50.0));
}

}  // namespace
