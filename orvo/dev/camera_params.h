// The flat record of a camera's parameters, for consumers that want numbers and nothing else.
#ifndef DEV_CAMERA_PARAMS_H
#define DEV_CAMERA_PARAMS_H

#include <array>

#include "base/export.h"

namespace cimage {
class CImage;
}

namespace dev {

class CCamera;

template <typename Real, typename Size>
struct TCameraParams
{
    std::array<Real, 2> K{};  ///< focal length x, y in pixels
    std::array<Real, 2> O{};  ///< optical centre x, y in pixels, from the top left pixel of the image
    std::array<Size, 2> S{};  ///< image width, height in pixels
    std::array<Real, 3> T{};  ///< position x, y, z of the sensor, in the length unit of the settings file
    Real Y{};                 ///< yaw of the sensor, radians
    Real P{};                 ///< pitch, radians
    Real R{};                 ///< roll, radians
};

using CameraParams = TCameraParams<double, unsigned int>;

/// Fills the record from a camera. A null pointer stops the process.
ORVO_DEV_API CameraParams& operator<<(CameraParams& params, const CCamera& camera);
ORVO_DEV_API CameraParams& operator<<(CameraParams& params, const CCamera* camera);

/// The parameters of `camera` as they hold for `image`, an image out of its tree that may have been cropped or scaled
/// on the way: K and O follow the image's grid, pixel centres at whole numbers, and S is the image's size.
ORVO_DEV_API CameraParams ParamsOf(const CCamera& camera, const cimage::CImage& image);

}  // namespace dev

#endif
