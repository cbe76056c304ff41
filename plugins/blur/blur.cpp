// Blur: a Gaussian filter.
#include <algorithm>
#include <cmath>
#include <opencv2/imgproc.hpp>

#include "common/mat.h"
#include "common/operation.h"

namespace ops {

namespace {

const int max_radius = 255;

class Blur : public COperation
{
    void On_Initialization() override
    {
        const COptions options = Options({"radius", "sigma"});
        if (!options.Has("radius") && !options.Has("sigma"))
            options.Refuse("radius", "radius, sigma or both");
        sigma_ = options.Number("sigma", 0.0, 0.01, max_radius / 3.0);
        radius_ = options.Whole("radius", static_cast<int>(std::ceil(3.0 * sigma_)), 1, max_radius);
        if (!options.Has("sigma"))
            sigma_ = 0.3 * (radius_ - 1) + 0.8;
    }

    boost::shared_ptr<cimage::CImage> Layout(const cimage::CImage& input) override
    {
        const Kind kind = KindOf(input.Format());
        if (kind != Kind::Grey && kind != Kind::Colour)
            RefuseFormat(input, "a grey or colour format (after Demosaic or Gray)");
        return input.New(input.Width(), input.Height());
    }

    void Run(const cv::Mat& input, cv::Mat& output) override
    {
        cv::GaussianBlur(input, output, cv::Size(2 * radius_ + 1, 2 * radius_ + 1), sigma_);
    }

    int radius_ = 0;      ///< pixels
    double sigma_ = 0.0;  ///< pixels
};

const dev::camera::CPluginRegistration<Blur> registration(
    "Blur", "[radius=N] [sigma=S]",
    "Smooths with a Gaussian filter of 2N+1 pixels. Without a radius it is three sigmas, without a sigma that is "
    "0.3 (N - 1) + 0.8.");

}  // namespace

}  // namespace ops
