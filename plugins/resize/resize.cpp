// Resize: pictures of another size.
#include <algorithm>
#include <cmath>
#include <opencv2/imgproc.hpp>

#include "common/mat.h"
#include "common/operation.h"

namespace ops {

namespace {

const int max_side = 65535;

class Resize : public COperation
{
    void On_Initialization() override
    {
        const COptions options = Options({"scale", "size", "width", "height", "interpolation"});
        const std::string wanted = "one of scale, size, or width and height";
        if (options.Has("scale") + options.Has("size") + (options.Has("width") || options.Has("height")) != 1)
            Refuse(options.Has("scale") || options.Has("size") ? "more than one way to say the size" : "no size",
                   wanted);
        scale_ = options.Number("scale", 0.0, 0.001, 1000.0);
        width_ = options.Whole("width", 0, 1, max_side);
        height_ = options.Whole("height", 0, 1, max_side);
        if (options.Has("size")) {
            const std::vector<int> size = options.Wholes("size", 2, "x", 1, max_side, "WIDTHxHEIGHT in pixels");
            width_ = size[0];
            height_ = size[1];
        }
        interpolation_ = static_cast<Interpolation>(
            options.Choice("interpolation", {"area", "linear", "nearest", "cubic"}, Default));
    }

    boost::shared_ptr<cimage::CImage> Layout(const cimage::CImage& input) override
    {
        const Kind kind = KindOf(input.Format());
        if (kind != Kind::Grey && kind != Kind::Colour)
            RefuseFormat(input, "a grey or colour format (after Demosaic or Gray)");
        const cv::Size size = OutputSize(input);
        if (size.width < 1 || size.width > max_side || size.height < 1 || size.height > max_side)
            Refuse("a result of " + std::to_string(size.width) + "x" + std::to_string(size.height),
                   "1x1 to 65535x65535");
        const auto output = input.New(static_cast<unsigned int>(size.width), static_cast<unsigned int>(size.height));

        // Pixel x of the result is the middle of its share of the input: x_input = (x + 1/2) * step - 1/2.
        const double step_x = static_cast<double>(input.Width()) / size.width;
        const double step_y = static_cast<double>(input.Height()) / size.height;
        cimage::TGrid grid = input.Grid();
        grid.offset_x += grid.scale_x * (0.5 * step_x - 0.5);
        grid.offset_y += grid.scale_y * (0.5 * step_y - 0.5);
        grid.scale_x *= step_x;
        grid.scale_y *= step_y;
        output->SetGrid(grid);

        const bool shrinks = step_x >= 1.0 && step_y >= 1.0;
        const int methods[] = {cv::INTER_AREA, cv::INTER_LINEAR, cv::INTER_NEAREST_EXACT, cv::INTER_CUBIC,
                               shrinks ? cv::INTER_AREA : cv::INTER_LINEAR};
        method_ = methods[interpolation_];
        return output;
    }

    cv::Size OutputSize(const cimage::CImage& input) const
    {
        const double width = input.Width();
        const double height = input.Height();
        if (scale_ > 0.0)
            return cv::Size(Round(width * scale_), Round(height * scale_));
        if (height_ == 0)
            return cv::Size(width_, std::max(1, Round(height * width_ / width)));
        if (width_ == 0)
            return cv::Size(std::max(1, Round(width * height_ / height)), height_);
        return cv::Size(width_, height_);
    }

    static int Round(double value) { return static_cast<int>(std::lround(value)); }

    void Run(const cv::Mat& input, cv::Mat& output) override
    {
        cv::resize(input, output, output.size(), 0.0, 0.0, method_);
    }

    enum Interpolation
    {
        Area,
        Linear,
        Nearest,
        Cubic,
        Default
    };

    double scale_ = 0.0;  ///< 0 when the size is given in pixels
    int width_ = 0;       ///< pixels; 0 when it follows from the other by the picture's shape
    int height_ = 0;
    Interpolation interpolation_ = Default;
    int method_ = 0;
};

const dev::camera::CPluginRegistration<Resize> registration(
    "Resize", "scale=S | size=WxH | width=W | height=H [interpolation=area|linear|nearest|cubic]",
    "Scales pictures by a factor or to a size in pixels; one side alone keeps their shape. Without an interpolation, "
    "area where they shrink and linear where they grow.");

}  // namespace

}  // namespace ops
