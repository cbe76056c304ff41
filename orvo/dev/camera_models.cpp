#include "dev/camera_models.h"

#include <stdexcept>

namespace dev {
namespace {

template <typename Enum>
Enum ToEnum(const std::vector<TModelName<Enum>>& table, const std::string& text)
{
    for (const TModelName<Enum>& row : table)
        if (text == row.text)
            return row.value;
    throw std::runtime_error("Unknown StrToEnum: " + text);
}

template <typename Enum>
std::string ToText(const std::vector<TModelName<Enum>>& table, Enum value)
{
    for (const TModelName<Enum>& row : table)
        if (row.value == value)
            return row.text;
    throw std::runtime_error("EnumToStr: Internal Error");
}

}  // namespace

const std::vector<TModelName<CameraModel>> mapCameraModel_INIStr = {
    {"PINHOLE", CameraModel::Pinhole},
    {"MEI", CameraModel::Mei},
    {"KANNALA_BRANDT", CameraModel::KannalaBrandt},
    {"SPHERICAL", CameraModel::SphericalX},
    {"SPHERICAL:X", CameraModel::SphericalX},
    {"SPHERICAL:Y", CameraModel::SphericalY},
    {"CYLINDRICAL", CameraModel::CylindricalX},
    {"CYLINDRICAL:X", CameraModel::CylindricalX},
    {"CYLINDRICAL:Y", CameraModel::CylindricalY},
    {"RADIALPINHOLE:X", CameraModel::RadialPinholeX},
    {"RADIALPINHOLE:Y", CameraModel::RadialPinholeY},
    {"BEV", CameraModel::Bev},
    {"DOUBLE_SPHERE", CameraModel::DoubleSphere},
};

const std::vector<TModelName<LensModel>> mapLensModel_INIStr = {
    {"BROWN_CONRADY", LensModel::BrownConrady},
    {"DIVISION", LensModel::Division},
    {"NO_DISTORTION", LensModel::NoDistortion},
};

CameraModel StrToEnum(const std::vector<TModelName<CameraModel>>& table, const std::string& text)
{
    return ToEnum(table, text);
}

LensModel StrToEnum(const std::vector<TModelName<LensModel>>& table, const std::string& text)
{
    return ToEnum(table, text);
}

std::string EnumToStr(const std::vector<TModelName<CameraModel>>& table, CameraModel value)
{
    return ToText(table, value);
}

std::string EnumToStr(const std::vector<TModelName<LensModel>>& table, LensModel value)
{
    return ToText(table, value);
}

}  // namespace dev
