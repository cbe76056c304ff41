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
using testing::HasSubstr;
using Pair = dev::CCamera::Pair;
using Angles = dev::TOrientation<double>;

constexpr auto neither = static_cast<Version>(7);

class CameraSettings : public test::CameraFixture
{
protected:
    const Keys full = {
        {"FB", "Mono8 640x480"},
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
        {"VENDOR", "Acme"},
    };
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
    EXPECT_EQ(camera.Vendor(), "Acme") << "the sensor's part, and with it the device's, comes first";
    EXPECT_EQ(camera.Position().z, 3.0);
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
    EXPECT_EQ(camera.Lens(), LensModel::BrownConrady);
    EXPECT_EQ(camera.DistortionCenter(), Pair(0.5, -0.25));
    EXPECT_EQ(camera.DistortionK().size(), 8U);
    EXPECT_EQ(camera.OpticalCenter(), Pair(0, 0));
    EXPECT_EQ(camera.FullOpticalCenter(), Pair(0, 0));
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
    EXPECT_DOUBLE_EQ(camera.FocalLength().first, 342.283456789 / std::tan(0.5));
    EXPECT_DOUBLE_EQ(camera.FocalLength().second, 235.571 / std::tan(0.25));

    const Pair before = camera.FocalLength();
    kt::ini::INIFile ini = File({{"FB", "Mono8 64x48"}});
    camera.LoadParams(ini, neither);
    EXPECT_EQ(camera.FocalLength(), before);
    EXPECT_EQ(Contents(ini).count("ANGULAR FOV") + Contents(ini).count("PIXEL FOCAL LENGTH"), 0U);
}

TEST_F(CameraSettings, MissingFieldOfViewIsKeptAsComputed)
{
    kt::ini::INIFile ini = File({{"FB", "Mono8 64x48"}, {"OPTICAL CENTER", "32, 0"}});
    camera.LoadParams(ini, Version::V1_0);
    EXPECT_TRUE(std::isinf(camera.FocalLength().first));
    EXPECT_TRUE(std::isnan(camera.FocalLength().second));
    EXPECT_EQ(Contents(ini).at("ANGULAR FOV"), "0.0, 0.0");
    EXPECT_EQ(Save({}).at("PIXEL FOCAL LENGTH").substr(0, 5), "inf, ");
}

TEST_F(CameraSettings, BadRegionIsTheFullFrameWithAWarning)
{
    const struct
    {
        const char* roi;
        const char* warning;
    } rows[] = {
        {"5 5 5 9", "[WW] ::CCamera: RoI is empty\n"},
        {"0 0 64 47",
         "[WW] ::CCamera: ROI must be contained in 64x48\nWrong RoI geometry is: (0, 0, 64, 47) (65, 48)\n"},
        {"all of it", "[WW] ::CCamera: bad lexical cast"},
        {"7", "[WW] ::CCamera: RoI geometry: found \"7\""},
    };
    for (const auto& row : rows) {
        console.Take();
        Load({{"FB", "Mono8 64x48"}, {"ROI", row.roi}});
        EXPECT_THAT(console.Take(), HasSubstr(row.warning));
        EXPECT_EQ(camera.RoI().StrRect(), "(0, 0, 63, 47)") << row.roi;
    }
}

/// The text of the runtime_error that loading throws.
TEST_F(CameraSettings, FaultsThatEndALoad)
{
    const auto failure = [this](const Keys& keys) -> std::string {
        try {
            Load(keys);
            return "loaded";
        } catch (const boost::bad_lexical_cast&) {
            return "bad lexical cast";
        } catch (const std::invalid_argument&) {
            return "bad descriptor";
        } catch (const std::runtime_error& error) {
            return error.what();
        }
    };
    EXPECT_EQ(failure({}), "`FB' not found in /nowhere/rig.ini");
    EXPECT_EQ(failure({{"FB", "640x480"}}), "bad descriptor");
    EXPECT_EQ(failure({{"FB", "Mono8 1x48"}}), "RoI is empty");
    const struct
    {
        const char* key;
        const char* value;
        const char* error;
    } rows[] = {
        {"CAMERA MODEL", "FISHEYE", "Unknown StrToEnum: FISHEYE"}, {"DISTORTION MODEL", "2", "Unknown StrToEnum: 2"},
        {"DISTORTION CENTER", "0; 1", "bad lexical cast"},         {"DISTORTION K", "1, x", "bad lexical cast"},
        {"DISTORTION K RATIO", "1,5e", "bad lexical cast"},        {"OPTICAL CENTER", "320, y", "bad lexical cast"},
        {"OPTICAL CENTER", "1, 2, x", "bad lexical cast"},         {"PIXEL FOCAL LENGTH", "f, f", "bad lexical cast"},
    };
    for (const auto& row : rows) {
        Keys keys = full;
        keys[row.key] = row.value;
        EXPECT_EQ(failure(keys), row.error) << row.key;
    }
    EXPECT_NE(failure({{"FB", "Mono8 64x48"}, {"OPTICAL CENTER", "320"}}), "loaded");
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

TEST_F(CameraSettings, SavingKeepsWhatWasMeasured)
{
    const Keys measured = {
        {"FOCAL LENGTH", "8.0 mm"},
        {"OPTICAL CENTER", "by hand"},
        {"PIXEL ASPECT RATIO", "1.01"},
        {"PIXEL FOCAL LENGTH", "also by hand"},
        {"ANGULAR FOV", "0.7, 0.6"},
        {"ROI", "1 2 3 4"},
        {"DISTORTION MODEL", "DIVISION"},
        {"DISTORTION CENTER", "x"},
        {"DISTORTION K", "9"},
        {"DISTORTION K RATIO", "9"},
    };
    Load(full);
    camera.SetOpticalCenter(1, 2);
    camera.SetFocalLength(3, 4);
    for (const Version version : {Version::V1_0, Version::V1_1, neither}) {
        Keys into = measured;
        into["FB"] = "RGB8 1x1";
        into["CAMERA MODEL"] = "BEV";
        into["ORIENTATION"] = "7, 7, 7";
        const Keys saved = Save(into, version);
        for (const auto& key : measured)
            EXPECT_EQ(saved.at(key.first), key.second) << key.first;
        EXPECT_EQ(saved.at("FB"), "Mono8 640x480");
        EXPECT_EQ(saved.at("CAMERA MODEL"), "KANNALA_BRANDT");
        EXPECT_NE(saved.at("ORIENTATION"), "7, 7, 7") << "the pose is written always";
    }
}

TEST_F(CameraSettings, TheBareNameOfAModelIsWrittenBack)
{
    Load({{"FB", "Mono8 64x48"}, {"CAMERA MODEL", "SPHERICAL:X"}});
    EXPECT_EQ(Save({}).at("CAMERA MODEL"), "SPHERICAL");
}

TEST_F(CameraSettings, SaveAndReloadGiveTheSameCamera)
{
    Load(full);
    camera.SetOpticalCenter(12.5, 7);
    camera.SetFocalLength(1.0 / 3, 1e9 / 7);
    Keys saved = Save({{"ROI", "320 240"}});
    dev::CCamera second;
    second.LoadParams(File(saved), Version::V1_1);
    EXPECT_EQ(second.ImageFormat(), camera.ImageFormat()) << "the full frame, not the region";
    EXPECT_EQ(second.RoI(), camera.RoI());
    EXPECT_EQ(second.FocalLength(), camera.FocalLength());
    EXPECT_EQ(second.OpticalCenter(), camera.OpticalCenter());
    EXPECT_EQ(second.Projection(), camera.Projection());
}

TEST_F(CameraSettings, SavingNeedsALoad)
{
    kt::ini::INIFile ini = File({});
    EXPECT_THROW(camera.SaveParams(ini, Version::V1_1), std::logic_error);
    EXPECT_TRUE(ini.Keys().empty());
}

// Orientations: format 1.0 means Rx(roll) Rz(-yaw) Ry(pitch), format 1.1 means Rz(yaw) Ry(pitch) Rx(roll).

using Matrix = std::array<std::array<double, 3>, 3>;

/// Rotation about axis 0, 1 or 2.
Matrix About(std::size_t axis, double angle)
{
    const std::size_t u = (axis + 1) % 3;
    const std::size_t v = (axis + 2) % 3;
    Matrix m{};
    m[axis][axis] = 1;
    m[u][u] = m[v][v] = std::cos(angle);
    m[v][u] = std::sin(angle);
    m[u][v] = -m[v][u];
    return m;
}

Matrix operator*(const Matrix& a, const Matrix& b)
{
    Matrix m{};
    for (std::size_t i = 0; i < 3; ++i)
        for (std::size_t j = 0; j < 3; ++j)
            for (std::size_t k = 0; k < 3; ++k)
                m[i][j] += a[i][k] * b[k][j];
    return m;
}

double Distance(const Matrix& a, const Matrix& b)
{
    double distance = 0;
    for (std::size_t i = 0; i < 9; ++i)
        distance = std::max(distance, std::abs(a[i / 3][i % 3] - b[i / 3][i % 3]));
    return distance;
}

Matrix Meaning10(const Angles& o)
{
    return About(0, o.roll) * About(2, -o.yaw) * About(1, o.pitch);
}
Matrix Meaning11(const Angles& o)
{
    return About(2, o.yaw) * About(1, o.pitch) * About(0, o.roll);
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
        EXPECT_LT(Distance(Meaning10(old), Meaning11(now)), 1e-12) << old.string();

        const Angles saved(Save({}, Version::V1_0).at("ORIENTATION"));
        EXPECT_NEAR(saved.yaw, old.yaw, 1e-5) << "saving inverts loading, to the six digits of a pose";
        EXPECT_NEAR(saved.pitch, old.pitch, 1e-5);
        EXPECT_NEAR(saved.roll, old.roll, 1e-5);
        EXPECT_EQ(camera.Orientation().string(), now.string()) << "the camera's own orientation stays";
    }
}

TEST_F(CameraSettings, ZeroOrientationStaysZero)
{
    Load({{"FB", "Mono8 64x48"}}, Version::V1_0);
    EXPECT_THAT(console.Take(),
                testing::EndsWith("[II] ::CCamera: HWS version 1.0 detected. Converting orientation to 1.1 format "
                                  "(yaw=0, pitch=0, roll=0)->(yaw=0, pitch=0, roll=0)\n"));
    EXPECT_EQ(Save({}, Version::V1_0).at("ORIENTATION"), "0, 0, 0");
    EXPECT_EQ(console.Take(),
              "[II] ::CCamera: HWS version 1.0 detected. Saving orientation in 1.0 format "
              "(yaw=0, pitch=0, roll=0)->(yaw=0, pitch=0, roll=0)\n");
}

TEST_F(CameraSettings, ConversionComesLastAndIsSignalled)
{
    std::vector<std::string> heard;
    camera.orientation_changed.connect([&heard](const Angles& o) { heard.push_back(o.string()); });
    Load({{"FB", "Mono8 64x48"}, {"ORIENTATION", "0.5, 0, 0"}}, Version::V1_0);
    EXPECT_EQ(heard, (std::vector<std::string>{"0.5, 0, 0", "-0.5, 0, 0"}));
    const std::string log = console.Take();
    EXPECT_THAT(log, HasSubstr("Y: 0.5, P: 0, R: 0\n")) << "the region change still tells of the file's";
    EXPECT_THAT(log, HasSubstr("(yaw=0.5, pitch=0, roll=0)->(yaw=-0.5, pitch=0, roll=0)\n"));
    Load({{"FB", "Mono8 64x48"}, {"ORIENTATION", "0.5, 0, 0"}}, Version::V1_1);
    EXPECT_EQ(camera.Orientation().yaw, 0.5);
}

TEST_F(CameraSettings, AreTheSameUnderADecimalComma)
{
    std::string lines[2];
    Keys saved[2];
    for (int i = 0; i < 2; ++i) {
        std::unique_ptr<test::CDecimalComma> comma;
        if (i == 1) {
            comma.reset(new test::CDecimalComma);
            std::cout.imbue(std::locale());
        }
        Keys keys = full;
        keys["FB"] = "Mono8 12800x4800";  // long enough for grouped thousands
        keys["ROI"] = "12000 4000";
        dev::CCamera fresh;
        console.Take();
        fresh.LoadParams(File(keys), Version::V1_0);
        fresh.SetFocalLength(1234567.5, 0.25);
        kt::ini::INIFile ini = File({});
        fresh.SaveParams(ini, Version::V1_0);
        lines[i] = console.Take();
        saved[i] = Contents(ini);
        std::cout.imbue(std::locale::classic());
    }
    EXPECT_EQ(saved[1], saved[0]);
    EXPECT_EQ(lines[1], lines[0]);
}

}  // namespace
