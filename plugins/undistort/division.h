// The division model of radial distortion.
#ifndef UNDISTORT_DIVISION_H
#define UNDISTORT_DIVISION_H

#include <opencv2/core.hpp>
#include <vector>

#include "undistort/lens.h"

namespace ops {

/// The model of A. W. Fitzgibbon, "Simultaneous linear estimation of multiple view geometry and lens distortion", CVPR
/// 2001, equation 4, carried on to further powers: a point seen at the distance r from the centre of distortion belongs
/// to the distance r / (1 + k1 r^2 + k2 r^4 + …) from it. Distances in units of the focal length.
class CDivision
{
public:
    /// Made for distances seen up to `limit`, or up to where the model folds over.
    CDivision(const std::vector<double>& k, double limit);

    /// The distance at which a point of the undistorted distance `undistorted` is seen; negative when that is farther
    /// out than the limit.
    double Distort(double undistorted) const;

private:
    double Divisor(double distorted) const;

    const std::vector<double> k_;
    const double step_;
    std::vector<double> undistorted_;  ///< of the seen distances 0, step, 2 step, …; rising
};

/// Where each pixel of the undistorted picture is found in the distorted one: `map` gets lens.size CV_32FC2 points, far
/// outside where there is nothing. `focal` and `center` are those of the undistorted picture.
void MapDivision(const TLens& lens, const cv::Point2d& focal, const cv::Point2d& center, cv::Mat* map);

}  // namespace ops

#endif
