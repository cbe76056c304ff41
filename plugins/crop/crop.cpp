// Crop: a rectangle out of each picture.
#include "common/mat.h"
#include "common/operation.h"

namespace ops {

namespace {

class Crop : public COperation
{
    void On_Initialization() override
    {
        const std::string wanted = "LEFT,TOP,WIDTH,HEIGHT in pixels";
        const COptions options = Options({"rect"});
        if (!options.Has("rect"))
            options.Refuse("rect", wanted);
        const std::vector<int> rect = options.Wholes("rect", 4, ",", 0, 65535, wanted);
        rect_ = cv::Rect(rect[0], rect[1], rect[2], rect[3]);
        if (rect_.empty())
            options.Refuse("rect", "a width and a height of 1 or more");
    }

    boost::shared_ptr<cimage::CImage> Layout(const cimage::CImage& input) override
    {
        const Kind kind = KindOf(input.Format());
        if (kind == Kind::Other)
            RefuseFormat(input, "a Mono, Bayer, RGB or BGR format");
        if (rect_.br().x > static_cast<int>(input.Width()) || rect_.br().y > static_cast<int>(input.Height()))
            Refuse("rect=" + options_["rect"], "a rectangle within " + input.Descriptor());

        const cimage::TPixelFormat& format = kind == Kind::Bayer ? ShiftedPattern(input.Format()) : input.Format();
        const auto output =
            cimage::Build(format, static_cast<unsigned int>(rect_.width), static_cast<unsigned int>(rect_.height));
        cimage::TGrid grid = input.Grid();
        grid.offset_x += grid.scale_x * rect_.x;
        grid.offset_y += grid.scale_y * rect_.y;
        output->SetGrid(grid);
        return output;
    }

    /// A mosaic that begins at an odd column or row begins with other colours.
    const cimage::TPixelFormat& ShiftedPattern(const cimage::TPixelFormat& format) const
    {
        // Columns swap with bit 0 of the place in this list, rows with bit 1.
        static const std::string patterns[] = {"RG", "GR", "GB", "BG"};
        std::size_t place = 0;
        while (patterns[place] != PatternOf(format))
            ++place;
        place ^= static_cast<std::size_t>((rect_.x & 1) | (rect_.y & 1) << 1);
        return cimage::PixelFormat("Bayer" + patterns[place] + std::to_string(format.bits_per_sample));
    }

    void Run(const cv::Mat& input, cv::Mat& output) override { input(rect_).copyTo(output); }

    cv::Rect rect_;
};

const dev::camera::CPluginRegistration<Crop> registration("Crop", "rect=LEFT,TOP,WIDTH,HEIGHT",
                                                          "Cuts a rectangle out of each picture, in pixels.");

}  // namespace

}  // namespace ops
