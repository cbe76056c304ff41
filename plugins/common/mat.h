// Images as matrices of the vision library, and what can be said of their formats.
#ifndef COMMON_MAT_H
#define COMMON_MAT_H

#include <opencv2/core.hpp>
#include <string>

#include "orvo_proc_cimage/image.h"

namespace ops {

/// What the samples of a pixel format are.
enum class Kind
{
    Grey,
    Bayer,
    Colour,
    Other
};

Kind KindOf(const cimage::TPixelFormat& format);

/// "RG", "GR", "GB" or "BG": the colours of the first two pixels of the first row. For Bayer formats alone.
std::string PatternOf(const cimage::TPixelFormat& format);

/// A header over the pixels of an image, rows × columns, 8 or 16 bits, 1, 3 or 4 channels; nothing is copied, and the
/// image must outlive it. The pixels of a const image are for reading only.
/// Throws std::runtime_error for a format that no matrix can hold.
cv::Mat MatOf(cimage::CImage* image);
cv::Mat MatOf(const cimage::CImage& image);

}  // namespace ops

#endif
