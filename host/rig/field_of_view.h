// How much of the world a camera sees.
#ifndef HOST_RIG_FIELD_OF_VIEW_H
#define HOST_RIG_FIELD_OF_VIEW_H

#include <optional>
#include <string>

namespace dev {
class CCamera;
}

namespace host {

struct TFieldOfView
{
    double
        horizontal_deg;   ///< along the row through the optical centre, from the left border of the region to the right
    double vertical_deg;  ///< along the column through it
    std::string formula;  ///< for people
};

/// Of a loaded camera, border to border of its region (pixel centres at whole numbers, so the borders lie half a pixel
/// outside). None when the camera is not calibrated or its model's formula is not known here:
///   PINHOLE         an angle to a border at distance r is atan(r / f); the lens distortion is left out
///   KANNALA_BRANDT  the first angle t with t (1 + k1 t^2 + k2 t^4 + k3 t^6 + k4 t^8) = r / f
std::optional<TFieldOfView> FieldOfView(const dev::CCamera& camera);

}  // namespace host

#endif
