// Demosaic: Bayer pictures to colour.
#include <opencv2/imgproc.hpp>

#include "common/mat.h"
#include "common/operation.h"

namespace ops {

namespace {

class Demosaic : public COperation
{
    void On_Initialization() override
    {
        method_ = static_cast<Method>(Options({"method"}).Choice("method", {"linear", "edge", "vng"}, 0));
    }

    boost::shared_ptr<cimage::CImage> Layout(const cimage::CImage& input) override
    {
        const cimage::TPixelFormat& format = input.Format();
        if (KindOf(format) != Kind::Bayer)
            RefuseFormat(input, "a Bayer format");
        if (method_ == Vng && format.bits_per_sample > 8)
            RefuseFormat(input, "8 bits per sample for the option method=vng");
        conversion_ = Conversion(PatternOf(format));
        // There is no colour format of 10 or 12 bits; 16 bits are filled from the top.
        gain_ = format.bits_per_sample > 8 ? 1 << (16 - format.bits_per_sample) : 1;
        const auto output = cimage::Build(cimage::PixelFormat(format.bits_per_sample > 8 ? "RGB16" : "RGB8"),
                                          input.Width(), input.Height());
        output->SetGrid(input.Grid());
        return output;
    }

    void Run(const cv::Mat& input, cv::Mat& output) override
    {
        cv::demosaicing(input, output, conversion_);
        if (gain_ > 1)
            output.convertTo(output, -1, gain_);
    }

    int Conversion(const std::string& pattern) const
    {
        static const int conversions[][3] = {
            {cv::COLOR_BayerRGGB2RGB, cv::COLOR_BayerRGGB2RGB_EA, cv::COLOR_BayerRGGB2RGB_VNG},
            {cv::COLOR_BayerGRBG2RGB, cv::COLOR_BayerGRBG2RGB_EA, cv::COLOR_BayerGRBG2RGB_VNG},
            {cv::COLOR_BayerGBRG2RGB, cv::COLOR_BayerGBRG2RGB_EA, cv::COLOR_BayerGBRG2RGB_VNG},
            {cv::COLOR_BayerBGGR2RGB, cv::COLOR_BayerBGGR2RGB_EA, cv::COLOR_BayerBGGR2RGB_VNG}};
        const int row = pattern == "RG" ? 0 : pattern == "GR" ? 1 : pattern == "GB" ? 2 : 3;
        return conversions[row][method_];
    }

    enum Method
    {
        Linear,
        Edge,
        Vng
    };

    Method method_ = Linear;
    int conversion_ = 0;
    int gain_ = 1;
};

const dev::camera::CPluginRegistration<Demosaic> registration(
    "Demosaic", "[method=linear|edge|vng]",
    "Makes RGB8 of 8-bit Bayer pictures and RGB16 of longer samples, which are shifted up to fill 16 bits.");

}  // namespace

}  // namespace ops
