#include "undistort/lens.h"

#include <cmath>

#include "base/number_text.h"
#include "dev/camera.h"
#include "dev/lens_rules.h"
#include "orvo_proc_cimage/image.h"

namespace ops {

namespace {

/// A pixel of the sensor in pixels of an image that the camera's tree made of its region.
cv::Point2d FromSensor(const dev::CCamera::Pair& point, const dev::CCamera& camera, const cimage::TGrid& grid)
{
    return cv::Point2d((point.first - camera.RoI().Left() - grid.offset_x) / grid.scale_x,
                       (point.second - camera.RoI().Top() - grid.offset_y) / grid.scale_y);
}

bool IsFinite(const cv::Point2d& point)
{
    return std::isfinite(point.x) && std::isfinite(point.y);
}

std::string Text(const cv::Point2d& point)
{
    return base::StreamText({point.x, point.y});
}

}  // namespace

bool TLens::operator==(const TLens& other) const
{
    return camera == other.camera && lens == other.lens && k == other.k && focal == other.focal &&
           center == other.center && distortion_center == other.distortion_center &&
           has_distortion_center == other.has_distortion_center && size == other.size;
}

void ReadLens(const dev::CCamera& camera, const cimage::CImage& image, TLens* lens)
{
    const dev::CameraParams params = dev::ParamsOf(camera, image);
    const dev::CCamera::Pair& distortion_center = camera.DistortionCenter();
    lens->camera = camera.Projection();
    lens->lens = camera.Lens();
    lens->k = camera.DistortionK();
    lens->focal = cv::Point2d(params.K[0], params.K[1]);
    lens->center = cv::Point2d(params.O[0], params.O[1]);
    lens->has_distortion_center = distortion_center != dev::CCamera::Pair(0.0, 0.0);
    lens->distortion_center =
        lens->has_distortion_center ? FromSensor(distortion_center, camera, image.Grid()) : lens->center;
    lens->size = cv::Size(static_cast<int>(image.Width()), static_cast<int>(image.Height()));
}

std::string CheckForUndistort(const TLens& lens)
{
    if (lens.camera != dev::CameraModel::Pinhole && lens.camera != dev::CameraModel::KannalaBrandt &&
        lens.camera != dev::CameraModel::Mei)
        return "found camera model " + dev::EnumToStr(dev::mapCameraModel_INIStr, lens.camera) +
               ", wanted PINHOLE, KANNALA_BRANDT or MEI";
    const std::string fault = dev::CheckLens(lens.camera, lens.lens, lens.k.size());
    if (!fault.empty())
        return fault;
    if (!IsFinite(lens.focal) || !(lens.focal.x > 0.0 && lens.focal.y > 0.0))
        return "found focal length " + Text(lens.focal) + ", wanted two numbers above 0";
    if (!IsFinite(lens.center) || !IsFinite(lens.distortion_center))
        return "found optical centre " + Text(lens.center) + " and distortion centre " + Text(lens.distortion_center) +
               ", wanted finite numbers";
    for (const double coefficient : lens.k) {
        if (!std::isfinite(coefficient))
            return "found coefficients " + base::StreamText(lens.k) + ", wanted finite numbers";
    }
    return std::string();
}

}  // namespace ops
