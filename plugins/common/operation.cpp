#include "common/operation.h"

#include <boost/pointer_cast.hpp>
#include <stdexcept>

#include "common/mat.h"

namespace ops {

namespace {

const std::string default_output;

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
    images_.erase(default_output);
    const boost::shared_ptr<cimage::CImage> output = Layout(*source_);
    hands_on_ = output == nullptr;
    images_[default_output] = hands_on_ ? source_ : output;
}

void COperation::On_Execute(const ImagePtr& image)
{
    if (!source_->IsLike(*image))
        SetSource(image);
    if (IsOutdated(*image) || images_.count(default_output) == 0)
        LayOut();

    if (hands_on_) {
        PassOn(image);
    } else {
        // The base class renewed the output for this frame, or LayOut() made it: nobody else has it yet.
        const auto output = boost::const_pointer_cast<cimage::CImage>(images_[default_output]);
        cv::Mat pixels = MatOf(output.get());
        Run(MatOf(*image), pixels);
        if (pixels.data != output->Data())
            throw std::logic_error(operation_ + ": the result went astray");
    }
    DrawImageOnDefaultWindow();
}

}  // namespace ops
