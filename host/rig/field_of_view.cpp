#include "rig/field_of_view.h"

#include <cmath>
#include <functional>
#include <vector>

#include "dev/camera.h"

namespace host {

namespace {

constexpr double pi = 3.141592653589793;

using AngleOf = std::function<std::optional<double>(double)>;  ///< of a distance in focal lengths, not below 0

/// The angle at which the Kannala-Brandt polynomial first reaches `distance`, or none below 180 degrees.
std::optional<double> KannalaBrandtAngle(const std::vector<double>& k, double distance)
{
    const auto radius = [&](double t) {
        const double t2 = t * t;
        return t * (1.0 + t2 * (k[0] + t2 * (k[1] + t2 * (k[2] + t2 * k[3]))));
    };
    constexpr int steps = 1000;
    double low = 0.0;
    for (int step = 1; step <= steps; ++step) {
        double high = pi * step / steps;
        if (radius(high) < distance) {
            low = high;
            continue;
        }
        for (int halving = 0; halving < 60; ++halving) {
            const double middle = 0.5 * (low + high);
            (radius(middle) < distance ? low : high) = middle;
        }
        return 0.5 * (low + high);
    }
    return std::nullopt;
}

/// Degrees between the two borders of one axis; none when one of them is out of the model's reach.
std::optional<double> Between(const AngleOf& angle, double focal_length, double center, unsigned int size)
{
    const auto border = [&](double distance) -> std::optional<double> {
        const auto value = angle(std::abs(distance) / focal_length);
        return value ? std::optional<double>(std::copysign(*value, distance)) : std::nullopt;
    };
    const auto near = border(center + 0.5);
    const auto far = border(static_cast<double>(size) - 0.5 - center);
    if (!near || !far)
        return std::nullopt;
    return (*near + *far) * 180.0 / pi;
}

}  // namespace

std::optional<TFieldOfView> FieldOfView(const dev::CCamera& camera)
{
    const auto [fx, fy] = camera.FocalLength();
    const auto [cx, cy] = camera.OpticalCenter();
    const bool calibrated = std::isfinite(fx) && std::isfinite(fy) && fx > 0.0 && fy > 0.0;
    if (!calibrated || !std::isfinite(cx) || !std::isfinite(cy))
        return std::nullopt;

    AngleOf angle;
    std::string formula;
    if (camera.Projection() == dev::CameraModel::Pinhole) {
        angle = [](double distance) { return std::optional<double>(std::atan(distance)); };
        formula = "pinhole, atan(r / f) to each border, lens distortion left out";
    } else if (camera.Projection() == dev::CameraModel::KannalaBrandt && camera.DistortionK().size() == 4) {
        angle = [&](double distance) { return KannalaBrandtAngle(camera.DistortionK(), distance); };
        formula = "Kannala-Brandt, the polynomial solved for each border";
    } else {
        return std::nullopt;
    }
    const auto horizontal = Between(angle, fx, cx, camera.RoI().Width());
    const auto vertical = Between(angle, fy, cy, camera.RoI().Height());
    if (!horizontal || !vertical)
        return std::nullopt;
    return TFieldOfView{*horizontal, *vertical, formula};
}

}  // namespace host
