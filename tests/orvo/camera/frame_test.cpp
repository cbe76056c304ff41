#include "dev/frame.h"

#include <gtest/gtest.h>

#include <set>
#include <sstream>

#include "dev/camera.h"
#include "dev/camera_map.h"
#include "dev/camera_models.h"
#include "dev/camera_params.h"
#include "orvo/camera/console.h"
#include "orvo_proc_cimage/image.h"

namespace {

using dev::CameraModel;
using dev::LensModel;

TEST(Frame, GeneratorMakesANewImageLikeTheGivenOne)
{
    const boost::shared_ptr<const cimage::CImage> image = cimage::Build("Mono16 31x17");
    const dev::TFrame<> frame = dev::FrameGenerator(image);
    ASSERT_TRUE(frame.image);
    EXPECT_NE(frame.image, image);
    EXPECT_EQ(frame.image->Descriptor(), image->Descriptor());
    EXPECT_EQ(frame.text, "");
    EXPECT_TRUE(frame.time_stamp.is_not_a_date_time());
    EXPECT_EQ(frame.counter1 + frame.counter2, 0U);
    EXPECT_DEATH(dev::FrameGenerator(nullptr), "required: image");
}

TEST(Frame, PairsAreSixDigitsEach)
{
    EXPECT_EQ(dev::to_string(0.5, 1), "0.5, 1");
    EXPECT_EQ(dev::to_string(123456789, 1.0 / 3), "1.23457e+08, 0.333333");
}

TEST(CameraMap, FindsWhatWasInserted)
{
    dev::CCamera left;
    dev::CCamera right;
    dev::CCameraMap cameras;
    cameras.Insert("left", left);
    EXPECT_EQ(&cameras["left"], &left);
    try {
        cameras["right"];
        ADD_FAILURE() << "a camera from nowhere";
    } catch (const std::runtime_error& error) {
        EXPECT_STREQ(error.what(), "Camera right not found");
    }
    EXPECT_FALSE(cameras.Has("right"));
    cameras.Insert("left", right);
    EXPECT_EQ(&cameras["left"], &right);

    std::ostringstream text;
    text << cameras;
    EXPECT_EQ(text.str(), "To be done");
}

TEST(CameraModels, NamesAndNumbers)
{
    const struct
    {
        const char* read;
        int value;
        const char* written;
    } rows[] = {
        {"PINHOLE", 0, "PINHOLE"},
        {"MEI", 1, "MEI"},
        {"KANNALA_BRANDT", 2, "KANNALA_BRANDT"},
        {"SPHERICAL", 3, "SPHERICAL"},
        {"SPHERICAL:X", 3, "SPHERICAL"},  // the bare name means X, and is what gets written
        {"SPHERICAL:Y", 4, "SPHERICAL:Y"},
        {"CYLINDRICAL", 5, "CYLINDRICAL"},
        {"CYLINDRICAL:X", 5, "CYLINDRICAL"},
        {"CYLINDRICAL:Y", 6, "CYLINDRICAL:Y"},
        {"RADIALPINHOLE:X", 7, "RADIALPINHOLE:X"},
        {"RADIALPINHOLE:Y", 8, "RADIALPINHOLE:Y"},
        {"BEV", 9, "BEV"},
        {"DOUBLE_SPHERE", 10, "DOUBLE_SPHERE"},
    };
    ASSERT_EQ(dev::mapCameraModel_INIStr.size(), sizeof rows / sizeof *rows);
    for (const auto& row : rows) {
        const CameraModel model = dev::StrToEnum(dev::mapCameraModel_INIStr, row.read);
        EXPECT_EQ(static_cast<int>(model), row.value) << row.read;
        EXPECT_EQ(dev::EnumToStr(dev::mapCameraModel_INIStr, model), row.written);
    }
    EXPECT_EQ(static_cast<int>(dev::StrToEnum(dev::mapLensModel_INIStr, "BROWN_CONRADY")), 0);
    EXPECT_EQ(static_cast<int>(dev::StrToEnum(dev::mapLensModel_INIStr, "DIVISION")), 4);
    EXPECT_EQ(static_cast<int>(dev::StrToEnum(dev::mapLensModel_INIStr, "NO_DISTORTION")), 5);
}

TEST(CameraModels, RefuseTheUnknown)
{
    for (const char* text : {"", "pinhole", "PINHOLE ", "BROWN_CONRADY"}) {
        try {
            dev::StrToEnum(dev::mapCameraModel_INIStr, text);
            ADD_FAILURE() << text;
        } catch (const std::runtime_error& error) {
            EXPECT_EQ(error.what(), std::string("Unknown StrToEnum: ") + text);
        }
    }
    for (int value : {1, 2, 3}) {  // no file can select these
        try {
            dev::EnumToStr(dev::mapLensModel_INIStr, static_cast<LensModel>(value));
            ADD_FAILURE() << value;
        } catch (const std::runtime_error& error) {
            EXPECT_STREQ(error.what(), "EnumToStr: Internal Error");
        }
    }
}

/// A point keeps its ray: where camera and image coordinates of one pixel meet the same normalised coordinate.
TEST(CameraParams, FollowTheGridOfAnImage)
{
    const test::CConsole console;
    dev::CCamera camera;
    kt::ini::INIFile ini("/nowhere/rig.ini", "CAMERA");
    ini.set("FB", "Mono8 640x480");
    ini.set("OPTICAL CENTER", "330.5, 231.25");
    ini.set("PIXEL FOCAL LENGTH", "500, 510");
    camera.LoadParams(ini, hws::Version::V1_1);

    const boost::shared_ptr<cimage::CImage> image = cimage::Build("Mono8 100x50");
    cimage::TGrid grid;
    grid.scale_x = 2.0;
    grid.scale_y = 4.0;
    grid.offset_x = 20.5;
    grid.offset_y = 11.5;
    image->SetGrid(grid);
    const dev::CameraParams full = camera.Params();
    const dev::CameraParams small = dev::ParamsOf(camera, *image);
    EXPECT_EQ(small.S[0], 100U);
    EXPECT_EQ(small.S[1], 50U);
    for (const double pixel : {-3.0, 0.0, 17.5}) {
        EXPECT_NEAR((pixel - small.O[0]) / small.K[0], (2.0 * pixel + 20.5 - full.O[0]) / full.K[0], 1e-12);
        EXPECT_NEAR((pixel - small.O[1]) / small.K[1], (4.0 * pixel + 11.5 - full.O[1]) / full.K[1], 1e-12);
    }
    dev::CameraParams streamed;
    streamed << &camera;
    EXPECT_EQ(streamed.K, full.K);
}

}  // namespace
