// What a rig file means: paths, node lines, the region of the sensor and the field of view, and what loading it says.
#include "rig/rig.h"

#include <gmock/gmock.h>
#include <iostream>
#include <thread>

#include "dev/camera.h"
#include "host/rig_fixture.h"
#include "orvo_proc_cimage/image.h"
#include "rig/field_of_view.h"
#include "rig/load.h"
#include "run/region.h"

namespace {

using testing::ElementsAre;

class RigTest : public host_test::RigFixture
{
protected:
    host::TRig ReadRig(const std::string& text)
    {
        std::vector<host::TFault> faults;
        return host::ReadRig(Write("two words.ini", text), faults);
    }

    void Load(const std::string& keys)
    {
        const host::CConsole::CCapture quiet;
        const host::TRig rig = ReadRig("[RIG]\n[cam]\nTYPE = CAMERA\n" + keys);
        host::LoadDevice(camera_, rig.devices.at(0), rig);
    }

    dev::CCamera camera_;
};

TEST_F(RigTest, HoldsPathsFromTheFolderOfTheFileAndNodeLinesInOrder)
{
    std::filesystem::create_directory(folder_ / "data");
    const host::TRig rig =
        ReadRig("[RIG]\nDATA DIR = $INAME/data\n[cam]\nTYPE = CAMERA\nPREPROCESS 10 = j\nPREPROCESS 2 = b\n");
    EXPECT_EQ(rig.name, "two words");
    EXPECT_EQ(host::Absolute(rig, "left*.png"), folder_ / "left*.png");
    EXPECT_EQ(host::Absolute(rig, "$DATA_DIR/left*.png"), std::filesystem::canonical(folder_) / "data/left*.png");
    EXPECT_EQ(host::Absolute(rig, "/elsewhere/x"), "/elsewhere/x");
    EXPECT_EQ(host::NodeLines(rig.devices.at(0)).at(0).text, "b");
}

TEST_F(RigTest, TheRegionIsAViewOfThePicture)
{
    Load("FB = Mono16 8x6\nROI = 2 1 5 4\n");
    const host::CRegion region(camera_);
    const auto picture = cimage::Build("Mono16 8x6");
    auto view = region.Of(picture);
    ASSERT_TRUE(view);
    EXPECT_EQ(view->Descriptor(), "Mono16 4x4");
    EXPECT_EQ(view->Data(), picture->Data() + 1 * 16 + 2 * 2);
    EXPECT_EQ(view->Stride(), 16u);
    EXPECT_EQ(picture.use_count(), 2);  // kept alive
    view.reset();
    EXPECT_EQ(picture.use_count(), 1);

    const boost::shared_ptr<const cimage::CImage> cut = cimage::Build("Mono16 4x4");
    EXPECT_EQ(region.Of(cut), cut);
    for (const char* const other : {"Mono16 6x8", "Mono16 8x5", "Mono8 8x6", "BayerRG16 8x6", "Mono16 1x1"})
        EXPECT_FALSE(region.Of(cimage::Build(other))) << other;
}

TEST_F(RigTest, TheFieldOfViewReachesFromBorderToBorder)
{
    const std::string fisheye = "CAMERA MODEL = KANNALA_BRANDT\nFB = Mono8 640x480\nOPTICAL CENTER = 319.5, 239.5\n";
    const struct
    {
        std::string keys;
        double horizontal_deg;  ///< 0: not to be told
    } rows[] = {
        // The optical axis runs through the left border, and the region is half as wide as the sensor: 0 to 45 degrees.
        {"FB = Mono8 640x480\nROI = 0 0 319 479\nOPTICAL CENTER = -0.5, 239.5\nPIXEL FOCAL LENGTH = 320, 240\n", 45.0},
        // At one radian: 1 + 0.1 - 0.02 + 0.005 - 0.001 focal lengths.
        {fisheye + "DISTORTION K = 0.1, -0.02, 0.005, -0.001\nPIXEL FOCAL LENGTH = 295.2029520295203, 200\n",
         114.59155902616465},
        // The polynomial never gets as far as the border.
        {fisheye + "DISTORTION K = -0.9, 0, 0, 0\nPIXEL FOCAL LENGTH = 200, 200\n", 0.0},
    };
    for (const auto& row : rows) {
        Load(row.keys);
        const auto view = host::FieldOfView(camera_);
        EXPECT_NEAR(view ? view->horizontal_deg : 0.0, row.horizontal_deg, 1e-6) << row.keys;
        camera_.On_ShutDown();
    }
}

TEST_F(RigTest, ACaptureOfTheConsoleTakesTheLinesOfItsThreadAlone)
{
    testing::internal::CaptureStderr();
    {
        const host::CConsole::CCapture capture;
        std::cout << "one " << 1 << "\nbegun";
        std::thread([] { std::cout << "elsewhere\n"; }).join();
        std::cout << " and ended\n[EE] ::CNode: first\n[EE] ::CNode: second: of two\nlines" << std::endl;
        EXPECT_THAT(capture.Lines(), ElementsAre("one 1", "begun and ended", "[EE] ::CNode: first",
                                                 "[EE] ::CNode: second: of two", "lines"));
        EXPECT_EQ(capture.LastError(), "second: of two\nlines");
    }
    std::cout << "free\n";
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "elsewhere\nfree\n");
}

}  // namespace
