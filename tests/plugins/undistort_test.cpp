// Undistort against a second source: each pixel of a result must show the place where another implementation of the
// lens model sees the direction that a pinhole camera sees at that pixel.
#include <gmock/gmock.h>

#include <cmath>
#include <functional>
#include <iostream>
#include <opencv2/calib3d.hpp>
#include <opencv2/ccalib/omnidir.hpp>

#include "dev/camera_map.h"
#include "plugins/plugin_fixture.h"

namespace plugins_test {
namespace {

using testing::HasSubstr;

const cv::Size kSize(640, 480);

/// A camera matrix in parts.
struct TMatrix
{
    double fx, fy, cx, cy;

    cv::Matx33d Matrix() const { return cv::Matx33d(fx, 0, cx, 0, fy, cy, 0, 0, 1); }
    /// Of the same camera after its picture lost columns and rows at the left and top.
    TMatrix Shifted(double left, double top) const { return {fx, fy, cx - left, cy - top}; }
    /// … and after its picture was scaled, a pixel covering 1/scale pixels of before.
    TMatrix Scaled(double scale) const
    {
        return {fx * scale, fy * scale, (cx + 0.5) * scale - 0.5, (cy + 0.5) * scale - 0.5};
    }
    TMatrix Zoomed(double zoom) const { return {fx * zoom, fy * zoom, cx, cy}; }
};

const TMatrix kMatrix{400.0, 410.0, 330.5, 228.25};

/// A lens, as the settings tell it.
struct TLens
{
    std::string camera_model;
    std::string distortion_model;
    std::vector<double> k;
};

const TLens kBrownConrady{"PINHOLE", "BROWN_CONRADY", {-0.28, 0.09, 0.002, -0.001}};
const TLens kKannalaBrandt{"KANNALA_BRANDT", "", {0.05, -0.02, 0.01, -0.003}};
const TLens kLenses[] = {kBrownConrady,
                         {"PINHOLE", "BROWN_CONRADY", {-0.26637, -0.03859, 0.00178, -0.00028, 0.23839}},
                         {"PINHOLE", "BROWN_CONRADY", {0.4, 0.1, 0.001, 0.002, 0.01, 0.7, 0.15, 0.02}},
                         {"PINHOLE", "BROWN_CONRADY", {-0.2, 0.05, 0, 0, 0, 0, 0, 0, 0.01, 0.002, -0.01, 0.001}},
                         {"PINHOLE", "BROWN_CONRADY", {-0.2, 0.05, 0, 0, 0, 0, 0, 0, 0.01, 0, -0.01, 0, 0.05, -0.03}},
                         kKannalaBrandt,
                         {"MEI", "", {0.8, -0.05, 0.01, 0.002, -0.003}},
                         {"PINHOLE", "DIVISION", {-0.35}},
                         {"PINHOLE", "DIVISION", {0.15}}};

/// Where a camera with that lens sees a direction (x, y, 1), by code that knows nothing of ours.
cv::Point2d See(const TLens& lens, const TMatrix& matrix, const cv::Point2d& direction)
{
    const cv::Vec3d none;
    const std::vector<cv::Point3d> scene = {cv::Point3d(3.0 * direction.x, 3.0 * direction.y, 3.0)};
    std::vector<cv::Point2d> seen;
    if (lens.distortion_model == "BROWN_CONRADY") {
        cv::projectPoints(scene, none, none, matrix.Matrix(), lens.k, seen);
    } else if (lens.camera_model == "KANNALA_BRANDT") {
        cv::fisheye::projectPoints(scene, seen, none, none, matrix.Matrix(), lens.k);
    } else if (lens.camera_model == "MEI") {
        cv::omnidir::projectPoints(scene, seen, none, none, matrix.Matrix(), lens.k[0],
                                   cv::Vec4d(lens.k[1], lens.k[2], lens.k[3], lens.k[4]));
    } else {
        // One coefficient in closed form: k u d^2 - d + u = 0 for the seen distance d of the undistorted distance u.
        const double ratio = 2.0 / (1.0 + std::sqrt(1.0 - 4.0 * lens.k[0] * direction.dot(direction)));
        seen = {cv::Point2d(matrix.cx + matrix.fx * ratio * direction.x, matrix.cy + matrix.fy * ratio * direction.y)};
    }
    return seen[0];
}

std::string Text(const std::vector<double>& numbers)
{
    std::string text;
    for (const double number : numbers)
        text += (text.empty() ? "" : ", ") + std::to_string(number);
    return text;
}

Keys CameraKeys(const std::string& format, const TMatrix& matrix, Keys more)
{
    more.push_back({"FB", format});
    more.push_back({"OPTICAL CENTER", Text({matrix.cx, matrix.cy})});
    more.push_back({"PIXEL FOCAL LENGTH", Text({matrix.fx, matrix.fy})});
    return more;
}

Keys CameraKeys(const std::string& format, const TMatrix& matrix, const TLens& lens)
{
    Keys keys = {{"CAMERA MODEL", lens.camera_model}, {"DISTORTION K", Text(lens.k)}};
    if (!lens.distortion_model.empty())
        keys.push_back({"DISTORTION MODEL", lens.distortion_model});
    return CameraKeys(format, matrix, keys);
}

/// A picture whose pixels tell their position, however they are interpolated: 80 x in red, 80 y in green, blue is full.
Plugin::ImagePtr Positions()
{
    cv::Mat picture(kSize, CV_16UC3);
    for (int y = 0; y < picture.rows; ++y) {
        for (int x = 0; x < picture.cols; ++x)
            picture.at<cv::Vec3w>(y, x) =
                cv::Vec3w(cv::saturate_cast<ushort>(80 * x), cv::saturate_cast<ushort>(80 * y), 65535);
    }
    return ImageOf("RGB16", picture);
}

cv::Point2d PositionAt(const cv::Mat& picture, int x, int y)
{
    const cv::Vec3w pixel = picture.at<cv::Vec3w>(y, x);
    return cv::Point2d(pixel[0] / 80.0, pixel[1] / 80.0);
}

bool IsWithin(const cv::Point2d& point, const cv::Size& size, double margin)
{
    return point.x >= margin && point.y >= margin && point.x < size.width - margin && point.y < size.height - margin;
}

/// Operations in front of Undistort, and what they make of the camera matrix.
struct TChain
{
    std::vector<std::string> nodes;
    std::string end;
    std::function<TMatrix(const TMatrix&)> follow;
    cv::Size size;
};

const TChain kChains[] = {{{}, "Source", [](const TMatrix& m) { return m; }, kSize},
                          {{"Crop a Source rect=101,57,500,400", "Resize b a scale=0.5"},
                           "b",
                           [](const TMatrix& m) { return m.Shifted(101, 57).Scaled(0.5); },
                           {250, 200}},
                          {{"Resize a Source size=1280x960", "Crop b a rect=200,100,1001,801"},
                           "b",
                           [](const TMatrix& m) { return m.Scaled(2.0).Shifted(200, 100); },
                           {1001, 801}}};

class Undistort : public Operations
{
protected:
    void SetUp() override { testing::internal::CaptureStdout(); }  // the library tells of every node
    void TearDown() override
    {
        const std::string said = testing::internal::GetCapturedStdout();
        if (HasFailure())
            std::cout << said;
    }
};

/// That the node u of a camera shows what a pinhole camera would, and that the library knows which one.
void ExpectPinhole(CTestCamera& camera, const TLens& lens, const TMatrix& matrix, const TChain& chain, double zoom)
{
    const TMatrix wanted = chain.follow(matrix).Zoomed(zoom);
    const auto output = camera.Output("u");
    const cv::Mat pixels = PixelsOf(*output);
    ASSERT_EQ(pixels.size(), chain.size);
    int compared = 0;
    for (int y = 5; y < pixels.rows; y += 10) {
        for (int x = 5; x < pixels.cols; x += 10) {
            const cv::Point2d direction((x - wanted.cx) / wanted.fx, (y - wanted.cy) / wanted.fy);
            const cv::Point2d seen = See(lens, matrix, direction);
            // A camera's optical centre follows a chain as any pixel does.
            const TMatrix pixel = chain.follow({1.0, 1.0, seen.x, seen.y});
            if (!IsWithin(seen, kSize, 3) || !IsWithin(cv::Point2d(pixel.cx, pixel.cy), chain.size, 3))
                continue;
            ++compared;
            EXPECT_LE(cv::norm(PositionAt(pixels, x, y) - seen), 0.1) << x << ", " << y;
        }
    }
    EXPECT_GE(compared, 100);
    const dev::CameraParams params = dev::ParamsOf(camera, *output);
    EXPECT_LE(cv::norm(cv::Vec4d(params.K[0], params.K[1], params.O[0], params.O[1]) -
                       cv::Vec4d(wanted.fx, wanted.fy, wanted.cx, wanted.cy)),
              1e-9);
}

TEST_F(Undistort, ShowsWhatAPinholeCameraWould)
{
    for (const TLens& lens : kLenses) {
        for (const TChain& chain : kChains) {
            for (const double zoom : {1.0, 0.6}) {
                SCOPED_TRACE(lens.camera_model + " " + Text(lens.k) + ", " + testing::PrintToString(chain.nodes) +
                             ", zoom " + std::to_string(zoom));
                CTestCamera camera(CameraKeys("RGB16 640x480", kMatrix, lens));
                for (const std::string& node : chain.nodes)
                    camera.Add(node);
                camera.Add("Undistort u " + chain.end + " zoom=" + std::to_string(zoom));
                camera.Feed(Positions());
                ExpectPinhole(camera, lens, kMatrix, chain, zoom);
            }
        }
    }
}

TEST_F(Undistort, DivisionTakesMoreCoefficientsAndACentreOfItsOwn)
{
    // The region begins at (40, 30) of the sensor, where the centre of distortion is given.
    const cv::Point2d center(300.0, 250.0);
    CTestCamera camera(CameraKeys("RGB16 800x600", kMatrix,
                                  Keys{{"ROI", "40 30 679 509"},
                                       {"DISTORTION MODEL", "DIVISION"},
                                       {"DISTORTION K", "-0.3, 0.05, -0.02"},
                                       {"DISTORTION CENTER", "340, 280"}}));
    camera.Add("Undistort u Source");
    camera.Feed(Positions());
    const cv::Mat output = PixelsOf(*camera.Output("u"));
    // The model undistorts in one step: the place that a pixel shows leads back to the pixel.
    for (int y = 60; y < 420; y += 20) {
        for (int x = 60; x < 580; x += 20) {
            const cv::Point2d offset = PositionAt(output, x, y) - center;
            const cv::Point2d seen(offset.x / kMatrix.fx, offset.y / kMatrix.fy);
            const double r2 = seen.dot(seen);
            const cv::Point2d ideal = offset / (1.0 + r2 * (-0.3 + r2 * (0.05 + r2 * -0.02)));
            EXPECT_LE(cv::norm(center + ideal - cv::Point2d(x, y)), 0.1) << x << ", " << y;
        }
    }
}

TEST_F(Undistort, DivisionLeavesBlackWhatNoPixelShows)
{
    // Pincushion distortion folds over where nothing farther out is seen: at 1 / (2 sqrt(k)) of the focal length.
    CTestCamera camera(CameraKeys("RGB16 640x480", kMatrix, TLens{"PINHOLE", "DIVISION", {3.0}}));
    camera.Add("Undistort u Source");
    camera.Feed(Positions());
    const cv::Mat output = PixelsOf(*camera.Output("u"));
    const double fold = kMatrix.cx + kMatrix.fx / (2.0 * std::sqrt(3.0));
    EXPECT_EQ(output.at<cv::Vec3w>(228, cvRound(fold - 3.0))[2], 65535);
    EXPECT_EQ(output.at<cv::Vec3w>(228, cvRound(fold + 3.0)), cv::Vec3w(0, 0, 0));
}

TEST_F(Undistort, FollowsIntrinsicsThatChange)
{
    CTestCamera camera(CameraKeys("RGB16 640x480", kMatrix, kBrownConrady));
    camera.Add("Undistort u Source zoom=0.5");
    camera.Feed(Positions());
    const auto held = camera.Output("u");
    const cv::Mat before = PixelsOf(*held);

    const TMatrix moved{450.0, 440.0, 300.0, 250.0};
    camera.SetFocalLength(moved.fx, moved.fy);
    camera.SetOpticalCenter(moved.cx, moved.cy);
    camera.Feed(Positions());
    ExpectPinhole(camera, kBrownConrady, moved, kChains[0], 0.5);
    camera.Load(CameraKeys("RGB16 640x480", moved, kKannalaBrandt));
    camera.Feed(Positions());
    ExpectPinhole(camera, kKannalaBrandt, moved, kChains[0], 0.5);
    EXPECT_EQ(cv::norm(PixelsOf(*held), before, cv::NORM_INF), 0.0);
}

TEST_F(Undistort, FollowsARegionThatMoves)
{
    Keys keys = CameraKeys("RGB16 800x600", kMatrix, kBrownConrady);
    keys.push_back({"ROI", "40 30 679 509"});
    CTestCamera camera(keys);
    for (const std::string& node : kChains[1].nodes)
        camera.Add(node);
    camera.Add("Undistort u " + kChains[1].end);
    dev::camera::CRoI moved = camera.RoI();
    moved.Resize("100 10 739 489");
    const dev::camera::CRoI back = camera.RoI();
    camera.ChangeRoI(moved);
    camera.Feed(Positions());
    ExpectPinhole(camera, kBrownConrady, kMatrix.Shifted(60, -20), kChains[1], 1.0);
    camera.ChangeRoI(back);
    camera.Feed(Positions());
    ExpectPinhole(camera, kBrownConrady, kMatrix, kChains[1], 1.0);
}

TEST_F(Undistort, TakesTheLensOfAnotherCamera)
{
    CTestCamera left(CameraKeys("RGB16 640x480", kMatrix, Keys{{"DISTORTION MODEL", "NO_DISTORTION"}}));
    CTestCamera right(CameraKeys("RGB16 640x480", kMatrix, kKannalaBrandt), "right");
    left.Add("Undistort own Source");
    left.Add("Undistort u Source camera=right zoom=0.5");
    const auto input = Positions();
    EXPECT_EQ(ErrorOf([&] { left.Feed(input); }),
              "Undistort: found no camera map, wanted one that holds the camera right");
    dev::CCameraMap cameras;
    left.Preprocess_Find("u")->Connect(cameras);
    EXPECT_EQ(ErrorOf([&] { left.Feed(input); }),
              "Undistort: found no camera right in the camera map, wanted the name of a camera of the rig");
    cameras.Insert("right", right);
    left.Feed(input);
    ExpectPinhole(left, kKannalaBrandt, kMatrix, kChains[0], 0.5);
    EXPECT_EQ(left.Output("own"), input);  // no distortion: the picture is handed on
}

TEST_F(Undistort, RefusesWhatItCannotDoAndSaysWhatItCould)
{
    const Keys division = {{"DISTORTION MODEL", "DIVISION"}, {"DISTORTION K", "-0.1"}};
    const struct
    {
        Keys keys;
        const char* options;
        const char* message;
    } rows[] = {{{{"CAMERA MODEL", "SPHERICAL:Y"}},
                 "",
                 "camera left: found camera model SPHERICAL:Y, wanted PINHOLE, KANNALA_BRANDT or MEI"},
                {{{"DISTORTION MODEL", "BROWN_CONRADY"}, {"DISTORTION K", "1 2 3"}},
                 "",
                 "camera left: found 3 coefficients, wanted 4, 5, 8, 12 or 14 for BROWN_CONRADY"},
                {{{"DISTORTION MODEL", "BROWN_CONRADY"}, {"DISTORTION K", "1 2 3 nan"}}, "", "wanted finite numbers"},
                {{{"CAMERA MODEL", "MEI"}, {"DISTORTION K", "1 2 3 4"}},
                 "",
                 "found 4 coefficients, wanted 5 for MEI (xi, k1, k2, p1, p2)"},
                {{{"CAMERA MODEL", "MEI"}, {"DISTORTION MODEL", "DIVISION"}, {"DISTORTION K", "1 2 3 4 5"}},
                 "",
                 "found lens model DIVISION, wanted none: the camera model MEI has a distortion of its own"},
                {division, "zoom=0", "option zoom: found 0, wanted a number from 0.01 to 100"},
                {division, "alpha=1", "found option alpha, wanted camera, zoom or fps_factor"}};
    for (const auto& row : rows) {
        CTestCamera camera(CameraKeys("Mono8 64x48", kMatrix, row.keys));
        EXPECT_THAT(ErrorOf([&] { Make("Undistort", row.options, cimage::Build("Mono8 64x48"), &camera); }),
                    HasSubstr(row.message));
    }
    Keys no_focal = division;
    no_focal.push_back({"FB", "Mono8 64x48"});
    CTestCamera unknown(no_focal);
    EXPECT_EQ(ErrorOf([&] { Make("Undistort", "", cimage::Build("Mono8 64x48"), &unknown); }),
              "Undistort: camera left: found focal length 0, 0, wanted two numbers above 0");
    CTestCamera camera(CameraKeys("Mono8 64x48", kMatrix, division));
    EXPECT_THAT(ErrorOf([&] { Make("Undistort", "", cimage::Build("BayerRG8 64x48"), &camera); }),
                HasSubstr("Undistort: found BayerRG8, wanted a grey or colour format"));
    camera.Add("Undistort u Source");
    EXPECT_EQ(camera.Preprocess_Add("Undistort twice u"), nullptr);  // nothing is left to take out
}

}  // namespace
}  // namespace plugins_test
