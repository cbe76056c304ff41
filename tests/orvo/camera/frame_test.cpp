#include "dev/frame.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "dev/camera.h"
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
    EXPECT_DEATH(dev::FrameGenerator(nullptr), "required: image");
}

TEST(CameraModels, NamesAndNumbers)
{
    std::string all;
    for (const char* read :
         {"PINHOLE", "MEI", "KANNALA_BRANDT", "SPHERICAL", "SPHERICAL:X", "SPHERICAL:Y", "CYLINDRICAL", "CYLINDRICAL:X",
          "CYLINDRICAL:Y", "RADIALPINHOLE:X", "RADIALPINHOLE:Y", "BEV", "DOUBLE_SPHERE"}) {
        const CameraModel model = dev::StrToEnum(dev::mapCameraModel_INIStr, read);
        all += std::to_string(static_cast<int>(model)) + ' ' + dev::EnumToStr(dev::mapCameraModel_INIStr, model) + ' ';
    }
    // The bare name means X, and is what gets written.
    EXPECT_EQ(all,
              "0 PINHOLE 1 MEI 2 KANNALA_BRANDT 3 SPHERICAL 3 SPHERICAL 4 SPHERICAL:Y 5 CYLINDRICAL 5 CYLINDRICAL 6 "
              "CYLINDRICAL:Y 7 RADIALPINHOLE:X 8 RADIALPINHOLE:Y 9 BEV 10 DOUBLE_SPHERE ");
    EXPECT_EQ(dev::mapCameraModel_INIStr.size(), 13U);
    EXPECT_EQ(static_cast<int>(dev::StrToEnum(dev::mapLensModel_INIStr, "BROWN_CONRADY")), 0);
    EXPECT_EQ(static_cast<int>(dev::StrToEnum(dev::mapLensModel_INIStr, "DIVISION")), 4);
    EXPECT_EQ(static_cast<int>(dev::StrToEnum(dev::mapLensModel_INIStr, "NO_DISTORTION")), 5);
}

TEST(CameraModels, RefuseTheUnknown)
{
    for (const char* text : {"", "pinhole", "PINHOLE ", "BROWN_CONRADY"})
        EXPECT_THROW(dev::StrToEnum(dev::mapCameraModel_INIStr, text), std::runtime_error) << text;
    for (int value : {1, 2, 3})  // no file can select these
        EXPECT_THAT([&] { dev::EnumToStr(dev::mapLensModel_INIStr, static_cast<LensModel>(value)); },
                    testing::ThrowsMessage<std::runtime_error>("EnumToStr: Internal Error"));
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
}

}  // namespace
