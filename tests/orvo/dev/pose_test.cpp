#include "dev/pose.h"

#include <gtest/gtest.h>

#include <stdexcept>

#include "orvo/base/decimal_comma.h"

using dev::TOrientation;
using dev::TPosition;

TEST(Pose, ReadsAndPrintsThreeNumbersToSixDigitsEvenWhereTheDecimalPointIsAComma)
{
    const test::CDecimalComma comma;
    const struct
    {
        const char* text;
        const char* printed;
    } rows[] = {
        {"0.0, 0.0, 0.0", "0, 0, 0"},
        {"1.5\t-2,3e2", "1.5, -2, 300"},
        {",1,,2 3,", "1, 2, 3"},
        {"inf, nan, 1", "inf, nan, 1"},
        {"-Infinity NAN +.5", "-inf, nan, 0.5"},
        {"1, 2, 3, x", "1, 2, 3"},  // what follows is not looked at
        {"0.1, 1e-7, 123456789", "0.1, 1e-07, 1.23457e+08"},
        {"7 3.14159265358979 0", "7, 3.14159, 0"},  // angles are not normalised
    };
    for (const auto& row : rows) {
        EXPECT_EQ(TPosition<double>(row.text).string(), row.printed);
        EXPECT_EQ(TOrientation<double>(row.text).string(), row.printed);
    }
    const TPosition<double> position("1 2 123456.789");
    EXPECT_EQ(position.x, 1.0);
    EXPECT_EQ(position.y, 2.0);
    EXPECT_EQ(position.z, 123456.789);
    const TOrientation<double> orientation("1 2 3");
    EXPECT_EQ(orientation.yaw, 1.0);
    EXPECT_EQ(orientation.pitch, 2.0);
    EXPECT_EQ(orientation.roll, 3.0);
}

TEST(Pose, RefusesATokenThatIsNoNumberWithTheSameWordsForBothTypes)
{
    const auto refusal = [](auto make) -> std::string {
        try {
            make();
            return "accepted";
        } catch (const std::runtime_error& error) {
            return error.what();
        }
    };
    for (const std::string text : {"1; 2; 3", "1, 2, three", "x", "1 2 3.0.0", "1 2 0x3"}) {
        const std::string wanted = "[EE] TOrientation - Bad orientation: " + text;
        EXPECT_EQ(refusal([&] { TPosition<double> position(text); }), wanted);
        EXPECT_EQ(refusal([&] { TOrientation<double> orientation(text); }), wanted);
    }
}

TEST(PoseDeathTest, StopsTheProcessWhenThereAreFewerThanThree)
{
    EXPECT_DEATH(TPosition<double>{"1, 2"}, "pose.cpp:[0-9]+: .*required: ");
    EXPECT_DEATH(TOrientation<double>{" ,\t"}, "required: ");
}
