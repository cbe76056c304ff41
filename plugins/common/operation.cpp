#include "common/operation.h"

#include <boost/pointer_cast.hpp>
#include <stdexcept>

#include "common/mat.h"

namespace ops {

namespace {

const std::string kDefaultOutput;

bool HaveSameGeometry(const cimage::CImage& a, const cimage::CImage& b)
{
    return &a.Format() == &b.Format() && a.Width() == b.Width() && a.Height() == b.Height() &&
           a.Grid().scale_x == b.Grid().scale_x && a.Grid().scale_y == b.Grid().scale_y &&
           a.Grid().offset_x == b.Grid().offset_x && a.Grid().offset_y == b.Grid().offset_y &&
           a.Grid().rectified == b.Grid().rectified;
}

}  // namespace

bool COperation::IsOutdated(const cimage::CImage&)
{
    return false;
}

void COperation::Refuse(const std::string& found, const std::string& wanted) const
{
    throw std::runtime_error(operation_ + ": found " + found + ", wanted " + wanted);
}

void COperation::RefuseFormat(const cimage::CImage& input, const std::string& wanted) const
{
    Refuse(input.Format().name, wanted);
}

void COperation::On_Source_Changed()
{
    LayOut();
    ResizeDefaultWnd();
}

void COperation::On_Output_Change()
{
    images_.clear();
    LayOut();
}

void COperation::LayOut()
{
    // Without an output until Layout() has succeeded: a refused geometry is refused again with the next frame.
    images_.erase(kDefaultOutput);
    const boost::shared_ptr<cimage::CImage> output = Layout(*source_);
    hands_on_ = output == nullptr;
    images_[kDefaultOutput] = hands_on_ ? source_ : output;
}

void COperation::On_Execute(const ImagePtr& image)
{
    if (!HaveSameGeometry(*source_, *image))
        SetSource(image);
    if (IsOutdated(*image) || images_.count(kDefaultOutput) == 0)
        LayOut();

    if (hands_on_) {
        images_[kDefaultOutput] = image;
    } else {
        // The base class renewed the output for this frame, or LayOut() made it: nobody else has it yet.
        const auto output = boost::const_pointer_cast<cimage::CImage>(images_[kDefaultOutput]);
        cv::Mat pixels = MatOf(output.get());
        Run(MatOf(*image), pixels);
        if (pixels.data != output->Data())
            throw std::logic_error(operation_ + ": the result went astray");
    }
    DrawImageOnDefaultWindow();
}

}  // namespace ops
