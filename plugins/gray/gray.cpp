// Gray: colour and Bayer pictures to grey.
#include <opencv2/imgproc.hpp>

#include "common/mat.h"
#include "common/operation.h"

namespace ops {

namespace {

class Gray : public COperation
{
    void On_Initialization() override { Options({}); }

    boost::shared_ptr<cimage::CImage> Layout(const cimage::CImage& input) override
    {
        const cimage::TPixelFormat& format = input.Format();
        const Kind kind = KindOf(format);
        if (kind == Kind::Grey)
            return nullptr;
        if (kind == Kind::Other)
            RefuseFormat(input, "a Mono, Bayer, RGB or BGR format");
        conversion_ = kind == Kind::Bayer ? FromBayer(PatternOf(format)) : FromColour(format);
        const auto output = cimage::Build(cimage::PixelFormat("Mono" + std::to_string(format.bits_per_sample)),
                                          input.Width(), input.Height());
        output->SetGrid(input.Grid());
        return output;
    }

    void Run(const cv::Mat& input, cv::Mat& output) override { cv::cvtColor(input, output, conversion_); }

    static int FromBayer(const std::string& pattern)
    {
        return pattern == "RG"   ? cv::COLOR_BayerRGGB2GRAY
               : pattern == "GR" ? cv::COLOR_BayerGRBG2GRAY
               : pattern == "GB" ? cv::COLOR_BayerGBRG2GRAY
                                 : cv::COLOR_BayerBGGR2GRAY;
    }

    static int FromColour(const cimage::TPixelFormat& format)
    {
        const bool red_first = format.name[0] == 'R';
        if (format.channels == 4)
            return red_first ? cv::COLOR_RGBA2GRAY : cv::COLOR_BGRA2GRAY;
        return red_first ? cv::COLOR_RGB2GRAY : cv::COLOR_BGR2GRAY;
    }

    int conversion_ = 0;
};

const dev::camera::CPluginRegistration<Gray> registration(
    "Gray", "", "Makes colour and Bayer pictures grey, with the bits per sample they have; grey ones pass.");

}  // namespace

}  // namespace ops
