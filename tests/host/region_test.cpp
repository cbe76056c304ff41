#include "run/region.h"

#include <gtest/gtest.h>

#include "dev/camera.h"
#include "host/rig_fixture.h"
#include "orvo_proc_cimage/image.h"
#include "rig/load.h"
#include "system/console.h"

namespace {

class RegionTest : public host_test::RigFixture
{
protected:
    host::CRegion Region(const std::string& format, const std::string& roi)
    {
        const host::CConsole::CCapture quiet;
        std::vector<host::TFault> faults;
        const host::TRig rig = host::ReadRig(
            Write("rig", "[RIG]\n[cam]\nTYPE = CAMERA\nFB = " + format + "\nROI = " + roi + '\n'), faults);
        dev::CCamera camera;
        host::LoadDevice(camera, rig.devices.at(0), rig.version);
        return host::CRegion(camera);
    }
};

TEST_F(RegionTest, IsAViewOfThePicture)
{
    const auto picture = cimage::Build("Mono16 8x6");
    for (std::size_t i = 0; i < 8 * 6 * 2; ++i)
        picture->Data()[i] = static_cast<std::uint8_t>(i);
    auto view = Region("Mono16 8x6", "2 1 5 4").Of(picture);
    ASSERT_TRUE(view);
    EXPECT_EQ(view->Descriptor(), "Mono16 4x4");
    EXPECT_EQ(view->Data(), picture->Data() + 1 * 16 + 2 * 2);
    EXPECT_EQ(view->Stride(), 16u);

    // It keeps the picture alive, and lets it go.
    EXPECT_EQ(picture.use_count(), 2);
    view.reset();
    EXPECT_EQ(picture.use_count(), 1);
}

TEST_F(RegionTest, TakesPicturesOfTheSensorOrTheRegionAlone)
{
    const host::CRegion region = Region("Mono8 8x6", "2 1 5 4");
    const boost::shared_ptr<const cimage::CImage> cut = cimage::Build("Mono8 4x4");
    EXPECT_EQ(region.Of(cut), cut);
    EXPECT_FALSE(region.Of(nullptr));
    for (const char* const other : {"Mono8 6x8", "Mono8 8x5", "Mono16 8x6", "BayerRG8 8x6", "Mono8 1x1"})
        EXPECT_FALSE(region.Of(cimage::Build(other))) << other;
}

}  // namespace
