#include "dev/pose.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <stdexcept>

#include "orvo/base/decimal_comma.h"

using dev::TOrientation;
using dev::TPosition;

namespace {

const double inf = std::numeric_limits<double>::infinity();
const double nan = std::numeric_limits<double>::quiet_NaN();

/// Equal, or both not a number.
void ExpectSame(double found, double wanted)
{
    if (std::isnan(wanted))
        EXPECT_TRUE(std::isnan(found));
    else
        EXPECT_EQ(found, wanted);
}

const struct
{
    const char* text;
    double fields[3];
} readable[] = {
    {"0.0, 0.0, 0.0", {0, 0, 0}}, {"1,2,3", {1, 2, 3}},           {"1.5\t-2,3e2", {1.5, -2, 300}},
    {",1,,2 3,", {1, 2, 3}},      {"inf, nan, 1", {inf, nan, 1}}, {"-Infinity NAN +.5", {-inf, nan, 0.5}},
    {"1, 2, 3, x", {1, 2, 3}},    {"7.0 0 0", {7, 0, 0}},
};

const struct
{
    double fields[3];
    const char* text;
} printable[] = {
    {{0, 0, 0}, "0, 0, 0"},
    {{0.1, 1e-7, 123456789}, "0.1, 1e-07, 1.23457e+08"},
    {{3.14159265358979, 0, 0}, "3.14159, 0, 0"},
    {{1234567.5, -0.5, inf}, "1.23457e+06, -0.5, inf"},
};

void ExpectReadsAndPrints()
{
    for (const auto& row : readable) {
        SCOPED_TRACE(row.text);
        const TPosition<double> position(row.text);
        ExpectSame(position.x, row.fields[0]);
        ExpectSame(position.y, row.fields[1]);
        ExpectSame(position.z, row.fields[2]);
        const TOrientation<double> orientation(row.text);
        ExpectSame(orientation.yaw, row.fields[0]);
        ExpectSame(orientation.pitch, row.fields[1]);
        ExpectSame(orientation.roll, row.fields[2]);
    }
    for (const auto& row : printable) {
        const TPosition<double> position(row.fields[0], row.fields[1], row.fields[2]);
        EXPECT_EQ(position.string(), row.text);
        const TOrientation<double> orientation(row.fields[0], row.fields[1], row.fields[2]);
        EXPECT_EQ(orientation.string(), row.text);
    }
}

}  // namespace

TEST(Pose, ReadsAndPrintsThreeNumbers)
{
    ExpectReadsAndPrints();
}

TEST(Pose, ReadsAndPrintsTheSameWhereTheDecimalPointIsAComma)
{
    const test::CDecimalComma comma;
    ExpectReadsAndPrints();
}

TEST(Pose, IsRoundedByItsTextOnceAndNeverAgain)
{
    const TPosition<double> exact(1.0 / 3.0, -2e-9 / 7.0, 123456.789);
    const std::string text = exact.string();
    const TPosition<double> rounded(text);
    EXPECT_NE(rounded.x, exact.x);
    EXPECT_NEAR(rounded.x, exact.x, 1e-6);
    EXPECT_EQ(rounded.string(), text);
}

TEST(Pose, RefusesATokenThatIsNoNumberWithTheSameWordsForBothTypes)
{
    for (const std::string text : {"1; 2; 3", "1, 2, three", "x", "1, x", "1 2 3.0.0", "1 2 0x3"}) {
        const std::string wanted = "[EE] TOrientation - Bad orientation: " + text;
        try {
            TPosition<double> position(text);
            ADD_FAILURE() << text;
        } catch (const std::runtime_error& error) {
            EXPECT_EQ(error.what(), wanted);
        }
        try {
            TOrientation<double> orientation(text);
            ADD_FAILURE() << text;
        } catch (const std::runtime_error& error) {
            EXPECT_EQ(error.what(), wanted);
        }
    }
}

TEST(PoseDeathTest, StopsTheProcessWhenThereAreFewerThanThree)
{
    for (const char* text : {"1, 2", "", " ,\t"}) {
        EXPECT_DEATH(TPosition<double>{text}, "pose.cpp:[0-9]+: .*required: ") << text;
        EXPECT_DEATH(TOrientation<double>{text}, "required: ") << text;
    }
}
