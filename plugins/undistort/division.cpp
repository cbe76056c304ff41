#include "undistort/division.h"

#include <algorithm>
#include <cmath>
#include <cstddef>

namespace ops {

namespace {

const int sample_count = 4096;  // between them straight lines: right to a thousandth of a pixel, but for the very fold
const float outside = -10000.0F;  // still a 16-bit coordinate, and outside of every picture

}  // namespace

CDivision::CDivision(const std::vector<double>& k, double limit) : k_(k), step_(limit / sample_count)
{
    undistorted_.reserve(sample_count + 1);
    undistorted_.push_back(0.0);
    for (int i = 1; i <= sample_count; ++i) {
        // Beyond a pole or a fold the model tells nothing of a lens.
        const double divisor = Divisor(i * step_);
        if (!(divisor > 0.0) || !(i * step_ / divisor > undistorted_.back()))
            break;
        undistorted_.push_back(i * step_ / divisor);
    }
}

double CDivision::Distort(double undistorted) const
{
    const auto above = std::upper_bound(undistorted_.begin(), undistorted_.end(), undistorted);
    if (above == undistorted_.end())
        return -1.0;
    const double part = (undistorted - *(above - 1)) / (*above - *(above - 1));
    return (static_cast<double>(above - undistorted_.begin() - 1) + part) * step_;
}

double CDivision::Divisor(double distorted) const
{
    const double square = distorted * distorted;
    double divisor = 0.0;
    for (std::size_t i = k_.size(); i-- > 0;)
        divisor = (divisor + k_[i]) * square;
    return 1.0 + divisor;
}

void MapDivision(const TLens& lens, const cv::Point2d& focal, const cv::Point2d& center, cv::Mat* map)
{
    // In units of the focal length, from the optical axis.
    const cv::Point2d offset((lens.distortion_center.x - lens.center.x) / lens.focal.x,
                             (lens.distortion_center.y - lens.center.y) / lens.focal.y);
    // The corner farthest from the centre of distortion, with the pixel beyond the border that interpolation touches.
    const double reach_x = std::max(lens.distortion_center.x + 1.0, lens.size.width - lens.distortion_center.x);
    const double reach_y = std::max(lens.distortion_center.y + 1.0, lens.size.height - lens.distortion_center.y);
    const CDivision division(lens.k, std::hypot(reach_x / lens.focal.x, reach_y / lens.focal.y));

    map->create(lens.size, CV_32FC2);
    for (int y = 0; y < lens.size.height; ++y) {
        cv::Vec2f* const row = map->ptr<cv::Vec2f>(y);
        const double undistorted_y = (y - center.y) / focal.y - offset.y;
        for (int x = 0; x < lens.size.width; ++x) {
            const double undistorted_x = (x - center.x) / focal.x - offset.x;
            const double undistorted = std::hypot(undistorted_x, undistorted_y);
            const double distorted = division.Distort(undistorted);
            if (distorted < 0.0) {
                row[x] = cv::Vec2f(outside, outside);
                continue;
            }
            const double ratio = undistorted > 0.0 ? distorted / undistorted : 1.0;
            row[x] = cv::Vec2f(static_cast<float>(lens.distortion_center.x + undistorted_x * ratio * lens.focal.x),
                               static_cast<float>(lens.distortion_center.y + undistorted_y * ratio * lens.focal.y));
        }
    }
}

}  // namespace ops
