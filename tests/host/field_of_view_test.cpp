#include "rig/field_of_view.h"

#include <gtest/gtest.h>
#include <cmath>

#include "dev/camera.h"
#include "host/rig_fixture.h"
#include "rig/load.h"
#include "system/console.h"

namespace {

class FieldOfViewTest : public host_test::RigFixture
{
protected:
    std::optional<host::TFieldOfView> Of(const std::string& keys)
    {
        const host::CConsole::CCapture quiet;
        std::vector<host::TFault> faults;
        const host::TRig rig = host::ReadRig(Write("rig", "[RIG]\n[cam]\nTYPE = CAMERA\n" + keys), faults);
        dev::CCamera camera;
        host::LoadDevice(camera, rig.devices.at(0), rig.version);
        const auto view = host::FieldOfView(camera);
        camera.On_ShutDown();
        return view;
    }
};

TEST_F(FieldOfViewTest, OfAPinholeReachesFromBorderToBorder)
{
    // Half of 640 pixels is the focal length: 90 degrees; half of 480 is 3/4 of it.
    const auto view = Of("FB = Mono8 640x480\nOPTICAL CENTER = 319.5, 239.5\nPIXEL FOCAL LENGTH = 320, 320\n");
    ASSERT_TRUE(view);
    EXPECT_NEAR(view->horizontal_deg, 90.0, 1e-9);
    EXPECT_NEAR(view->vertical_deg, 73.739795291688, 1e-9);  // 2 atan(3/4)
}

TEST_F(FieldOfViewTest, OfAPinholeFollowsTheRegionAndTheCentre)
{
    // The optical axis runs through the left border, and the region is half as wide as the sensor: 0 to 45 degrees.
    const auto view =
        Of("FB = Mono8 640x480\nROI = 0 0 319 479\nOPTICAL CENTER = -0.5, 239.5\nPIXEL FOCAL LENGTH = 320, 240\n");
    ASSERT_TRUE(view);
    EXPECT_NEAR(view->horizontal_deg, 45.0, 1e-9);
    EXPECT_NEAR(view->vertical_deg, 90.0, 1e-9);
}

TEST_F(FieldOfViewTest, OfAKannalaBrandtCameraSolvesThePolynomial)
{
    const std::string fisheye = "CAMERA MODEL = KANNALA_BRANDT\nFB = Mono8 640x480\nOPTICAL CENTER = 319.5, 239.5\n";
    // Without coefficients the distance from the centre is f times the angle.
    const auto equidistant = Of(fisheye + "DISTORTION K = 0, 0, 0, 0\nPIXEL FOCAL LENGTH = 200, 200\n");
    ASSERT_TRUE(equidistant);
    EXPECT_NEAR(equidistant->horizontal_deg, 2 * 1.6 * 180.0 / M_PI, 1e-9);
    // At one radian: 1 + 0.1 - 0.02 + 0.005 - 0.001 focal lengths.
    const auto bent =
        Of(fisheye + "DISTORTION K = 0.1, -0.02, 0.005, -0.001\nPIXEL FOCAL LENGTH = 295.2029520295203, 200\n");
    ASSERT_TRUE(bent);
    EXPECT_NEAR(bent->horizontal_deg, 2 * 180.0 / M_PI, 1e-6);
    // The polynomial never gets as far as the border.
    EXPECT_FALSE(Of(fisheye + "DISTORTION K = -0.9, 0, 0, 0\nPIXEL FOCAL LENGTH = 200, 200\n"));
}

TEST_F(FieldOfViewTest, IsNotGuessed)
{
    EXPECT_FALSE(Of("FB = Mono8 640x480\n"));
    EXPECT_FALSE(Of("FB = Mono8 640x480\nCAMERA MODEL = DOUBLE_SPHERE\nPIXEL FOCAL LENGTH = 320, 320\n"));
}

}  // namespace
