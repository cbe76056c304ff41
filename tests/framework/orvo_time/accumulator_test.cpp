#include "orvo_time/accumulator.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <string>

namespace {

using kt::chrono::Accumulator;

TEST(Accumulator, StaysExactWhereSumsLoseTheirLastDigits)
{
    // So many values a, then so many b. Near 10^9 a step of the mean falls below its last digit after 10^7 values, near
    // 10^15 after a few: a million values there stand for 10^9 here.
    const struct
    {
        double a;
        int count_a;
        double b;
        int count_b;
    } rows[] = {{-3.0, 1, -1.0, 1},
                {1e9, 500000, 1e9 + 1e-3, 500000},
                {1e15, 500000, 1e15 + 1024.0, 500000},
                {1e9, 1, 1e-3, 999999}};
    for (const auto& row : rows) {
        Accumulator accumulator;
        for (int i = 0; i < row.count_a + row.count_b; ++i)
            accumulator.Add(i < row.count_a ? row.a : row.b);
        const double part_a = row.count_a / static_cast<double>(accumulator.Count()), part_b = 1.0 - part_a;
        const double variance = part_a * part_b * (row.a - row.b) * (row.a - row.b);
        EXPECT_DOUBLE_EQ(accumulator.Mean(), part_a * row.a + part_b * row.b) << row.a;
        EXPECT_NEAR(accumulator.Variance(), variance, 1e-13 * variance) << row.a;
        EXPECT_EQ(accumulator.Min(), std::min(row.a, row.b));
        EXPECT_EQ(accumulator.Max(), std::max(row.a, row.b));
    }
}

TEST(Accumulator, TellsItsObserversAlone)
{
    Accumulator accumulator;
    std::string heard;
    accumulator.RegisterObserver([&](const Accumulator& a) { heard += 'a' + std::to_string(int(a.Last())); });
    accumulator.RegisterObserver([&](const Accumulator& a) { heard += 'b' + std::to_string(a.Count()); });
    accumulator.Add(7.0);
    Accumulator copy(accumulator);
    copy.Add(8.0);
    copy = accumulator;
    copy.Add(8.0);
    EXPECT_EQ(copy.Count(), 2u);
    accumulator.Reset();
    accumulator.Add(9.0);
    EXPECT_EQ(heard, "a7b1a9b1");
    EXPECT_EQ(accumulator.Min(), 9.0);
}

}  // namespace
