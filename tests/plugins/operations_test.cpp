// What all operations have in common, and the operations that do not look at a camera.
#include <gmock/gmock.h>

#include <cmath>
#include <opencv2/imgproc.hpp>

#include "plugins/plugin_fixture.h"

namespace plugins_test {
namespace {

using testing::HasSubstr;

/// A picture whose pixels tell where each of them lies on the sensor: f(x, y) = 1000 + 8 x + 16 y.
cv::Mat Ramp(int width, int height, const cimage::TGrid& grid = cimage::TGrid())
{
    cv::Mat ramp(height, width, CV_64F);
    for (int y = 0; y < height; ++y) {
        for (int x = 0; x < width; ++x)
            ramp.at<double>(y, x) =
                1000.0 + 8.0 * (grid.scale_x * x + grid.offset_x) + 16.0 * (grid.scale_y * y + grid.offset_y);
    }
    return ramp;
}

/// Colours that change slowly: red falls, green rises, blue waves.
cv::Mat Colours()
{
    cv::Mat colours(48, 64, CV_64FC3);
    for (int y = 0; y < colours.rows; ++y) {
        for (int x = 0; x < colours.cols; ++x)
            colours.at<cv::Vec3d>(y, x) =
                cv::Vec3d(210.0 - 1.5 * x, 40.0 + 1.2 * y, 120.0 + 30.0 * std::sin(0.1 * (x + y)));
    }
    return colours;
}

/// Two rows of each mosaic, one after the other.
const char* const kPatterns[] = {"RGGB", "GRBG", "GBRG", "BGGR"};

char ColourOfPixel(const std::string& pattern, int x, int y)
{
    return pattern[static_cast<std::size_t>(y % 2 * 2 + x % 2)];
}

/// What a camera with that mosaic sees of Colours().
Plugin::ImagePtr Mosaic(const std::string& pattern, const std::string& bits, double gain)
{
    const cv::Mat colours = Colours();
    cv::Mat mosaic(colours.size(), CV_64F);
    for (int y = 0; y < mosaic.rows; ++y) {
        for (int x = 0; x < mosaic.cols; ++x) {
            const char colour = ColourOfPixel(pattern, x, y);
            mosaic.at<double>(y, x) = gain * colours.at<cv::Vec3d>(y, x)[colour == 'R' ? 0 : colour == 'G' ? 1 : 2];
        }
    }
    mosaic.convertTo(mosaic, bits == "8" ? CV_8U : CV_16U);
    return ImageOf("Bayer" + pattern.substr(0, 2) + bits, mosaic);
}

/// The largest difference between an image and what is expected, three pixels off the border.
double Deviation(const cimage::CImage& image, double gain, const cv::Mat& expected)
{
    cv::Mat pixels;
    PixelsOf(image).convertTo(pixels, CV_64F, 1.0 / gain);
    const cv::Rect inside(3, 3, pixels.cols - 6, pixels.rows - 6);
    return cv::norm(pixels(inside), expected(inside), cv::NORM_INF);
}

TEST_F(Operations, RefuseWhatTheyCannotDoAndSayWhatTheyCould)
{
    const struct
    {
        const char* operation;
        const char* options;
        const char* input;
        const char* message;
    } rows[] = {
        {"Gray", "", "YUV422_8 8x8", "Gray: found YUV422_8, wanted a Mono, Bayer, RGB or BGR format"},
        {"Demosaic", "", "Mono8 8x8", "Demosaic: found Mono8, wanted a Bayer format"},
        {"Demosaic", "method=best", "BayerRG8 8x8", "option method: found best, wanted linear, edge or vng"},
        {"Demosaic", "method=vng", "BayerRG12 8x8",
         "found BayerRG12, wanted 8 bits per sample for the option method=vng"},
        {"Resize", "", "Mono8 8x8", "Resize: found no size, wanted one of scale, size, or width and height"},
        {"Resize", "scale=2 size=4x4", "Mono8 8x8", "found more than one way to say the size"},
        {"Resize", "scale=0", "Mono8 8x8", "option scale: found 0, wanted a number from 0.001 to 1000"},
        {"Resize", "scale=nan", "Mono8 8x8", "option scale: found nan, wanted a number"},
        {"Resize", "scale=0.01", "Mono8 8x8", "found a result of 0x0, wanted 1x1 to 65535x65535"},
        {"Resize", "size=4", "Mono8 8x8", "option size: found 4, wanted WIDTHxHEIGHT in pixels"},
        {"Resize", "width=-4", "Mono8 8x8", "option width: found -4, wanted a whole number from 1 to 65535"},
        {"Resize", "scale=2", "BayerRG8 8x8", "Resize: found BayerRG8, wanted a grey or colour format"},
        {"Crop", "", "Mono8 8x8", "Crop: option rect: found nothing, wanted LEFT,TOP,WIDTH,HEIGHT in pixels"},
        {"Crop", "rect=1,2,0,4", "Mono8 8x8", "option rect: found 1,2,0,4, wanted a width and a height of 1 or more"},
        {"Crop", "rect=1,2,8,4", "Mono8 8x8", "Crop: found rect=1,2,8,4, wanted a rectangle within Mono8 8x8"},
        {"Blur", "", "Mono8 8x8", "Blur: option radius: found nothing, wanted radius, sigma or both"},
        {"Blur", "3", "Mono8 8x8", "Blur: found value 3 without a name, wanted radius, sigma or fps_factor"},
        {"Blur", "radius=3", "BayerGB16 8x8", "Blur: found BayerGB16, wanted a grey or colour format"}};
    for (const auto& row : rows)
        EXPECT_THAT(ErrorOf([&] { Make(row.operation, row.options, cimage::Build(row.input)); }),
                    HasSubstr(row.message))
            << row.operation << " " << row.options;
    EXPECT_EQ(ErrorOf([] { Make("Gray", "fps_factor=0.5", cimage::Build("Mono8 8x8")); }), "no error");
}

TEST_F(Operations, NeverWriteToWhatAConsumerStillHolds)
{
    for (const auto& row : {std::make_pair("Blur", "radius=1"), std::make_pair("Crop", "rect=0,0,8,8"),
                            std::make_pair("Resize", "scale=0.5"), std::make_pair("Gray", "")}) {
        const Plugin::ImagePtr inputs[] = {ImageOf("RGB8", cv::Mat(16, 16, CV_8UC3, cv::Scalar::all(10))),
                                           ImageOf("RGB8", cv::Mat(16, 16, CV_8UC3, cv::Scalar::all(90)))};
        const auto plugin = Make(row.first, row.second, inputs[0]);
        std::vector<Plugin::ImagePtr> held;
        for (std::size_t i = 0; i < 6; ++i) {
            plugin->Execute(inputs[i % 2]);
            held.push_back(plugin->Image(""));
        }
        for (std::size_t i = 0; i < held.size(); ++i)
            EXPECT_EQ(*held[i]->Data(), i % 2 == 0 ? 10 : 90) << row.first << ", frame " << i;
    }
}

TEST_F(Operations, FollowAnInputThatChanges)
{
    const auto crop = Make("Crop", "rect=10,10,8,8", cimage::Build("Mono8 64x48"));
    for (int i = 0; i < 2; ++i)  // refused each time, not only when the change is new
        EXPECT_THAT(ErrorOf([&] { crop->Execute(cimage::Build("Mono8 16x16")); }), HasSubstr("within Mono8 16x16"));
    const auto input = cimage::Build("RGB16 18x18");
    crop->Execute(input);
    EXPECT_EQ(crop->Image("")->Descriptor(), "RGB16 8x8");
    cimage::TGrid grid;
    grid.offset_x = 100.0;
    input->SetGrid(grid);
    crop->Execute(input);
    EXPECT_DOUBLE_EQ(crop->Image("")->Grid().offset_x, 110.0);
}

TEST_F(Operations, GridsTellWhereEachPixelLies)
{
    // Whatever the chain: the value of a pixel of the result is the ramp's at the position that the grid tells.
    using Chain = std::vector<std::pair<const char*, const char*>>;
    const struct
    {
        const char* result;
        double off;  // in pixels: nearest takes the value from up to half a pixel away
        Chain chain;
    } rows[] = {{"Mono16 50x23", 0.05, {{"Resize", "size=50x23"}}},
                {"Mono16 256x192", 0.05, {{"Resize", "width=256;interpolation=cubic"}}},
                {"Mono16 27x20", 0.05, {{"Resize", "height=20;interpolation=linear"}}},
                {"Mono16 512x384", 0.5, {{"Resize", "scale=4;interpolation=nearest"}}},
                {"Mono16 42x32", 0.5, {{"Crop", "rect=0,0,126,96"}, {"Resize", "size=42x32;interpolation=nearest"}}},
                {"Mono16 15x10", 0.05, {{"Crop", "rect=13,7,60,40"}, {"Blur", "radius=2"}, {"Resize", "scale=0.25"}}},
                {"Mono16 50x40", 0.05, {{"Resize", "scale=0.5"}, {"Crop", "rect=3,5,50,40"}}}};
    for (const auto& row : rows) {
        cv::Mat ramp;
        Ramp(128, 96).convertTo(ramp, CV_16U);
        Plugin::ImagePtr image = ImageOf("Mono16", ramp);
        for (const auto& link : row.chain)
            image = RunOnce(link.first, link.second, image);
        ASSERT_EQ(image->Descriptor(), row.result);
        const cv::Mat expected =
            Ramp(static_cast<int>(image->Width()), static_cast<int>(image->Height()), image->Grid());
        EXPECT_LE(Deviation(*image, 1.0, expected), 1.0 + row.off * (8.0 + 16.0)) << row.result;
    }
}

TEST_F(Operations, CropOfAMosaicNamesThePatternThatBeginsThere)
{
    for (const std::string pattern : kPatterns) {
        for (int i = 0; i < 4; ++i) {
            const std::string rect = "rect=" + std::to_string(i % 2) + "," + std::to_string(i / 2) + ",16,16";
            const auto output = RunOnce("Crop", rect, Mosaic(pattern, "12", 16.0));
            const std::string row{ColourOfPixel(pattern, i % 2, i / 2), ColourOfPixel(pattern, i % 2 + 1, i / 2)};
            EXPECT_EQ(output->Format().name, "Bayer" + row + "12") << pattern << " " << rect;
        }
    }
}

TEST_F(Operations, DemosaicAndGrayBringTheColoursBack)
{
    cv::Mat grey;
    cv::transform(Colours(), grey, cv::Matx13d(0.299, 0.587, 0.114));  // luma of ITU-R BT.601
    const std::pair<std::string, double> depths[] = {{"8", 1.0}, {"10", 4.0}, {"12", 16.0}, {"16", 256.0}};
    for (const std::string pattern : kPatterns) {
        for (const auto& depth : depths) {
            SCOPED_TRACE(pattern + depth.first);
            const bool wide = depth.first != "8";  // demosaiced to the full 16 bits
            const auto mosaic = Mosaic(pattern, depth.first, depth.second);
            for (const std::string method : {"", "method=linear", "method=edge", "method=vng"}) {
                if (wide && method == "method=vng")
                    continue;
                const auto colours = RunOnce("Demosaic", method, mosaic);
                EXPECT_EQ(colours->Descriptor(), wide ? "RGB16 64x48" : "RGB8 64x48");
                EXPECT_LE(Deviation(*colours, wide ? 256.0 : 1.0, Colours()), method == "method=vng" ? 8.0 : 4.0);
            }
            const auto output = RunOnce("Gray", "", mosaic);
            EXPECT_EQ(output->Descriptor(), "Mono" + depth.first + " 64x48");
            EXPECT_LE(Deviation(*output, depth.second, grey), 3.0);
        }
    }
}

TEST_F(Operations, GrayWeighsTheColours)
{
    const struct
    {
        const char* format;
        cv::Mat pixel;
        double grey;
    } rows[] = {{"RGB8", cv::Mat(1, 1, CV_8UC3, cv::Scalar(200, 0, 0)), 59.8},
                {"BGRa8", cv::Mat(1, 1, CV_8UC4, cv::Scalar(0, 0, 200, 9)), 59.8},
                {"RGB16", cv::Mat(1, 1, CV_16UC3, cv::Scalar(0, 20000, 0)), 11740.0},
                {"Mono12", cv::Mat(1, 1, CV_16UC1, cv::Scalar(3000)), 3000.0}};
    for (const auto& row : rows) {
        cv::Mat grey;
        PixelsOf(*RunOnce("Gray", "", ImageOf(row.format, row.pixel))).convertTo(grey, CV_64F);
        EXPECT_NEAR(grey.at<double>(0, 0), row.grey, 0.001 * row.grey + 0.5) << row.format;
    }
}

TEST_F(Operations, BlurSpreadsAPointAsTheGaussianSays)
{
    cv::Mat point(41, 41, CV_16UC1, cv::Scalar(0));
    point.at<std::uint16_t>(20, 20) = 60000;
    const cv::Mat spread = PixelsOf(*RunOnce("Blur", "sigma=2", ImageOf("Mono16", point)));
    cv::Mat expected(41, 41, CV_16UC1, cv::Scalar(0));  // three sigma, then nothing
    const cv::Mat gauss = cv::getGaussianKernel(13, 2.0);
    cv::Mat(60000.0 * gauss * gauss.t()).convertTo(expected(cv::Rect(14, 14, 13, 13)), CV_16U);
    EXPECT_LE(cv::norm(spread, expected, cv::NORM_INF), 2.0);
}

}  // namespace
}  // namespace plugins_test
