// Projection and lens models by the names that settings files use.
#ifndef DEV_CAMERA_MODELS_H
#define DEV_CAMERA_MODELS_H

#include <string>
#include <vector>

#include "base/export.h"

namespace dev {

/// How directions are projected to the image plane. The values are fixed: consumers exchange them as numbers.
enum class CameraModel : int
{
    Pinhole = 0,
    Mei = 1,
    KannalaBrandt = 2,
    SphericalX = 3,
    SphericalY = 4,
    CylindricalX = 5,
    CylindricalY = 6,
    RadialPinholeX = 7,
    RadialPinholeY = 8,
    Bev = 9,
    DoubleSphere = 10
};

/// How the lens bends what is projected. The values 1 to 3 have no name in settings files, on purpose.
enum class LensModel : int
{
    BrownConrady = 0,
    Division = 4,
    NoDistortion = 5
};

/// A name of a model as settings files write it.
template <typename Enum>
struct TModelName
{
    const char* text;
    Enum value;
};

/// In table order: the first row whose text matches is read, the first whose value matches is written. "SPHERICAL" and
/// "CYLINDRICAL" therefore mean their X variants, which are written back under the bare name, on purpose.
ORVO_DEV_API extern const std::vector<TModelName<CameraModel>> mapCameraModel_INIStr;
ORVO_DEV_API extern const std::vector<TModelName<LensModel>> mapLensModel_INIStr;

/// Throws std::runtime_error "Unknown StrToEnum: " and the text.
ORVO_DEV_API CameraModel StrToEnum(const std::vector<TModelName<CameraModel>>& table, const std::string& text);
ORVO_DEV_API LensModel StrToEnum(const std::vector<TModelName<LensModel>>& table, const std::string& text);

/// Throws std::runtime_error "EnumToStr: Internal Error" for a value without a row.
ORVO_DEV_API std::string EnumToStr(const std::vector<TModelName<CameraModel>>& table, CameraModel value);
ORVO_DEV_API std::string EnumToStr(const std::vector<TModelName<LensModel>>& table, LensModel value);

}  // namespace dev

#endif
