// Undistortion maps of the omnidirectional model of Mei; a shared object of its own, because the library behind it
// takes thirty times as long to load as the rest of Undistort. The plugin loads it for the first camera of that model.
#ifndef UNDISTORT_OMNIDIR_MAPS_H
#define UNDISTORT_OMNIDIR_MAPS_H

#include <boost/config.hpp>
#include <opencv2/core.hpp>

namespace ops {

/// Two points in pixels of a pinhole camera.
struct TPinhole
{
    cv::Point2d focal;
    cv::Point2d center;
};

}  // namespace ops

/// Fills `map1` and `map2`, fixed-point maps for cv::remap of that size, that make pictures of a pinhole camera
/// `wanted` out of pictures of a camera with the generalised focal length and the optical centre `given` and the
/// coefficients `k`: xi, k1, k2, p1, p2. Throws cv::Exception. The name carries the version of this header.
extern "C" BOOST_SYMBOL_EXPORT void orvo_omnidir_maps_1(const ops::TPinhole& given, const double* k,
                                                        const ops::TPinhole& wanted, const cv::Size& size,
                                                        cv::Mat* map1, cv::Mat* map2);

#endif
