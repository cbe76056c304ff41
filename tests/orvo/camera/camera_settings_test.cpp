#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <array>
#include <boost/lexical_cast/bad_lexical_cast.hpp>
#include <cmath>
#include <random>

#include "base/number_text.h"
#include "orvo/base/decimal_comma.h"
#include "orvo/camera/camera_fixture.h"

namespace {

using dev::CameraModel;
using dev::LensModel;
using hws::Version;
using test::Contents;
using test::File;
using test::Keys;
using testing::HasSubstr;
using Pair = dev::CCamera::Pair;
using Angles = dev::TOrientation<double>;

constexpr auto neither = static_cast<Version>(7);

class CameraSettings : public test::CameraFixture
{
protected:
    const Keys full = {{"FB", "Mono8 640x480"},
                       {"ROI", "320 240"},
                       {"POSITION", "1, 2, 3"},
                       {"ORIENTATION", "0.1, 0.2, 0.3"},
                       {"CAMERA MODEL", "KANNALA_BRANDT"},
                       {"DISTORTION MODEL", "BROWN_CONRADY"},
                       {"DISTORTION CENTER", "0.5,\t-0.25"},
                       {"DISTORTION K", "-0.26637 -0.03859 0.00178 -0.00028 0.23839 6 7 8"},
                       {"DISTORTION K RATIO", "1e-3"},
                       {"OPTICAL CENTER", "342.283456789, 235.571"},
                       {"PIXEL FOCAL LENGTH", "535.916, 536.25"},
                       {"VENDOR", "Acme"}};
};

TEST_F(CameraSettings, LoadsEveryKey)
{
    Load(full);
    EXPECT_EQ(camera.ImageFormat(), "Mono8 640x480");
    EXPECT_EQ(camera.RoI().StrRect(), "(160, 120, 479, 359)");
    EXPECT_EQ(camera.Projection(), CameraModel::KannalaBrandt);
    EXPECT_EQ(camera.Lens(), LensModel::BrownConrady);
    EXPECT_EQ(camera.DistortionCenter(), Pair(0.5, -0.25));
    EXPECT_EQ(camera.DistortionK(), (std::vector<double>{-0.26637, -0.03859, 0.00178, -0.00028, 0.23839, 6, 7, 8}));
    EXPECT_EQ(camera.DistortionKRatio(), std::vector<double>{1e-3});
    EXPECT_EQ(camera.OpticalCenter(), Pair(342.283456789, 235.571));
    EXPECT_EQ(camera.FullOpticalCenter(), camera.OpticalCenter()) << "both as the file has it";
    EXPECT_EQ(camera.FocalLength(), Pair(535.916, 536.25));
    EXPECT_EQ(camera.Vendor(), "Acme") << "the sensor's part, and with it the device's, is loaded too";
    for (const dev::TFrame<>& frame : camera.WorkingFrames()) {
        ASSERT_TRUE(frame.image);
        EXPECT_EQ(frame.image->Descriptor(), "Mono8 320x240");
    }
}

TEST_F(CameraSettings, MissingKeysKeepResetOrDefault)
{
    Load(full);
    kt::ini::INIFile ini = File({{"FB", "Mono8 64x48"}});
    camera.LoadParams(ini, Version::V1_1);
    EXPECT_EQ(camera.Projection(), CameraModel::KannalaBrandt);
    EXPECT_EQ(camera.DistortionK().size(), 8U);
    EXPECT_EQ(camera.OpticalCenter(), Pair(0, 0));
    EXPECT_EQ(camera.FocalLength(), Pair(0, 0));
    EXPECT_EQ(camera.RoI().StrRect(), "(0, 0, 63, 47)");

    const Keys recorded = Contents(ini);
    EXPECT_EQ(recorded.at("ROI"), "64, 48");
    EXPECT_EQ(recorded.at("PIXEL FOCAL LENGTH"), "0.0, 0.0");
    for (const char* key : {"CAMERA MODEL", "DISTORTION K", "OPTICAL CENTER", "ANGULAR FOV"})
        EXPECT_EQ(recorded.count(key), 0U) << key;
}

TEST_F(CameraSettings, VersionsDecideOnTheFocalLength)
{
    Keys keys = full;
    keys["ANGULAR FOV"] = "0.5 0.25";
    Load(keys, Version::V1_0);
    const Pair before = camera.FocalLength();
    EXPECT_DOUBLE_EQ(before.first, 342.283456789 / std::tan(0.5));
    EXPECT_DOUBLE_EQ(before.second, 235.571 / std::tan(0.25));
    Load({{"FB", "Mono8 64x48"}, {"PIXEL FOCAL LENGTH", "1 2"}}, neither);
    EXPECT_EQ(camera.FocalLength(), before);
    // A field of view that is missing is kept as computed.
    Load({{"FB", "Mono8 64x48"}, {"OPTICAL CENTER", "32, 0"}}, Version::V1_0);
    EXPECT_TRUE(std::isinf(camera.FocalLength().first));
    EXPECT_TRUE(std::isnan(camera.FocalLength().second));
}

TEST_F(CameraSettings, BadRegionIsTheFullFrameWithAWarning)
{
    const struct
    {
        const char* roi;
        const char* warning;
    } rows[] = {
        {"5 5 5 9", "[WW] ::CCamera: RoI is empty\n"},
        {"all of it", "[WW] ::CCamera: bad lexical cast"},
    };
    for (const auto& row : rows) {
        console.Take();
        Load({{"FB", "Mono8 64x48"}, {"ROI", row.roi}});
        EXPECT_THAT(console.Take(), HasSubstr(row.warning));
        EXPECT_EQ(camera.RoI().StrRect(), "(0, 0, 63, 47)") << row.roi;
    }
}

TEST_F(CameraSettings, IncrementsHoldForEveryRegionThatIsLoaded)
{
    Load({{"FB", "Mono8 64x48"}, {"ROI", "4 4 19 11"}});
    camera.SetRoIIncrements(4, 2, 16, 8);
    EXPECT_THROW(camera.SetRoIIncrements(8, 2, 16, 8), std::runtime_error);
    const struct
    {
        const char *format, *roi, *rectangle, *warning;
    } rows[] = {
        {"Mono8 64x48", "8 2 23 9", "(8, 2, 23, 9)", ""},
        {"Mono8 64x48", "6 2 21 9", "(0, 0, 63, 47)", "multiple of 4 h, 2 v  for position and 16 h, 8 v  for size"},
        {"Mono8 70x50", "16 8", "(0, 0, 63, 47)", "Wrong RoI geometry is: (27, 21, 42, 28) (16, 8)"},
        {"Mono8 70x50", "70 50", "(0, 0, 63, 47)", "Wrong RoI geometry is: (0, 0, 69, 49) (70, 50)"},
        {"Mono8 64x48", "64 48", "(0, 0, 63, 47)", ""},
    };
    for (const auto& row : rows) {
        console.Take();
        Load({{"FB", row.format}, {"ROI", row.roi}});
        EXPECT_EQ(camera.RoI().StrRect(), row.rectangle) << row.format << ", " << row.roi;
        const std::string log = console.Take();
        EXPECT_THAT(log, HasSubstr(row.warning));
        EXPECT_EQ(log.find("[WW] ::CCamera") == std::string::npos, *row.warning == '\0') << log;
    }
    EXPECT_THROW(Load({{"FB", "Mono8 15x48"}}), std::runtime_error) << "nothing of it is allowed";
    EXPECT_EQ(camera.RoI().StrSensor(), "64x48");
}

TEST_F(CameraSettings, FaultsThatEndALoad)
{
    const auto failure = [this](const Keys& keys) -> std::string {
        try {
            Load(keys);
            return "loaded";
        } catch (const std::exception& error) {
            return error.what();
        }
    };
    EXPECT_EQ(failure({}), "`FB' not found in /nowhere/rig.ini");
    EXPECT_THROW(Load({{"FB", "640x480"}}), std::invalid_argument);
    EXPECT_EQ(failure({{"FB", "Mono8 1x48"}}), "RoI is empty");
    const std::string cast = boost::bad_lexical_cast().what();
    const std::string rows[][3] = {{"CAMERA MODEL", "FISHEYE", "Unknown StrToEnum: FISHEYE"},
                                   {"DISTORTION MODEL", "2", "Unknown StrToEnum: 2"},
                                   {"DISTORTION CENTER", "0; 1", cast},
                                   {"DISTORTION K", "1, x", cast},
                                   {"DISTORTION K RATIO", "1,5e", cast},
                                   {"OPTICAL CENTER", "1, 2, x", cast},
                                   {"PIXEL FOCAL LENGTH", "f, f", cast}};
    for (const auto& row : rows) {
        Keys keys = full;
        keys[row[0]] = row[1];
        EXPECT_EQ(failure(keys), row[2]) << row[0];
    }
    EXPECT_EQ(failure(full), "loaded") << "a camera that failed to load can be loaded again";
}

TEST_F(CameraSettings, SavesIntoAnEmptySection)
{
    Load(full);
    const Keys common = {
        {"POSITION", "1, 2, 3"},
        {"ORIENTATION", "0.1, 0.2, 0.3"},
        {"FB", "Mono8 640x480"},
        {"FOCAL LENGTH", ""},
        {"CAMERA MODEL", "KANNALA_BRANDT"},
        {"OPTICAL CENTER", "342.283, 235.571"},
        {"PIXEL ASPECT RATIO", "1.0"},
        {"PIXEL FOCAL LENGTH", "535.91600000000005, 536.25"},
    };
    EXPECT_EQ(Save({}, neither), common);
    Keys with_view = common;
    with_view["ANGULAR FOV"] = "0.0, 0.0";
    EXPECT_EQ(Save({}, Version::V1_1), with_view);
    with_view["ORIENTATION"] = Save({}, Version::V1_0).at("ORIENTATION");
    EXPECT_NE(with_view["ORIENTATION"], common.at("ORIENTATION"));
    EXPECT_EQ(Save({}, Version::V1_0), with_view);
}

TEST_F(CameraSettings, TheXVariantIsSavedUnderTheBareName)
{
    kt::ini::INIFile ini = File({{"FB", "Mono8 64x48"}, {"CAMERA MODEL", "SPHERICAL:X"}});
    camera.LoadParams(ini, Version::V1_1);
    camera.SaveParams(ini, Version::V1_1);
    EXPECT_EQ(ini.Value<std::string>("CAMERA MODEL"), "SPHERICAL");
}

TEST_F(CameraSettings, SavingKeepsWhatWasMeasured)
{
    Load(full);
    camera.SetOpticalCenter(1, 2);
    camera.SetFocalLength(3, 4);
    Keys into;
    for (const char* measured :
         {"FOCAL LENGTH", "OPTICAL CENTER", "PIXEL ASPECT RATIO", "PIXEL FOCAL LENGTH", "ANGULAR FOV", "ROI",
          "DISTORTION MODEL", "DISTORTION CENTER", "DISTORTION K", "DISTORTION K RATIO"})
        into[measured] = "by hand";
    Keys wanted = into;
    for (const char* written : {"FB", "CAMERA MODEL", "POSITION", "ORIENTATION"})
        into[written] = "from before";
    wanted["FB"] = "Mono8 640x480";
    wanted["CAMERA MODEL"] = "KANNALA_BRANDT";
    wanted["POSITION"] = "1, 2, 3";
    for (const Version version : {Version::V1_0, Version::V1_1, neither}) {
        Keys saved = Save(into, version);
        EXPECT_NE(saved["ORIENTATION"], "from before");
        saved.erase("ORIENTATION");
        EXPECT_EQ(saved, wanted);
    }
}

// Orientations: format 1.0 means Rx(roll) Rz(-yaw) Ry(pitch), format 1.1 means Rz(yaw) Ry(pitch) Rx(roll).

using Vector = std::array<double, 3>;

/// `v` turned about axis 0, 1 or 2.
Vector Turn(std::size_t axis, double angle, Vector v)
{
    double& a = v[(axis + 1) % 3];
    double& b = v[(axis + 2) % 3];
    const double old_a = a;
    a = std::cos(angle) * a - std::sin(angle) * b;
    b = std::sin(angle) * old_a + std::cos(angle) * b;
    return v;
}

TEST_F(CameraSettings, OrientationOf10MeansTheSameRotationIn11)
{
    std::mt19937 random(11);
    const auto angle = [&random](double limit) {
        return std::uniform_real_distribution<double>(-limit, limit)(random);
    };
    for (int i = 0; i < 200; ++i) {
        const Angles old(angle(1.5), angle(3.1), angle(3.1));
        Load({{"FB", "Mono8 64x48"},
              {"ORIENTATION",
               base::ExactText(old.yaw) + " " + base::ExactText(old.pitch) + " " + base::ExactText(old.roll)}},
             Version::V1_0);
        const Angles now = camera.Orientation();
        for (const Vector& v : {Vector{{1, 0, 0}}, Vector{{0, 1, 0}}, Vector{{0, 0, 1}}}) {
            const Vector in_10 = Turn(0, old.roll, Turn(2, -old.yaw, Turn(1, old.pitch, v)));
            const Vector in_11 = Turn(2, now.yaw, Turn(1, now.pitch, Turn(0, now.roll, v)));
            for (const std::size_t axis : {0U, 1U, 2U})
                EXPECT_NEAR(in_10[axis], in_11[axis], 1e-12) << old.string();
        }

        const Angles saved(Save({}, Version::V1_0).at("ORIENTATION"));
        EXPECT_NEAR(saved.yaw, old.yaw, 1e-5) << "saving inverts loading, to the six digits of a pose";
        EXPECT_NEAR(saved.pitch, old.pitch, 1e-5);
        EXPECT_NEAR(saved.roll, old.roll, 1e-5);
        EXPECT_EQ(camera.Orientation().string(), now.string()) << "the camera's own orientation stays";
    }
}

TEST_F(CameraSettings, ConversionComesLastAndIsSignalled)
{
    std::vector<std::string> heard;
    camera.orientation_changed.connect([&heard](const Angles& o) { heard.push_back(o.string()); });
    Load({{"FB", "Mono8 64x48"}, {"ORIENTATION", "0.5, 0, 0"}}, Version::V1_0);
    EXPECT_EQ(heard, (std::vector<std::string>{"0.5, 0, 0", "-0.5, 0, 0"}));
    const std::string log = console.Take();
    EXPECT_THAT(log, HasSubstr("Y: 0.5, P: 0, R: 0\n")) << "the region change still tells of the file's";
    EXPECT_THAT(log, testing::EndsWith("[II] ::CCamera: HWS version 1.0 detected. Converting orientation to 1.1 format "
                                       "(yaw=0.5, pitch=0, roll=0)->(yaw=-0.5, pitch=0, roll=0)\n"));
    EXPECT_EQ(Save({}, Version::V1_0).at("ORIENTATION"), "0.5, 0, 0");
    EXPECT_EQ(console.Take(),
              "[II] ::CCamera: HWS version 1.0 detected. Saving orientation in 1.0 format "
              "(yaw=-0.5, pitch=0, roll=0)->(yaw=0.5, pitch=0, roll=0)\n");
    Load({{"FB", "Mono8 64x48"}}, Version::V1_0);
    EXPECT_EQ(camera.Orientation().string(), "0, 0, 0") << "no minus zero";
    Load({{"FB", "Mono8 64x48"}, {"ORIENTATION", "0.5, 0, 0"}}, Version::V1_1);
    EXPECT_EQ(camera.Orientation().yaw, 0.5);
}

TEST_F(CameraSettings, AreTheSameUnderADecimalComma)
{
    Keys keys = full;
    keys["FB"] = "Mono8 12800x4800";  // long enough for grouped thousands
    keys["ROI"] = "12000 4000";
    const auto run = [&] {
        Load(keys, Version::V1_0);
        camera.SetFocalLength(1234567.5, 0.25);
        Keys saved = Save({}, Version::V1_0);
        saved["console"] = console.Take();
        return saved;
    };
    const Keys plain = run();
    const test::CDecimalComma comma;
    std::cout.imbue(std::locale());
    EXPECT_EQ(run(), plain);
    std::cout.imbue(std::locale::classic());
}

}  // namespace
