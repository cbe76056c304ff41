// What all operations have in common, and the operations that do not look at a camera.
#include <gmock/gmock.h>

#include <algorithm>
#include <cmath>

#include "plugins/plugin_fixture.h"

namespace plugins_test {
namespace {

using testing::HasSubstr;

/// f(x, y) = 1000 + 8 x + 16 y at the pixel centres, in 16 bits: an image that tells where each of its pixels lies.
cv::Mat Ramp(int width, int height)
{
    cv::Mat ramp(height, width, CV_16UC1);
    for (int y = 0; y < height; ++y) {
        for (int x = 0; x < width; ++x)
            ramp.at<std::uint16_t>(y, x) = static_cast<std::uint16_t>(1000 + 8 * x + 16 * y);
    }
    return ramp;
}

/// Colours that change slowly: red falls, green rises, blue waves.
cv::Vec3d ColourAt(double x, double y)
{
    return cv::Vec3d(210.0 - 1.5 * x, 40.0 + 1.2 * y, 120.0 + 30.0 * std::sin(0.1 * (x + y)));
}

/// 0 red, 1 green, 2 blue: what a mosaic with that first row ("RG") has at a pixel.
int ColourOfPixel(const std::string& first_row, int x, int y)
{
    const std::string rows[] = {first_row, first_row == "RG"   ? "GB"
                                           : first_row == "GR" ? "BG"
                                           : first_row == "GB" ? "RG"
                                                               : "GR"};
    const char colour = rows[y % 2][static_cast<std::size_t>(x % 2)];
    return colour == 'R' ? 0 : colour == 'G' ? 1 : 2;
}

cv::Mat Mosaic(const std::string& first_row, int type, double gain)
{
    cv::Mat mosaic(48, 64, type);
    for (int y = 0; y < mosaic.rows; ++y) {
        for (int x = 0; x < mosaic.cols; ++x) {
            const double value = gain * ColourAt(x, y)[ColourOfPixel(first_row, x, y)];
            if (type == CV_8UC1)
                mosaic.at<std::uint8_t>(y, x) = cv::saturate_cast<std::uint8_t>(value);
            else
                mosaic.at<std::uint16_t>(y, x) = cv::saturate_cast<std::uint16_t>(value);
        }
    }
    return mosaic;
}

double Difference(double a, double b)
{
    return std::abs(a - b);
}

double Difference(const cv::Vec3d& a, const cv::Vec3d& b)
{
    return cv::norm(a, b, cv::NORM_INF);
}

/// The largest difference between an image and what `expected(x, y)` says, three pixels off the border.
template <typename Expected>
double Deviation(const cimage::CImage& image, double gain, const Expected& expected)
{
    using Pixel = decltype(expected(0, 0));
    cv::Mat pixels;
    PixelsOf(image).convertTo(pixels, CV_64F, 1.0 / gain);
    double largest = 0.0;
    for (int y = 3; y < pixels.rows - 3; ++y) {
        for (int x = 3; x < pixels.cols - 3; ++x)
            largest = std::max(largest, Difference(expected(x, y), pixels.at<Pixel>(y, x)));
    }
    return largest;
}

const char* const kPatterns[] = {"RG", "GR", "GB", "BG"};

TEST_F(Operations, AllRegisterWithTheirHelpTexts)
{
    const auto ids = dev::camera::PluginSingleton::Instance().RegisteredIds();
    EXPECT_THAT(ids, testing::ElementsAre("Blur", "Crop", "Demosaic", "Gray", "Resize", "Undistort"));
    for (const std::string& id : ids) {
        EXPECT_FALSE(dev::camera::Plugin_Descriptions::Description(id).empty()) << id;
        EXPECT_EQ(dev::camera::Plugin_Descriptions::Syntax(id).empty(), id == "Gray") << id;
    }
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
        {"Gray", "strength=1", "Mono8 8x8", "Gray: found option strength, wanted fps_factor"},
        {"Gray", "", "YUV422_8 8x8", "Gray: found YUV422_8, wanted a Mono, Bayer, RGB or BGR format"},
        {"Demosaic", "", "Mono8 8x8", "Demosaic: found Mono8, wanted a Bayer format"},
        {"Demosaic", "method=best", "BayerRG8 8x8", "option method: found best, wanted linear, edge or vng"},
        {"Demosaic", "method=vng", "BayerRG12 8x8",
         "found BayerRG12, wanted 8 bits per sample for the option method=vng"},
        {"Resize", "", "Mono8 8x8", "Resize: found no size, wanted one of scale, size, or width and height"},
        {"Resize", "scale=2 size=4x4", "Mono8 8x8", "found more than one way to say the size"},
        {"Resize", "scale=0", "Mono8 8x8", "option scale: found 0, wanted a number from 0.001 to 1000"},
        {"Resize", "scale=0,5", "Mono8 8x8", "option scale: found 0,5, wanted a number"},
        {"Resize", "scale=nan", "Mono8 8x8", "option scale: found nan, wanted a number"},
        {"Resize", "scale=0.01", "Mono8 8x8", "found a result of 0x0, wanted 1x1 to 65535x65535"},
        {"Resize", "scale=1000", "Mono8 800x8", "found a result of 800000x8000, wanted"},
        {"Resize", "size=4", "Mono8 8x8", "option size: found 4, wanted WIDTHxHEIGHT in pixels"},
        {"Resize", "size=0x4", "Mono8 8x8", "option size: found 0x4, wanted"},
        {"Resize", "width=-4", "Mono8 8x8", "option width: found -4, wanted a whole number from 1 to 65535"},
        {"Resize", "width=4.5", "Mono8 8x8", "option width: found 4.5, wanted a whole number"},
        {"Resize", "scale=2", "BayerRG8 8x8", "Resize: found BayerRG8, wanted a grey or colour format"},
        {"Crop", "", "Mono8 8x8", "Crop: option rect: found nothing, wanted LEFT,TOP,WIDTH,HEIGHT in pixels"},
        {"Crop", "rect=1,2,3", "Mono8 8x8", "option rect: found 1,2,3, wanted LEFT,TOP,WIDTH,HEIGHT in pixels"},
        {"Crop", "rect=1,2,0,4", "Mono8 8x8", "option rect: found 1,2,0,4, wanted a width and a height of 1 or more"},
        {"Crop", "rect=-1,2,3,4", "Mono8 8x8", "option rect: found -1,2,3,4, wanted LEFT"},
        {"Crop", "rect=1,2,8,4", "Mono8 8x8", "Crop: found rect=1,2,8,4, wanted a rectangle within Mono8 8x8"},
        {"Crop", "rect=1,2,3,7", "Mono8 8x8", "wanted a rectangle within Mono8 8x8"},
        {"Blur", "", "Mono8 8x8", "Blur: option radius: found nothing, wanted radius, sigma or both"},
        {"Blur", "radius=0", "Mono8 8x8", "option radius: found 0, wanted a whole number from 1 to 255"},
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
        SCOPED_TRACE(row.first);
        const auto first = ImageOf("RGB8", cv::Mat(16, 16, CV_8UC3, cv::Scalar::all(10)));
        const auto second = ImageOf("RGB8", cv::Mat(16, 16, CV_8UC3, cv::Scalar::all(90)));
        const auto plugin = Make(row.first, row.second, first);
        std::vector<Plugin::ImagePtr> held;
        for (int i = 0; i < 6; ++i) {
            plugin->Execute(i % 2 == 0 ? first : second);
            held.push_back(plugin->Image(""));
        }
        for (std::size_t i = 0; i < held.size(); ++i)
            EXPECT_EQ(*held[i]->Data(), i % 2 == 0 ? 10 : 90) << "frame " << i;
    }
}

TEST_F(Operations, FollowAnInputThatChanges)
{
    const auto plugin = Make("Resize", "scale=0.5", cimage::Build("Mono8 64x48"));
    plugin->Execute(cimage::Build("Mono8 64x48"));
    EXPECT_EQ(plugin->Image("")->Descriptor(), "Mono8 32x24");
    plugin->Execute(cimage::Build("RGB16 20x10"));
    EXPECT_EQ(plugin->Image("")->Descriptor(), "RGB16 10x5");
    const auto moved = cimage::Build("RGB16 20x10");
    cimage::TGrid grid;
    grid.offset_x = 100.0;
    moved->SetGrid(grid);
    plugin->Execute(moved);
    EXPECT_DOUBLE_EQ(plugin->Image("")->Grid().offset_x, 100.5);

    const auto crop = Make("Crop", "rect=10,10,8,8", cimage::Build("Mono8 64x48"));
    for (int i = 0; i < 2; ++i)  // refused each time, not only when the change is new
        EXPECT_THAT(ErrorOf([&] { crop->Execute(cimage::Build("Mono8 16x16")); }), HasSubstr("within Mono8 16x16"));
    crop->Execute(cimage::Build("Mono8 18x18"));
    EXPECT_EQ(crop->Image("")->Descriptor(), "Mono8 8x8");
}

TEST_F(Operations, DrawOnTheirWindowWhenSomebodyLooks)
{
    const auto input = cimage::Build("Mono8 64x48");
    const auto plugin = Make("Crop", "rect=0,0,8,8", input);
    EXPECT_EQ(plugin->Wnd("").Width(), 64U);
    plugin->Wnd("").Show(true);
    plugin->Execute(input);
    EXPECT_EQ(plugin->Wnd("").Picture(), plugin->Image(""));
}

TEST_F(Operations, GridsTellWhereEachPixelLies)
{
    // Any chain, any interpolation: the ramp's value at a pixel of the result is the ramp's formula at its grid
    // position.
    const std::vector<std::vector<std::pair<const char*, const char*>>> chains = {
        {{"Resize", "scale=0.5"}},
        {{"Resize", "size=50x23"}},
        {{"Resize", "width=256"}},
        {{"Resize", "scale=3;interpolation=cubic"}},
        {{"Resize", "height=20;interpolation=linear"}},
        {{"Resize", "scale=4;interpolation=nearest"}},
        {{"Crop", "rect=0,0,126,96"}, {"Resize", "size=42x32;interpolation=nearest"}},
        {{"Crop", "rect=13,7,60,40"}},
        {{"Crop", "rect=13,7,60,40"}, {"Resize", "scale=0.25"}},
        {{"Resize", "scale=0.5"}, {"Crop", "rect=13,7,40,30"}, {"Resize", "scale=2"}, {"Crop", "rect=3,5,50,40"}},
        {{"Crop", "rect=13,7,60,40"}, {"Blur", "radius=2"}}};
    for (const auto& chain : chains) {
        Plugin::ImagePtr image = ImageOf("Mono16", Ramp(128, 96));
        std::string text;
        double step = 0.5;  // what nearest may be off, in pixels of its input
        for (const auto& link : chain) {
            image = RunOnce(link.first, link.second, image);
            text += std::string(link.first) + " " + link.second + ", ";
        }
        if (text.find("nearest") == std::string::npos)
            step = 0.05;
        const cimage::TGrid& grid = image->Grid();
        const double deviation = Deviation(*image, 1.0, [&grid](int x, int y) {
            return 1000.0 + 8.0 * (grid.scale_x * x + grid.offset_x) + 16.0 * (grid.scale_y * y + grid.offset_y);
        });
        EXPECT_LE(deviation, 1.0 + step * (8.0 + 16.0)) << text;
        EXPECT_FALSE(grid.rectified);
    }
}

TEST_F(Operations, ResizeKeepsTheShapeWhenOneSideIsGiven)
{
    const auto input = cimage::Build("RGB8 640x480");
    EXPECT_EQ(RunOnce("Resize", "width=320", input)->Descriptor(), "RGB8 320x240");
    EXPECT_EQ(RunOnce("Resize", "height=120", input)->Descriptor(), "RGB8 160x120");
    EXPECT_EQ(RunOnce("Resize", "width=100;height=7", input)->Descriptor(), "RGB8 100x7");
    EXPECT_EQ(RunOnce("Resize", "width=1", cimage::Build("Mono8 640x2"))->Descriptor(), "Mono8 1x1");
}

TEST_F(Operations, ResizeAveragesWhereItShrinks)
{
    cv::Mat stripes(8, 8, CV_8UC1);
    for (int x = 0; x < 8; ++x)
        stripes.col(x).setTo(x % 2 == 0 ? 0 : 100);
    EXPECT_EQ(*RunOnce("Resize", "scale=0.25", ImageOf("Mono8", stripes))->Data(), 50);
    const int nearest = *RunOnce("Resize", "scale=0.25;interpolation=nearest", ImageOf("Mono8", stripes))->Data();
    EXPECT_TRUE(nearest == 0 || nearest == 100);
}

TEST_F(Operations, CropTakesThePixelsOfTheRectangle)
{
    const auto output = RunOnce("Crop", "rect=13,7,20,10", ImageOf("Mono16", Ramp(64, 48)));
    EXPECT_EQ(cv::norm(PixelsOf(*output), Ramp(64, 48)(cv::Rect(13, 7, 20, 10)), cv::NORM_INF), 0.0);
}

TEST_F(Operations, CropOfAMosaicNamesThePatternThatBeginsThere)
{
    for (const std::string pattern : kPatterns) {
        for (int left = 0; left < 2; ++left) {
            for (int top = 0; top < 2; ++top) {
                const auto output =
                    RunOnce("Crop", "rect=" + std::to_string(left) + "," + std::to_string(top) + ",16,16",
                            ImageOf("Bayer" + pattern + "12", Mosaic(pattern, CV_16UC1, 16.0)));
                const std::string format = output->Format().name;
                for (int y = 0; y < 2; ++y) {
                    for (int x = 0; x < 2; ++x)
                        EXPECT_EQ(ColourOfPixel(format.substr(5, 2), x, y), ColourOfPixel(pattern, left + x, top + y))
                            << pattern << " at " << left << ", " << top << " gave " << format;
                }
                EXPECT_EQ(format.substr(7), "12");
            }
        }
    }
}

TEST_F(Operations, DemosaicBringsTheColoursBack)
{
    for (const std::string pattern : kPatterns) {
        for (const std::string method : {"", "method=linear", "method=edge", "method=vng"}) {
            SCOPED_TRACE(pattern + " " + method);
            const auto output =
                RunOnce("Demosaic", method, ImageOf("Bayer" + pattern + "8", Mosaic(pattern, CV_8UC1, 1.0)));
            EXPECT_EQ(output->Descriptor(), "RGB8 64x48");
            EXPECT_LE(Deviation(*output, 1.0, ColourAt), method == "method=vng" ? 8.0 : 4.0);
        }
        for (const std::string wrong : kPatterns) {
            if (wrong == pattern)
                continue;
            const auto output = RunOnce("Demosaic", "", ImageOf("Bayer" + wrong + "8", Mosaic(pattern, CV_8UC1, 1.0)));
            EXPECT_GE(Deviation(*output, 1.0, ColourAt), 20.0) << pattern << " taken for " << wrong;
        }
    }
}

TEST_F(Operations, DemosaicFillsSixteenBits)
{
    const std::pair<const char*, double> rows[] = {{"10", 4.0}, {"12", 16.0}, {"16", 256.0}};
    for (const auto& row : rows) {
        for (const std::string method : {"method=linear", "method=edge"}) {
            SCOPED_TRACE(row.first + method);
            const auto output = RunOnce(
                "Demosaic", method, ImageOf(std::string("BayerGR") + row.first, Mosaic("GR", CV_16UC1, row.second)));
            EXPECT_EQ(output->Descriptor(), "RGB16 64x48");
            EXPECT_LE(Deviation(*output, 256.0, ColourAt), 4.0);
        }
    }
}

/// Luma of ITU-R BT.601.
double GreyAt(double x, double y)
{
    return ColourAt(x, y).dot(cv::Vec3d(0.299, 0.587, 0.114));
}

TEST_F(Operations, GrayWeighsTheColours)
{
    for (const std::string pattern : kPatterns) {
        const auto narrow = RunOnce("Gray", "", ImageOf("Bayer" + pattern + "8", Mosaic(pattern, CV_8UC1, 1.0)));
        EXPECT_EQ(narrow->Descriptor(), "Mono8 64x48");
        EXPECT_LE(Deviation(*narrow, 1.0, GreyAt), 3.0) << pattern;
        const auto wide = RunOnce("Gray", "", ImageOf("Bayer" + pattern + "12", Mosaic(pattern, CV_16UC1, 16.0)));
        EXPECT_EQ(wide->Descriptor(), "Mono12 64x48");
        EXPECT_LE(Deviation(*wide, 16.0, GreyAt), 3.0) << pattern;
        const std::string wrong = pattern == "RG" ? "BG" : pattern == "BG" ? "RG" : pattern == "GR" ? "GB" : "GR";
        EXPECT_GE(
            Deviation(*RunOnce("Gray", "", ImageOf("Bayer" + wrong + "8", Mosaic(pattern, CV_8UC1, 1.0))), 1.0, GreyAt),
            15.0)
            << pattern << " taken for " << wrong;
    }
    const struct
    {
        const char* format;
        cv::Mat pixel;
        double grey;
    } rows[] = {{"RGB8", cv::Mat(1, 1, CV_8UC3, cv::Scalar(200, 0, 0)), 59.8},
                {"BGR8", cv::Mat(1, 1, CV_8UC3, cv::Scalar(0, 0, 200)), 59.8},
                {"BGRa8", cv::Mat(1, 1, CV_8UC4, cv::Scalar(0, 0, 200, 9)), 59.8},
                {"RGBa8", cv::Mat(1, 1, CV_8UC4, cv::Scalar(200, 0, 0, 9)), 59.8},
                {"RGB16", cv::Mat(1, 1, CV_16UC3, cv::Scalar(0, 20000, 0)), 11740.0}};
    for (const auto& row : rows) {
        cv::Mat grey;
        PixelsOf(*RunOnce("Gray", "", ImageOf(row.format, row.pixel))).convertTo(grey, CV_64F);
        EXPECT_NEAR(grey.at<double>(0, 0), row.grey, 0.001 * row.grey + 0.5) << row.format;
    }
}

TEST_F(Operations, GrayHandsGreyPicturesOnAsTheyAre)
{
    const auto input = ImageOf("Mono12", Ramp(16, 8));
    EXPECT_EQ(RunOnce("Gray", "", input), input);
}

TEST_F(Operations, BlurSpreadsAPointAsTheGaussianSays)
{
    const struct
    {
        const char* options;
        double sigma;
        int radius;
    } rows[] = {{"sigma=2", 2.0, 6}, {"radius=3", 1.4, 3}, {"radius=12;sigma=1.5", 1.5, 12}};
    for (const auto& row : rows) {
        SCOPED_TRACE(row.options);
        cv::Mat point(41, 41, CV_16UC1, cv::Scalar(0));
        point.at<std::uint16_t>(20, 20) = 60000;
        const cv::Mat spread = PixelsOf(*RunOnce("Blur", row.options, ImageOf("Mono16", point)));
        double mass = 0.0;
        for (int i = -row.radius; i <= row.radius; ++i) {
            for (int j = -row.radius; j <= row.radius; ++j)
                mass += std::exp(-(i * i + j * j) / (2.0 * row.sigma * row.sigma));
        }
        for (int i = -20; i <= 20; ++i) {
            const double expected =
                std::abs(i) > row.radius ? 0.0 : 60000.0 / mass * std::exp(-i * i / (2.0 * row.sigma * row.sigma));
            EXPECT_NEAR(spread.at<std::uint16_t>(20, 20 + i), expected, 2.0) << i;
            EXPECT_NEAR(spread.at<std::uint16_t>(20 + i, 20), expected, 2.0) << i;
        }
    }
}

}  // namespace
}  // namespace plugins_test
