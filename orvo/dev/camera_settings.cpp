// Load and save of a camera's section of the settings file.
#include <boost/current_function.hpp>
#include <cmath>
#include <stdexcept>

#include "base/log.h"
#include "base/number_text.h"
#include "dev/camera.h"
#include "orvo_proc_cimage/image.h"

namespace dev {
namespace {

using Angles = TOrientation<double>;

/// Sines and cosines of the three angles.
struct TTrig
{
    explicit TTrig(const Angles& o)
        : cy(std::cos(o.yaw)),
          sy(std::sin(o.yaw)),
          cp(std::cos(o.pitch)),
          sp(std::sin(o.pitch)),
          cr(std::cos(o.roll)),
          sr(std::sin(o.roll))
    {
    }
    double cy, sy, cp, sp, cr, sr;
};

// With Rx, Ry, Rz the rotations about the axes, format 1.0 means Rx(roll) Rz(-yaw) Ry(pitch) and format 1.1 means
// Rz(yaw) Ry(pitch) Rx(roll). Each function reads its angles off the elements of the other's matrix.

Angles From10To11(const Angles& orientation)
{
    const TTrig t(orientation);
    const double r21 = t.sr * t.cy;
    const double r22 = t.cr * t.cp - t.sr * t.sy * t.sp;
    return Angles(std::atan2(t.sr * t.sp - t.cr * t.cp * t.sy, t.cy * t.cp),
                  std::atan2(t.cr * t.sp + t.sr * t.sy * t.cp, std::sqrt(r21 * r21 + r22 * r22)), std::atan2(r21, r22));
}

Angles From11To10(const Angles& orientation)
{
    const TTrig t(orientation);
    const double r00 = t.cy * t.cp;
    const double r02 = t.cy * t.sp * t.cr + t.sr * t.sy;
    return Angles(std::atan2(t.cy * t.sp * t.sr - t.sy * t.cr, std::sqrt(r02 * r02 + r00 * r00)), std::atan2(r02, r00),
                  std::atan2(t.cp * t.sr, t.sr * t.sy * t.sp + t.cy * t.cr));
}

std::string Text(const Angles& o)
{
    return "(yaw=" + base::StreamText(o.yaw) + ", pitch=" + base::StreamText(o.pitch) +
           ", roll=" + base::StreamText(o.roll) + ")";
}

/// What the device demands of the old region holds for the new one.
void GiveIncrements(const camera::CRoI& from, camera::CRoI* to)
{
    try {
        to->SetIncrements(from.PositionIncrementH(), from.PositionIncrementV(), from.SizeIncrementH(),
                          from.SizeIncrementV());
    } catch (const std::runtime_error&) {
        // A full frame that breaks them keeps them, and is not the region yet: the next resize is checked.
    }
}

/// The largest multiple of `increment` that is not above `value`.
unsigned int Down(unsigned int value, unsigned int increment)
{
    return increment == 0 ? 0 : value / increment * increment;
}

/// Measured values stay: a key that the file holds keeps its text.
void SetIfMissing(kt::ini::INIFile& ini, const std::string& key, const std::string& value)
{
    std::string present;
    if (!ini.efind(key, present))
        ini.Set(key, value);
}

}  // namespace

void CCamera::LoadParams(const kt::ini::INIFile& ini, hws::Version version)
{
    CSensor::LoadParams(ini, version);
    LoadRegion(ini);
    LoadProjection(ini);
    LoadFocalLength(ini, version);

    RemakeImages();
    On_RoIChanged(roi_);

    // Last, so that the region change above still tells of the orientation as the file has it.
    if (version == hws::Version::V1_0) {
        const Angles old = Orientation();
        SetOrientation(From10To11(old));
        base::Log(
            base::Severity::Information, BOOST_CURRENT_FUNCTION,
            "HWS version 1.0 detected. Converting orientation to 1.1 format " + Text(old) + "->" + Text(Orientation()));
    }
}

void CCamera::LoadRegion(const kt::ini::INIFile& ini)
{
    const std::string format = ini.Value<std::string>("FB");
    const boost::shared_ptr<const cimage::CImage> prototype = cimage::Build(format);
    camera::CRoI roi(prototype->Width(), prototype->Height());
    GiveIncrements(roi_, &roi);
    const std::string whole = std::to_string(prototype->Width()) + ", " + std::to_string(prototype->Height());
    try {
        roi.Resize(ini.Value<std::string>("ROI", whole));
    } catch (const std::exception& error) {
        base::Log(base::Severity::Warning, BOOST_CURRENT_FUNCTION, error.what());
        // The full frame, but for what the increments forbid.
        const unsigned int right = Down(prototype->Width(), roi.SizeIncrementH()) - 1;
        const unsigned int bottom = Down(prototype->Height(), roi.SizeIncrementV()) - 1;
        roi.Resize("0, 0, " + std::to_string(right) + ", " + std::to_string(bottom));
    }
    image_format_ = format;
    prototype_ = prototype;
    roi_ = roi;
}

void CCamera::LoadProjection(const kt::ini::INIFile& ini)
{
    std::string text;
    if (ini.Get<std::string>("CAMERA MODEL", &text))
        projection_ = StrToEnum(mapCameraModel_INIStr, text);
    if (ini.Get<std::string>("DISTORTION MODEL", &text))
        lens_ = StrToEnum(mapLensModel_INIStr, text);
    if (ini.Get<std::string>("DISTORTION CENTER", &text))
        distortion_center_ = ParsePair(text);
    if (ini.Get<std::string>("DISTORTION K", &text))
        distortion_k_ = base::ParseNumbers(text);
    if (ini.Get<std::string>("DISTORTION K RATIO", &text))
        distortion_k_ratio_ = base::ParseNumbers(text);
    optical_center_ = ini.Get<std::string>("OPTICAL CENTER", &text) ? ParsePair(text) : Pair(0.0, 0.0);
    // Both are the file's value, on purpose, whatever the offset of the region.
    full_optical_center_ = optical_center_;
}

void CCamera::LoadFocalLength(const kt::ini::INIFile& ini, hws::Version version)
{
    if (version == hws::Version::V1_0) {
        // Angles between the optical axis and the rays through pixel coordinate 0. A missing field of view makes the
        // focal length infinite, or not a number without an optical centre: kept as computed, on purpose.
        const Pair fov = ParsePair(ini.Value<std::string>("ANGULAR FOV", "0.0, 0.0"));
        focal_length_ =
            Pair(optical_center_.first / std::tan(fov.first), optical_center_.second / std::tan(fov.second));
    } else if (version == hws::Version::V1_1) {
        focal_length_ = ParsePair(ini.Value<std::string>("PIXEL FOCAL LENGTH", "0.0, 0.0"));
    }
}

void CCamera::SaveParams(kt::ini::INIFile& ini, hws::Version version)
{
    if (!prototype_)
        throw std::logic_error("CCamera::SaveParams: found no image format, wanted LoadParams first");
    CSensor::SaveParams(ini);
    ini.Set("FB", image_format_);
    SetIfMissing(ini, "FOCAL LENGTH", "");
    ini.Set("CAMERA MODEL", EnumToStr(mapCameraModel_INIStr, projection_));
    SetIfMissing(ini, "OPTICAL CENTER", to_string(optical_center_.first, optical_center_.second));
    SetIfMissing(ini, "PIXEL ASPECT RATIO", "1.0");
    // Exact, where the optical centre has six digits, on purpose.
    SetIfMissing(ini, "PIXEL FOCAL LENGTH",
                 base::ExactText(focal_length_.first) + ", " + base::ExactText(focal_length_.second));

    // Format 1.1 gets the field of view as well, which it never reads, on purpose. Its orientation is the one that the
    // sensor has just written.
    if (version == hws::Version::V1_0 || version == hws::Version::V1_1)
        SetIfMissing(ini, "ANGULAR FOV", "0.0, 0.0");
    if (version == hws::Version::V1_0) {
        const Angles saved = From11To10(Orientation());
        base::Log(
            base::Severity::Information, BOOST_CURRENT_FUNCTION,
            "HWS version 1.0 detected. Saving orientation in 1.0 format " + Text(Orientation()) + "->" + Text(saved));
        ini.Set("ORIENTATION", saved.string());
    }
}

}  // namespace dev
