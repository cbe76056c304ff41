// Which lens coefficients a camera model wants: one table for whoever checks a settings file and whoever undistorts.
#ifndef DEV_LENS_RULES_H
#define DEV_LENS_RULES_H

#include <cstddef>
#include <string>

#include "base/export.h"
#include "dev/camera_models.h"

namespace dev {

/// Whether a camera with that many numbers under "DISTORTION K" makes sense. Returns an empty text when it does, and
/// otherwise "found …, wanted …".
///
///   camera model     lens model       "DISTORTION K"
///   PINHOLE          BROWN_CONRADY    4, 5, 8, 12 or 14: k1 k2 p1 p2 [k3 [k4 k5 k6 [s1 s2 s3 s4 [tau_x tau_y]]]]
///   PINHOLE          DIVISION         1 or more: of the square, the fourth power, … of the radius
///   PINHOLE          NO_DISTORTION    any count, not used
///   KANNALA_BRANDT   any but DIVISION 4: k1 k2 k3 k4
///   MEI              any but DIVISION 5: xi k1 k2 p1 p2
///
/// All coefficients belong to coordinates divided by the focal length, so that they hold at every resolution. The
/// formulae of the other camera models live in their consumers, so any lens model and any count passes for them.
ORVO_DEV_API std::string CheckLens(CameraModel camera, LensModel lens, std::size_t coefficients);

}  // namespace dev

#endif
