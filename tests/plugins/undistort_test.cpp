// Undistort against second sources: points of a known scene, projected by another implementation of each lens model,
// must be found in the undistorted picture where a pinhole camera sees them; pictures must be those of direct calls.
#include <gmock/gmock.h>

#include <cmath>
#include <functional>
#include <opencv2/calib3d.hpp>
#include <opencv2/ccalib/omnidir.hpp>
#include <opencv2/imgproc.hpp>

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

/// A lens, as settings keys and as code that knows nothing of ours: where a camera with it sees a direction (x, y, 1).
struct TLensCase
{
    std::string name;
    Keys keys;
    std::function<cv::Point2d(const TMatrix& matrix, const cv::Point2d& direction)> see;
};

std::vector<cv::Point3d> InFront(const cv::Point2d& direction)
{
    // At any distance: what is seen does not depend on it.
    return {cv::Point3d(3.0 * direction.x, 3.0 * direction.y, 3.0)};
}

TLensCase BrownConrady(const std::string& k, const std::vector<double>& values)
{
    return {"BrownConrady" + std::to_string(values.size()),
            {{"CAMERA MODEL", "PINHOLE"}, {"DISTORTION MODEL", "BROWN_CONRADY"}, {"DISTORTION K", k}},
            [values](const TMatrix& matrix, const cv::Point2d& direction) {
                std::vector<cv::Point2d> seen;
                cv::projectPoints(InFront(direction), cv::Vec3d(), cv::Vec3d(), matrix.Matrix(), values, seen);
                return seen[0];
            }};
}

TLensCase KannalaBrandt()
{
    return {"KannalaBrandt",
            {{"CAMERA MODEL", "KANNALA_BRANDT"}, {"DISTORTION K", "0.05, -0.02, 0.01, -0.003"}},
            [](const TMatrix& matrix, const cv::Point2d& direction) {
                std::vector<cv::Point2d> seen;
                cv::fisheye::projectPoints(InFront(direction), seen, cv::Vec3d(), cv::Vec3d(), matrix.Matrix(),
                                           cv::Vec4d(0.05, -0.02, 0.01, -0.003));
                return seen[0];
            }};
}

TLensCase Mei()
{
    return {"Mei",
            {{"CAMERA MODEL", "MEI"}, {"DISTORTION K", "0.8, -0.05, 0.01, 0.002, -0.003"}},
            [](const TMatrix& matrix, const cv::Point2d& direction) {
                std::vector<cv::Point2d> seen;
                cv::omnidir::projectPoints(InFront(direction), seen, cv::Vec3d(), cv::Vec3d(), matrix.Matrix(), 0.8,
                                           cv::Vec4d(-0.05, 0.01, 0.002, -0.003));
                return seen[0];
            }};
}

/// One coefficient, solved in closed form: l u d^2 - d + u = 0 for the seen distance d of the undistorted distance u.
TLensCase Division(const std::string& k, double lambda)
{
    return {"Division" + k,
            {{"CAMERA MODEL", "PINHOLE"}, {"DISTORTION MODEL", "DIVISION"}, {"DISTORTION K", k}},
            [lambda](const TMatrix& matrix, const cv::Point2d& direction) {
                const double u = std::hypot(direction.x, direction.y);
                const double ratio = 2.0 / (1.0 + std::sqrt(1.0 - 4.0 * lambda * u * u));
                return cv::Point2d(matrix.cx + matrix.fx * ratio * direction.x,
                                   matrix.cy + matrix.fy * ratio * direction.y);
            }};
}

TLensCase NoDistortion()
{
    return {"NoDistortion",
            {{"CAMERA MODEL", "PINHOLE"}, {"DISTORTION MODEL", "NO_DISTORTION"}},
            [](const TMatrix& matrix, const cv::Point2d& direction) {
                return cv::Point2d(matrix.cx + matrix.fx * direction.x, matrix.cy + matrix.fy * direction.y);
            }};
}

std::vector<TLensCase> Lenses()
{
    return {
        BrownConrady("-0.28, 0.09, 0.002, -0.001", {-0.28, 0.09, 0.002, -0.001}),
        BrownConrady("-0.26637, -0.03859, 0.00178, -0.00028, 0.23839",
                     {-0.26637, -0.03859, 0.00178, -0.00028, 0.23839}),
        BrownConrady("0.4, 0.1, 0.001, 0.002, 0.01, 0.7, 0.15, 0.02", {0.4, 0.1, 0.001, 0.002, 0.01, 0.7, 0.15, 0.02}),
        BrownConrady("-0.2 0.05 0 0 0 0 0 0 0.01 0.002 -0.01 0.001",
                     {-0.2, 0.05, 0, 0, 0, 0, 0, 0, 0.01, 0.002, -0.01, 0.001}),
        BrownConrady("-0.2 0.05 0 0 0 0 0 0 0.01 0 -0.01 0 0.05 -0.03",
                     {-0.2, 0.05, 0, 0, 0, 0, 0, 0, 0.01, 0, -0.01, 0, 0.05, -0.03}),
        KannalaBrandt(),
        Mei(),
        Division("-0.35", -0.35),
        Division("0.15", 0.15),
        NoDistortion()};
}

std::string Pair(double a, double b)
{
    return std::to_string(a) + ", " + std::to_string(b);
}

Keys CameraKeys(const std::string& format, const TMatrix& matrix, Keys more)
{
    more.push_back({"FB", format});
    more.push_back({"OPTICAL CENTER", Pair(matrix.cx, matrix.cy)});
    more.push_back({"PIXEL FOCAL LENGTH", Pair(matrix.fx, matrix.fy)});
    return more;
}

/// Adds a small bright spot around a point between pixels.
void DrawSpot(const cv::Point2d& at, cv::Mat* picture)
{
    const double sigma = 2.0;
    for (int y = std::max(0, cvRound(at.y) - 9); y <= std::min(picture->rows - 1, cvRound(at.y) + 9); ++y) {
        for (int x = std::max(0, cvRound(at.x) - 9); x <= std::min(picture->cols - 1, cvRound(at.x) + 9); ++x) {
            const double square = (x - at.x) * (x - at.x) + (y - at.y) * (y - at.y);
            picture->at<std::uint16_t>(y, x) =
                static_cast<std::uint16_t>(60000.0 * std::exp(-square / (2.0 * sigma * sigma)));
        }
    }
}

/// How far the brightness near a point is centred from it, in pixels; 100 when there is none.
double Miss(const cv::Mat& picture, const cv::Point2d& expected, int reach)
{
    double mass = 0.0;
    cv::Point2d sum(0.0, 0.0);
    for (int y = cvRound(expected.y) - reach; y <= cvRound(expected.y) + reach; ++y) {
        for (int x = cvRound(expected.x) - reach; x <= cvRound(expected.x) + reach; ++x) {
            const double value = picture.at<std::uint16_t>(y, x);
            mass += value;
            sum += value * cv::Point2d(x, y);
        }
    }
    return mass < 60000.0 ? 100.0 : cv::norm(sum / mass - expected);
}

bool IsWithin(const cv::Point2d& point, const cv::Size& size, double margin)
{
    return point.x >= margin && point.y >= margin && point.x < size.width - margin && point.y < size.height - margin;
}

/// A picture that has something everywhere, smooth enough to compare interpolations.
cv::Mat Texture(const cv::Size& size)
{
    cv::Mat noise(size, CV_8UC1);
    cv::RNG random(7);
    random.fill(noise, cv::RNG::UNIFORM, 0, 256);
    cv::GaussianBlur(noise, noise, cv::Size(), 3.0);
    cv::normalize(noise, noise, 0, 255, cv::NORM_MINMAX);
    return noise;
}

/// Operations in front of Undistort, and what they make of the camera matrix.
struct TChain
{
    const char* name;
    std::vector<std::string> nodes;
    std::function<TMatrix(const TMatrix&)> follow;
    cv::Size size;
};

const TChain kChains[] = {
    {"nothing", {}, [](const TMatrix& m) { return m; }, kSize},
    {"crop", {"Crop a Source rect=101,57,500,400"}, [](const TMatrix& m) { return m.Shifted(101, 57); }, {500, 400}},
    {"resize", {"Resize a Source scale=0.5"}, [](const TMatrix& m) { return m.Scaled(0.5); }, {320, 240}},
    {"crop and resize",
     {"Crop a Source rect=101,57,500,400", "Resize b a scale=0.5"},
     [](const TMatrix& m) { return m.Shifted(101, 57).Scaled(0.5); },
     {250, 200}},
    {"resize and crop",
     {"Resize a Source size=1280x960", "Crop b a rect=200,100,1001,801"},
     [](const TMatrix& m) { return m.Scaled(2.0).Shifted(200, 100); },
     {1001, 801}}};

/// The name of the last node of a chain.
std::string EndOf(const TChain& chain)
{
    return chain.nodes.empty() ? "Source" : chain.nodes.size() == 1 ? "a" : "b";
}

class Undistort : public Operations
{
protected:
    void SetUp() override { testing::internal::CaptureStdout(); }  // the library tells of every node
    void TearDown() override { testing::internal::GetCapturedStdout(); }
};

TEST_F(Undistort, PointsOfTheSceneAreWhereAPinholeCameraSeesThem)
{
    for (const TLensCase& lens : Lenses()) {
        for (const TChain& chain : kChains) {
            for (const double zoom : {1.0, 0.6}) {
                SCOPED_TRACE(lens.name + ", " + chain.name + ", zoom " + std::to_string(zoom));
                const TMatrix wanted = chain.follow(kMatrix).Zoomed(zoom);

                // Directions that the result shows on a grid, seen through the lens.
                cv::Mat picture(kSize, CV_16UC1, cv::Scalar(0));
                std::vector<cv::Point2d> expected;
                const int step = chain.size.width / 8;
                for (int y = step / 2; y < chain.size.height; y += step) {
                    for (int x = step / 2; x < chain.size.width; x += step) {
                        const cv::Point2d point(x + 0.3, y - 0.2);
                        const cv::Point2d seen = lens.see(
                            kMatrix, cv::Point2d((point.x - wanted.cx) / wanted.fx, (point.y - wanted.cy) / wanted.fy));
                        // A camera's optical centre follows a chain as any pixel does.
                        const TMatrix pixel = chain.follow({1.0, 1.0, seen.x, seen.y});
                        if (!IsWithin(seen, kSize, 12) || !IsWithin(cv::Point2d(pixel.cx, pixel.cy), chain.size, 12))
                            continue;
                        DrawSpot(seen, &picture);
                        expected.push_back(point);
                    }
                }
                ASSERT_GE(expected.size(), 9U);

                CTestCamera camera(CameraKeys("Mono16 640x480", kMatrix, lens.keys));
                for (const std::string& node : chain.nodes)
                    camera.Add(node);
                camera.Add("Undistort u " + EndOf(chain) + " zoom=" + std::to_string(zoom));
                camera.Feed(ImageOf("Mono16", picture));
                const auto output = camera.Output("u");
                const cv::Mat found = PixelsOf(*output);
                ASSERT_EQ(found.size(), chain.size);
                for (const cv::Point2d& point : expected)
                    EXPECT_LE(Miss(found, point, step / 3), 0.25) << point;

                // And the library knows where that is.
                const dev::CameraParams params = dev::ParamsOf(camera, *output);
                EXPECT_NEAR(params.K[0], wanted.fx, 1e-9);
                EXPECT_NEAR(params.K[1], wanted.fy, 1e-9);
                EXPECT_NEAR(params.O[0], wanted.cx, 1e-9);
                EXPECT_NEAR(params.O[1], wanted.cy, 1e-9);
            }
        }
    }
}

TEST_F(Undistort, GivesThePicturesOfDirectCallsWithHandMadeMatrices)
{
    const cv::Mat texture = Texture(kSize);
    const struct
    {
        const char* name;
        Keys keys;
        std::function<void(const cv::Mat& input, cv::Mat& output, const cv::Matx33d& matrix)> undistort;
    } models[] = {{"Brown-Conrady", BrownConrady("-0.28, 0.09, 0.002, -0.001", {}).keys,
                   [](const cv::Mat& input, cv::Mat& output, const cv::Matx33d& matrix) {
                       cv::undistort(input, output, matrix, cv::Vec4d(-0.28, 0.09, 0.002, -0.001));
                   }},
                  {"Kannala-Brandt", KannalaBrandt().keys,
                   [](const cv::Mat& input, cv::Mat& output, const cv::Matx33d& matrix) {
                       cv::fisheye::undistortImage(input, output, matrix, cv::Vec4d(0.05, -0.02, 0.01, -0.003), matrix);
                   }},
                  {"Mei", Mei().keys, [](const cv::Mat& input, cv::Mat& output, const cv::Matx33d& matrix) {
                       cv::omnidir::undistortImage(input, output, matrix, cv::Vec4d(-0.05, 0.01, 0.002, -0.003),
                                                   cv::Vec<double, 1>(0.8), cv::omnidir::RECTIFY_PERSPECTIVE, matrix);
                   }}};
    for (const auto& model : models) {
        for (const TChain& chain : kChains) {
            SCOPED_TRACE(std::string(model.name) + " after " + chain.name);
            CTestCamera camera(CameraKeys("Mono8 640x480", kMatrix, model.keys));
            for (const std::string& node : chain.nodes)
                camera.Add(node);
            camera.Add("Undistort u " + EndOf(chain));
            camera.Feed(ImageOf("Mono8", texture));

            cv::Mat expected;
            model.undistort(PixelsOf(*camera.Output(EndOf(chain))), expected, chain.follow(kMatrix).Matrix());
            EXPECT_LE(cv::norm(PixelsOf(*camera.Output("u")), expected, cv::NORM_INF), 2.0);
            EXPECT_TRUE(camera.Output("u")->Grid().rectified);
        }
    }
}

TEST_F(Undistort, DivisionTakesMoreCoefficientsAndACentreOfItsOwn)
{
    // The region begins at (40, 30) of the sensor, where the centre of distortion is given.
    const cv::Point2d center(300.0, 250.0);
    const double k1 = -0.3;
    const double k2 = 0.05;
    const double k3 = -0.02;
    const Keys keys = {{"ROI", "40 30 679 509"},
                       {"CAMERA MODEL", "PINHOLE"},
                       {"DISTORTION MODEL", "DIVISION"},
                       {"DISTORTION K", "-0.3, 0.05, -0.02"},
                       {"DISTORTION CENTER", "340, 280"}};

    // The model undistorts in one step, so the points are chosen where the camera sees them.
    cv::Mat picture(kSize, CV_16UC1, cv::Scalar(0));
    std::vector<cv::Point2d> expected;
    for (int y = 40; y < 480; y += 80) {
        for (int x = 40; x < 640; x += 80) {
            const cv::Point2d seen((x - center.x) / kMatrix.fx, (y - center.y) / kMatrix.fy);
            const double r2 = seen.dot(seen);
            const cv::Point2d ideal = seen / (1.0 + k1 * r2 + k2 * r2 * r2 + k3 * r2 * r2 * r2);
            const cv::Point2d point(center.x + ideal.x * kMatrix.fx, center.y + ideal.y * kMatrix.fy);
            if (!IsWithin(point, kSize, 14))
                continue;
            DrawSpot(cv::Point2d(x, y), &picture);
            expected.push_back(point);
        }
    }
    ASSERT_GE(expected.size(), 20U);
    CTestCamera camera(CameraKeys("Mono16 800x600", kMatrix, keys));
    camera.Add("Undistort u Source");
    camera.Feed(ImageOf("Mono16", picture));
    for (const cv::Point2d& point : expected)
        EXPECT_LE(Miss(PixelsOf(*camera.Output("u")), point, 12), 0.25) << point;
}

TEST_F(Undistort, DivisionLeavesBlackWhatNoPixelShows)
{
    // Pincushion distortion folds over where nothing farther out is seen: at 1 / (2 sqrt(k)) of the focal length.
    CTestCamera camera(CameraKeys("Mono8 640x480", kMatrix, Division("3", 3.0).keys));
    camera.Add("Undistort u Source");
    camera.Feed(ImageOf("Mono8", cv::Mat(kSize, CV_8UC1, cv::Scalar(200))));
    const cv::Mat output = PixelsOf(*camera.Output("u"));
    const double fold = kMatrix.fx / (2.0 * std::sqrt(3.0));
    EXPECT_EQ(output.at<std::uint8_t>(228, cvRound(kMatrix.cx + fold - 3.0)), 200);
    EXPECT_EQ(output.at<std::uint8_t>(228, cvRound(kMatrix.cx + fold + 3.0)), 0);
    EXPECT_EQ(output.at<std::uint8_t>(2, 2), 0);
}

TEST_F(Undistort, HandsOnWhatHasNoDistortion)
{
    CTestCamera camera(CameraKeys("BGR8 640x480", kMatrix, NoDistortion().keys));
    camera.Add("Undistort u Source");
    const auto input = cimage::Build("BGR8 640x480");
    camera.Feed(input);
    EXPECT_EQ(camera.Output("u"), input);
}

TEST_F(Undistort, FollowsIntrinsicsThatChange)
{
    const cv::Mat texture = Texture(kSize);
    CTestCamera camera(CameraKeys("Mono8 640x480", kMatrix, BrownConrady("-0.28, 0.09, 0.002, -0.001", {}).keys));
    camera.Add("Undistort u Source zoom=0.5");
    camera.Feed(ImageOf("Mono8", texture));
    const auto before = camera.Output("u");
    const cv::Mat before_pixels = PixelsOf(*before);

    const TMatrix moved{450.0, 440.0, 300.0, 250.0};
    camera.SetFocalLength(moved.fx, moved.fy);
    camera.SetOpticalCenter(moved.cx, moved.cy);
    camera.Feed(ImageOf("Mono8", texture));
    cv::Mat expected;
    cv::undistort(texture, expected, moved.Matrix(), cv::Vec4d(-0.28, 0.09, 0.002, -0.001), moved.Zoomed(0.5).Matrix());
    EXPECT_LE(cv::norm(PixelsOf(*camera.Output("u")), expected, cv::NORM_INF), 2.0);
    EXPECT_NEAR(dev::ParamsOf(camera, *camera.Output("u")).O[0], 300.0, 1e-9);
    EXPECT_EQ(cv::norm(PixelsOf(*before), before_pixels, cv::NORM_INF), 0.0);

    camera.Load(CameraKeys("Mono8 640x480", moved, KannalaBrandt().keys));
    camera.Feed(ImageOf("Mono8", texture));
    cv::fisheye::undistortImage(texture, expected, moved.Matrix(), cv::Vec4d(0.05, -0.02, 0.01, -0.003),
                                moved.Zoomed(0.5).Matrix());
    EXPECT_LE(cv::norm(PixelsOf(*camera.Output("u")), expected, cv::NORM_INF), 2.0);
}

TEST_F(Undistort, TakesTheLensOfAnotherCamera)
{
    const cv::Mat texture = Texture(kSize);
    CTestCamera left(CameraKeys("Mono8 640x480", kMatrix, NoDistortion().keys), "left");
    CTestCamera right(CameraKeys("Mono8 640x480", kMatrix, KannalaBrandt().keys), "right");
    left.Add("Undistort u Source camera=right zoom=0.5");
    right.Add("Undistort u Source zoom=0.5");
    EXPECT_EQ(ErrorOf([&] { left.Feed(ImageOf("Mono8", texture)); }),
              "Undistort: found no camera map, wanted one that holds the camera right");

    dev::CCameraMap cameras;
    left.Preprocess_Find("u")->Connect(cameras);
    EXPECT_EQ(ErrorOf([&] { left.Feed(ImageOf("Mono8", texture)); }),
              "Undistort: found no camera right in the camera map, wanted the name of a camera of the rig");

    cameras.Insert("right", right);
    left.Feed(ImageOf("Mono8", texture));
    right.Feed(ImageOf("Mono8", texture));
    EXPECT_EQ(cv::norm(PixelsOf(*left.Output("u")), PixelsOf(*right.Output("u")), cv::NORM_INF), 0.0);
    EXPECT_NEAR(dev::ParamsOf(left, *left.Output("u")).K[0], kMatrix.fx * 0.5, 1e-9);
}

TEST_F(Undistort, RefusesWhatItCannotDoAndSaysWhatItCould)
{
    const struct
    {
        Keys keys;
        const char* message;
    } rows[] = {{{{"CAMERA MODEL", "SPHERICAL:Y"}},
                 "camera left: found camera model SPHERICAL:Y, wanted PINHOLE, KANNALA_BRANDT or MEI"},
                {{{"CAMERA MODEL", "DOUBLE_SPHERE"}}, "found camera model DOUBLE_SPHERE, wanted"},
                {{{"DISTORTION MODEL", "BROWN_CONRADY"}, {"DISTORTION K", "1 2 3"}},
                 "camera left: found 3 coefficients, wanted 4, 5, 8, 12 or 14 for BROWN_CONRADY"},
                {{{"DISTORTION MODEL", "BROWN_CONRADY"}, {"DISTORTION K", "1 2 3 nan"}}, "wanted finite numbers"},
                {{{"DISTORTION MODEL", "DIVISION"}}, "found 0 coefficients, wanted 1 or more for DIVISION"},
                {{{"CAMERA MODEL", "KANNALA_BRANDT"}, {"DISTORTION K", "1"}},
                 "found 1 coefficient, wanted 4 for KANNALA_BRANDT"},
                {{{"CAMERA MODEL", "MEI"}, {"DISTORTION K", "1 2 3 4"}},
                 "found 4 coefficients, wanted 5 for MEI (xi, k1, k2, p1, p2)"},
                {{{"CAMERA MODEL", "MEI"}, {"DISTORTION MODEL", "DIVISION"}, {"DISTORTION K", "1 2 3 4 5"}},
                 "found lens model DIVISION, wanted none: the camera model MEI has a distortion of its own"}};
    for (const auto& row : rows) {
        CTestCamera camera(CameraKeys("Mono8 64x48", kMatrix, row.keys));
        EXPECT_THAT(ErrorOf([&] { Make("Undistort", "", cimage::Build("Mono8 64x48"), &camera); }),
                    HasSubstr(row.message));
        EXPECT_EQ(camera.Preprocess_Add("Undistort u Source"), nullptr);
    }

    CTestCamera no_focal({{"FB", "Mono8 64x48"}, {"DISTORTION MODEL", "DIVISION"}, {"DISTORTION K", "-0.1"}});
    EXPECT_EQ(ErrorOf([&] { Make("Undistort", "", cimage::Build("Mono8 64x48"), &no_focal); }),
              "Undistort: camera left: found focal length 0, 0, wanted two numbers above 0");

    CTestCamera camera(CameraKeys("Mono8 64x48", kMatrix, Division("-0.1", -0.1).keys));
    const struct
    {
        const char* options;
        const char* input;
        bool rectified;
        const char* message;
    } inputs[] = {
        {"", "BayerRG8 64x48", false, "Undistort: found BayerRG8, wanted a grey or colour format"},
        {"", "Mono8 64x48", true, "found pictures whose distortion has been taken out, wanted distorted ones"},
        {"zoom=0", "Mono8 64x48", false, "option zoom: found 0, wanted a number from 0.01 to 100"},
        {"camera=", "Mono8 64x48", false, "option camera: found , wanted the name of a camera"},
        {"alpha=1", "Mono8 64x48", false, "found option alpha, wanted camera, zoom or fps_factor"}};
    for (const auto& row : inputs) {
        const auto input = cimage::Build(row.input);
        cimage::TGrid grid;
        grid.rectified = row.rectified;
        input->SetGrid(grid);
        EXPECT_THAT(ErrorOf([&] { Make("Undistort", row.options, input, &camera); }), HasSubstr(row.message));
    }
    EXPECT_THAT(ErrorOf([] { Make("Undistort", "", cimage::Build("Mono8 64x48")); }),
                HasSubstr("found no camera, wanted one"));
    camera.Add("Undistort u Source");
    EXPECT_EQ(camera.Preprocess_Add("Undistort twice u"), nullptr);
}

}  // namespace
}  // namespace plugins_test
