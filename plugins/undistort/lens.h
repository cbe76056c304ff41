// What there is to know of a lens before its distortion can be taken out of a picture.
#ifndef UNDISTORT_LENS_H
#define UNDISTORT_LENS_H

#include <opencv2/core.hpp>
#include <string>
#include <vector>

#include "dev/camera_models.h"

namespace cimage {
class CImage;
}
namespace dev {
class CCamera;
}

namespace ops {

/// A camera's projection as it holds for one picture out of its tree. Lengths in pixels of that picture, points from
/// the centre of its top left pixel.
struct TLens
{
    dev::CameraModel camera = dev::CameraModel::Pinhole;
    dev::LensModel lens = dev::LensModel::NoDistortion;
    std::vector<double> k;          ///< "DISTORTION K"; belongs to coordinates divided by the focal length
    cv::Point2d focal;              ///< x, y
    cv::Point2d center;             ///< optical centre
    cv::Point2d distortion_center;  ///< of the division model; the optical centre where the camera names no other
    bool has_distortion_center = false;
    cv::Size size;  ///< of the picture

    bool operator==(const TLens& other) const;

    /// True for a picture that has no distortion to take out.
    bool IsIdeal() const { return camera == dev::CameraModel::Pinhole && lens == dev::LensModel::NoDistortion; }
};

/// Fills `lens`; allocates nothing when it held as many coefficients before.
/// "DISTORTION CENTER" is in pixels of the whole sensor, and (0, 0) stands for none. "DISTORTION K RATIO" is not used.
void ReadLens(const dev::CCamera& camera, const cimage::CImage& image, TLens* lens);

/// An empty text, or "found …, wanted …" for a lens that Undistort cannot work with.
std::string CheckForUndistort(const TLens& lens);

}  // namespace ops

#endif
