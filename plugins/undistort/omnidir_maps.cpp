#include "undistort/omnidir_maps.h"

#include <opencv2/ccalib/omnidir.hpp>

namespace {

cv::Matx33d CameraMatrix(const ops::TPinhole& camera)
{
    return cv::Matx33d(camera.focal.x, 0.0, camera.center.x, 0.0, camera.focal.y, camera.center.y, 0.0, 0.0, 1.0);
}

}  // namespace

void orvo_omnidir_maps_1(const ops::TPinhole& given, const double* k, const ops::TPinhole& wanted, const cv::Size& size,
                         cv::Mat* map1, cv::Mat* map2)
{
    const cv::Vec<double, 1> xi(k[0]);
    const cv::Vec4d distortion(k[1], k[2], k[3], k[4]);
    cv::omnidir::initUndistortRectifyMap(CameraMatrix(given), distortion, xi, cv::Matx33d::eye(), CameraMatrix(wanted),
                                         size, CV_16SC2, *map1, *map2, cv::omnidir::RECTIFY_PERSPECTIVE);
}
