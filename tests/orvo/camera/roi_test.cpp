#include "dev/camera/roi.h"

#include <gtest/gtest.h>

#include <boost/lexical_cast/bad_lexical_cast.hpp>
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
        {640, 480, "10, 20, 30, 40, 50, x", "(10, 20, 30, 40)"},
        {640, 480, "600 0 900 479", "(600, 0, 900, 479)"},  // the right edge is not compared with the sensor
        {640, 480, "641 480", "RoI is empty"},
        {640, 480, "100 100 100 200", "RoI is empty"},
        {640, 480, "640 0 700 479",
         "ROI must be contained in 640x480\nWrong RoI geometry is: (640, 0, 700, 479) (61, 480)"},
        {640, 480, "0 0 640 479",
         "ROI must be contained in 640x480\nWrong RoI geometry is: (0, 0, 640, 479) (641, 480)"},
        {640, 480, "-2147483648 0 2147483647 479",
         "ROI must be contained in 640x480\nWrong RoI geometry is: (-2147483648, 0, 2147483647, 479) (4294967296, "
         "480)"},
        {640, 480, "640 x", "bad lexical cast"},
        {640, 480, "", std::string("RoI geometry: found \"\", ") + usage},
        {640, 480, "1 2 3", std::string("RoI geometry: found \"1 2 3\", ") + usage},
    };
    for (const auto& row : rows) {
        CRoI roi(row.width, row.height);
        EXPECT_EQ(Outcome(roi, [&] { roi.Resize(row.geometry); }), row.outcome) << '"' << row.geometry << '"';
    }
}

TEST(RoI, IncrementsAreDemanded)
{
    const char* const of_16 = "ROI dimensions must be multiple of 2 h, 2 v  for position and 16 h, 8 v  for size\n";
    const char* const of_0 = "ROI dimensions must be multiple of 0 h, 0 v  for position and 1 h, 1 v  for size\n";
    const char* const to_0 = "ROI dimensions must be multiple of 1 h, 1 v  for position and 0 h, 1 v  for size\n";
    const struct
    {
        const char* geometry;
        unsigned int position, size_h, size_v;
        std::string error, rectangle;
    } rows[] = {
        {"2 4 641 483", 2, 16, 8, "", "(2, 4, 641, 483)"},
        {"1 0 640 479", 2, 16, 8, of_16, "(1, 0, 640, 479) (640, 480)"},
        {"0 1 639 480", 2, 16, 8, of_16, "(0, 1, 639, 480) (640, 480)"},
        {"0 0 640 479", 2, 16, 8, of_16, "(0, 0, 640, 479) (641, 480)"},
        {"0 0 639 480", 2, 16, 8, of_16, "(0, 0, 639, 480) (640, 481)"},
        {"0 0 639 479", 0, 1, 1, "", "(0, 0, 639, 479)"},  // an increment of 0 demands the value 0
        {"1 0 640 479", 0, 1, 1, of_0, "(1, 0, 640, 479) (640, 480)"},
        {"0 0 639 479", 1, 0, 1, to_0, "(0, 0, 639, 479) (640, 480)"},
    };
    for (const auto& row : rows) {
        CRoI roi(1280, 960);
        roi.Resize(row.geometry);
        EXPECT_EQ(Outcome(roi, [&] { roi.SetIncrements(row.position, row.position, row.size_h, row.size_v); }),
                  row.error + (row.error.empty() ? "" : "Wrong RoI geometry is: ") + row.rectangle);
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

TEST(RoI, ChecksItsConstructionAndComparesRectanglesAlone)
{
    EXPECT_THROW(CRoI(0, 480), std::runtime_error);
    EXPECT_THROW(CRoI(1, 480), std::runtime_error) << "one pixel counts as empty";
    EXPECT_NO_THROW(CRoI(2, 2));
    CRoI large(1280, 960);
    EXPECT_TRUE(CRoI(640, 480) != large);
    large.Resize("0 0 639 479");
    EXPECT_TRUE(CRoI(640, 480) == large);
    std::ostringstream text;
    text << large;
    EXPECT_EQ(text.str(), "Sensor=1280x960, Rect=(0, 0, 639, 479), Size=(640, 480)");
}

}  // namespace
