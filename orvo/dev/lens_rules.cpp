#include "dev/lens_rules.h"

namespace dev {

namespace {

std::string Found(std::size_t coefficients)
{
    return "found " + std::to_string(coefficients) + (coefficients == 1 ? " coefficient" : " coefficients");
}

std::string CheckPinhole(LensModel lens, std::size_t coefficients)
{
    switch (lens) {
        case LensModel::BrownConrady:
            if (coefficients == 4 || coefficients == 5 || coefficients == 8 || coefficients == 12 || coefficients == 14)
                return std::string();
            return Found(coefficients) + ", wanted 4, 5, 8, 12 or 14 for BROWN_CONRADY (k1, k2, p1, p2, k3, ...)";
        case LensModel::Division:
            return coefficients >= 1 ? std::string() : Found(coefficients) + ", wanted 1 or more for DIVISION";
        case LensModel::NoDistortion:
            break;
    }
    return std::string();
}

/// A camera model with a distortion of its own: the lens model says nothing more, unless it contradicts.
std::string CheckOwn(const std::string& model, const std::string& names, std::size_t wanted, LensModel lens,
                     std::size_t coefficients)
{
    if (lens == LensModel::Division)
        return "found lens model DIVISION, wanted none: the camera model " + model + " has a distortion of its own";
    if (coefficients != wanted)
        return Found(coefficients) + ", wanted " + std::to_string(wanted) + " for " + model + " (" + names + ")";
    return std::string();
}

}  // namespace

std::string CheckLens(CameraModel camera, LensModel lens, std::size_t coefficients)
{
    switch (camera) {
        case CameraModel::Pinhole:
            return CheckPinhole(lens, coefficients);
        case CameraModel::KannalaBrandt:
            return CheckOwn("KANNALA_BRANDT", "k1, k2, k3, k4", 4, lens, coefficients);
        case CameraModel::Mei:
            return CheckOwn("MEI", "xi, k1, k2, p1, p2", 5, lens, coefficients);
        default:
            return std::string();
    }
}

}  // namespace dev
