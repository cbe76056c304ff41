#include "dev/camera/roi.h"

#include <gtest/gtest.h>

#include <boost/lexical_cast/bad_lexical_cast.hpp>
#include <random>
#include <sstream>

namespace {

using dev::camera::CRoI;

/// What a call threw, or the region that it made.
template <typename Call>
std::string Outcome(const CRoI& roi, Call call)
{
    try {
        call();
        return roi.StrRect();
    } catch (const boost::bad_lexical_cast&) {
        return "bad lexical cast";
    } catch (const std::runtime_error& error) {
        return error.what();
    }
}

TEST(RoI, ResizeTakesSizesAndCorners)
{
    const char usage[] = "wanted \"width height\" or \"left top right bottom\"";
    const struct
    {
        unsigned int width, height;
        const char* geometry;
        std::string outcome;
    } rows[] = {
        {1280, 960, "640,480", "(320, 240, 959, 719)"},
        {640, 480, "640 480", "(0, 0, 639, 479)"},
        {640, 480, " \t639,,\t479 ", "(0, 0, 638, 478)"},  // odd rests go right and down
        {640, 480, "0 0 639 479", "(0, 0, 639, 479)"},
        {640, 480, "10, 20, 30, 40, 50, x", "(10, 20, 30, 40)"},
        {640, 480, "600 0 900 479", "(600, 0, 900, 479)"},  // the right edge is not compared with the sensor
        {640, 480, "641 480", "RoI is empty"},
        {640, 480, "0 0", "RoI is empty"},
        {640, 480, "100 100 100 200", "RoI is empty"},
        {640, 480, "100 100 200 100", "RoI is empty"},
        {640, 480, "640 0 700 479",
         "ROI must be contained in 640x480\nWrong RoI geometry is: (640, 0, 700, 479) (61, 480)"},
        {640, 480, "0 0 640 479",
         "ROI must be contained in 640x480\nWrong RoI geometry is: (0, 0, 640, 479) (641, 480)"},
        {640, 480, "-2147483648 0 2147483647 479",
         "ROI must be contained in 640x480\nWrong RoI geometry is: (-2147483648, 0, 2147483647, 479) (4294967296, "
         "480)"},
        {640, 480, "640 x", "bad lexical cast"},
        {640, 480, "640; 480", "bad lexical cast"},
        {640, 480, "640.0 480", "bad lexical cast"},
        {640, 480, "", std::string("RoI geometry: found \"\", ") + usage},
        {640, 480, "640", std::string("RoI geometry: found \"640\", ") + usage},
        {640, 480, "1 2 3", std::string("RoI geometry: found \"1 2 3\", ") + usage},
    };
    for (const auto& row : rows) {
        CRoI roi(row.width, row.height);
        EXPECT_EQ(Outcome(roi, [&] { roi.Resize(row.geometry); }), row.outcome) << '"' << row.geometry << '"';
    }
}

TEST(RoI, CentresWhateverFits)
{
    std::mt19937 random(7);
    for (int i = 0; i < 1000; ++i) {
        const int sensor = std::uniform_int_distribution<int>(2, 5000)(random);
        const int size = std::uniform_int_distribution<int>(2, sensor)(random);
        CRoI roi(static_cast<unsigned int>(sensor), 2);
        roi.Resize(std::to_string(size) + " 2");
        const int before = roi.Left();
        const int behind = sensor - 1 - roi.Right();
        EXPECT_EQ(roi.Width(), static_cast<unsigned int>(size));
        EXPECT_TRUE(behind - before == 0 || behind - before == 1) << size << " of " << sensor;
    }
}

TEST(RoI, IncrementsAreDemanded)
{
    const std::string ends = " v  for size\nWrong RoI geometry is: ";
    const struct
    {
        const char* geometry;
        unsigned int position_h, position_v, size_h, size_v;
        std::string outcome;
    } rows[] = {
        {"2 4 641 483", 2, 4, 16, 8, "(2, 4, 641, 483)"},
        {"1 0 640 479", 2, 2, 16, 8,
         "ROI dimensions must be multiple of 2 h, 2 v  for position and 16 h, 8" + ends +
             "(1, 0, 640, 479) (640, 480)"},
        {"0 1 639 480", 2, 2, 16, 8,
         "ROI dimensions must be multiple of 2 h, 2 v  for position and 16 h, 8" + ends +
             "(0, 1, 639, 480) (640, 480)"},
        {"0 0 640 479", 2, 2, 16, 8,
         "ROI dimensions must be multiple of 2 h, 2 v  for position and 16 h, 8" + ends +
             "(0, 0, 640, 479) (641, 480)"},
        {"0 0 639 480", 2, 2, 16, 8,
         "ROI dimensions must be multiple of 2 h, 2 v  for position and 16 h, 8" + ends +
             "(0, 0, 639, 480) (640, 481)"},
        {"0 0 639 479", 0, 0, 1, 1, "(0, 0, 639, 479)"},  // an increment of 0 demands the value 0
        {"1 0 640 479", 0, 0, 1, 1,
         "ROI dimensions must be multiple of 0 h, 0 v  for position and 1 h, 1" + ends + "(1, 0, 640, 479) (640, 480)"},
        {"0 0 639 479", 1, 1, 0, 1,
         "ROI dimensions must be multiple of 1 h, 1 v  for position and 0 h, 1" + ends + "(0, 0, 639, 479) (640, 480)"},
    };
    for (const auto& row : rows) {
        CRoI roi(1280, 960);
        roi.Resize(row.geometry);
        EXPECT_EQ(Outcome(roi, [&] { roi.SetIncrements(row.position_h, row.position_v, row.size_h, row.size_v); }),
                  row.outcome)
            << row.geometry;
    }
}

TEST(RoI, WhatFailedItsCheckStaysStored)
{
    CRoI roi(640, 480);
    EXPECT_THROW(roi.Resize("5 5 5 9"), std::runtime_error);
    EXPECT_EQ(roi.StrRect(), "(5, 5, 5, 9)");
    roi.Resize("101 100");
    EXPECT_THROW(roi.SetIncrements(1, 1, 2, 1), std::runtime_error);
    EXPECT_THROW(roi.ConsistencyCheck(), std::runtime_error);
    EXPECT_THROW(roi.Resize("100 x"), boost::bad_lexical_cast);
    EXPECT_EQ(roi.Width(), 101U) << "a text that cannot be read changes nothing";
}

TEST(RoI, ChecksItsConstruction)
{
    EXPECT_THROW(CRoI().ConsistencyCheck(), std::runtime_error);
    EXPECT_THROW(CRoI(0, 480), std::runtime_error);
    EXPECT_THROW(CRoI(1, 480), std::runtime_error) << "one pixel counts as empty";
    EXPECT_NO_THROW(CRoI(2, 2));
}

TEST(RoI, ComparesRectanglesAlone)
{
    CRoI small(640, 480);
    CRoI large(1280, 960);
    EXPECT_TRUE(small != large);
    large.Resize("0 0 639 479");
    large.SetIncrements(1, 1, 2, 2);
    EXPECT_TRUE(small == large);
}

TEST(RoI, Prints)
{
    CRoI roi(1280, 960);
    roi.Resize("640 480");
    std::ostringstream text;
    text << roi;
    EXPECT_EQ(text.str(), "Sensor=1280x960, Rect=(320, 240, 959, 719), Size=(640, 480)");
}

}  // namespace
