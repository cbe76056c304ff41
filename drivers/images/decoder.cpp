#include "images/decoder.h"

#include <algorithm>
#include <climits>
#include <opencv2/core.hpp>
#include <opencv2/imgcodecs.hpp>
#include <utility>

namespace images {

namespace {

/// A JPEG file that ends before its end marker decodes "well", with the missing rows made up.
bool IsCutJpeg(const unsigned char* bytes, std::size_t size)
{
    const unsigned char begin[] = {0xFF, 0xD8};
    const unsigned char end[] = {0xFF, 0xD9};
    if (size < 2 || !std::equal(begin, begin + 2, bytes))
        return false;
    return std::find_end(bytes, bytes + size, end, end + 2) == bytes + size;
}

/// Lends the memory that `pixels` names to a picture of its shape, so that it is decoded to where it is wanted. (Given
/// a matrix over that memory instead, imdecode would not tell a picture from bytes that are none: it leaves both
/// alone.)
class CLender : public cv::MatAllocator
{
public:
    explicit CLender(const TPixels& pixels) : pixels_(pixels) {}

    cv::UMatData* allocate(int dims, const int* sizes, int type, void*, size_t* step, cv::AccessFlag access,
                           cv::UMatUsageFlags usage) const override
    {
        const bool fits = dims == 2 && sizes[0] == static_cast<int>(pixels_.height) &&
                          sizes[1] == static_cast<int>(pixels_.width) &&
                          type == CV_MAKETYPE(pixels_.bits == 8 ? CV_8U : CV_16U, static_cast<int>(pixels_.channels));
        if (fits) {
            step[1] = static_cast<std::size_t>(CV_ELEM_SIZE(type));
            step[0] = step[1] * pixels_.width;
        }
        // The library's own allocator keeps the books, and knows memory that it does not own.
        return cv::Mat::getStdAllocator()->allocate(dims, sizes, type, fits ? pixels_.data : nullptr, step, access,
                                                    usage);
    }
    bool allocate(cv::UMatData*, cv::AccessFlag, cv::UMatUsageFlags) const override { return false; }
    void deallocate(cv::UMatData*) const override {}

private:
    const TPixels& pixels_;
};

template <typename Pixel>
void SwapRedAndBlue(cv::Mat* picture)
{
    for (int y = 0; y < picture->rows; ++y) {
        Pixel* const row = picture->ptr<Pixel>(y);
        for (int x = 0; x < picture->cols; ++x)
            std::swap(row[x][0], row[x][2]);
    }
}

TDecoded Decode(const unsigned char* bytes, std::size_t size, TPixels* pixels)
{
    if (size == 0 || size > INT_MAX || IsCutJpeg(bytes, size))
        return no_picture;
    const cv::Mat file(1, static_cast<int>(size), CV_8UC1, const_cast<unsigned char*>(bytes));
    const CLender lender(*pixels);
    cv::Mat picture;
    picture.allocator = const_cast<CLender*>(&lender);
    if (cv::imdecode(file, cv::IMREAD_UNCHANGED, &picture).empty())
        return no_picture;
    if (picture.data != pixels->data) {
        pixels->width = static_cast<unsigned int>(picture.cols);
        pixels->height = static_cast<unsigned int>(picture.rows);
        pixels->channels = static_cast<unsigned int>(picture.channels());
        pixels->bits = static_cast<unsigned int>(8 * picture.elemSize1());
        return other_shape;
    }
    if (pixels->channels == 3 && pixels->red_first)
        pixels->bits == 8 ? SwapRedAndBlue<cv::Vec3b>(&picture) : SwapRedAndBlue<cv::Vec3w>(&picture);
    return decoded;
}

}  // namespace

}  // namespace images

images::TDecoded orvo_decode_picture_1(const unsigned char* bytes, std::size_t size, images::TPixels* pixels)
{
    try {
        return images::Decode(bytes, size, pixels);
    } catch (...) {
        return images::no_picture;
    }
}
