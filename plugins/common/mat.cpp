#include "common/mat.h"

#include <stdexcept>

namespace ops {

Kind KindOf(const cimage::TPixelFormat& format)
{
    const std::string name = format.name;
    const unsigned int stored_bits = format.bits_per_pixel / format.channels;
    if (stored_bits != 8 && stored_bits != 16)
        return Kind::Other;
    if (name.compare(0, 4, "Mono") == 0)
        return Kind::Grey;
    if (name.compare(0, 5, "Bayer") == 0)
        return Kind::Bayer;
    return name.compare(0, 3, "RGB") == 0 || name.compare(0, 3, "BGR") == 0 ? Kind::Colour : Kind::Other;
}

std::string PatternOf(const cimage::TPixelFormat& format)
{
    return std::string(format.name).substr(5, 2);
}

cv::Mat MatOf(cimage::CImage* image)
{
    const cimage::TPixelFormat& format = image->Format();
    if (KindOf(format) == Kind::Other)
        throw std::runtime_error("found " + image->Descriptor() + ", wanted a Mono, Bayer, RGB or BGR format");
    const int depth = format.bits_per_pixel / format.channels == 8 ? CV_8U : CV_16U;
    return cv::Mat(static_cast<int>(image->Height()), static_cast<int>(image->Width()),
                   CV_MAKETYPE(depth, static_cast<int>(format.channels)), image->Data(), image->Stride());
}

cv::Mat MatOf(const cimage::CImage& image)
{
    return MatOf(const_cast<cimage::CImage*>(&image));
}

}  // namespace ops
