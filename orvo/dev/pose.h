// Where a sensor is: a point and a rotation, with one text form for settings files and panels.
//
// The text form is three numbers, written as "x, y, z" with six significant digits each, on purpose: a pose that goes
// through a settings file is rounded. They are read at any mix of blanks, tabs and commas; what follows the third is
// not looked at. Both directions are the same under every locale.
#ifndef DEV_POSE_H
#define DEV_POSE_H

#include <string>

#include "base/export.h"

namespace dev {

/// A point, in the length unit of the settings file. A plain value: nothing is converted or checked.
/// Instantiated for double.
template <typename T>
struct ORVO_DEV_API TPosition
{
    T x;
    T y;
    T z;

    /// Leaves the coordinates unset.
    TPosition() = default;
    TPosition(T x_value, T y_value, T z_value) : x(x_value), y(y_value), z(z_value) {}

    /// Reads the text form. Throws std::runtime_error "[EE] TOrientation - Bad orientation: TEXT" (sic, for positions
    /// too, on purpose) for a token that is no number. A text that ends before its third token stops the process: check
    /// what comes from outside before it gets here.
    explicit TPosition(const std::string& text);

    std::string string() const;
};

/// A rotation as three angles in radians, neither normalised nor checked. Instantiated for double.
template <typename T>
struct ORVO_DEV_API TOrientation
{
    T yaw;
    T pitch;
    T roll;

    /// Leaves the angles unset.
    TOrientation() = default;
    TOrientation(T yaw_value, T pitch_value, T roll_value) : yaw(yaw_value), pitch(pitch_value), roll(roll_value) {}

    /// Reads the text form, as TPosition does.
    explicit TOrientation(const std::string& text);

    std::string string() const;
};

extern template struct TPosition<double>;
extern template struct TOrientation<double>;

}  // namespace dev

#endif
