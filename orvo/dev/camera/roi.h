// The part of a camera's sensor that is read out.
#ifndef DEV_CAMERA_ROI_H
#define DEV_CAMERA_ROI_H

#include <cstdint>
#include <iosfwd>
#include <string>

#include "base/export.h"

namespace dev {
namespace camera {

/// The size of the sensor, an inclusive rectangle of pixels on it, and the steps in which the hardware lets it move and
/// grow. A plain value. Every change is stored first and checked then: a call that throws leaves the new geometry.
class ORVO_DEV_API CRoI
{
public:
    /// All zero, increments 1; not checked, and empty if it were.
    CRoI() = default;
    /// The whole of a sensor of that size in pixels, increments 1. Checked.
    CRoI(unsigned int width, unsigned int height);

    /// Steps in pixels: left and top must be multiples of the first two, width and height of the last two. An increment
    /// of 0 demands the value 0. Checked.
    void SetIncrements(unsigned int position_h, unsigned int position_v, unsigned int size_h, unsigned int size_v);

    /// "width height" centres a rectangle on the sensor, odd rests going to the right and bottom; "left top right
    /// bottom" gives the inclusive corners, and what follows them is not looked at. Numbers are unsigned decimal, split
    /// at blanks, tabs and commas. Throws boost::bad_lexical_cast for a token that is no number and std::runtime_error
    /// for one or three tokens or none, both leaving the region unchanged; then checked.
    void Resize(const std::string& geometry);

    /// Throws std::runtime_error for the first rule broken: at least two pixels wide and high (a line
    /// one pixel wide counts as empty, on purpose); the start and the extent
    /// within the sensor (the right and bottom edges are not compared with it, on purpose); the increments.
    void ConsistencyCheck() const;

    /// Compares the rectangles alone, neither sensors nor increments, on purpose.
    bool operator==(const CRoI& other) const;
    bool operator!=(const CRoI& other) const { return !(*this == other); }

    std::string StrSize() const;    ///< "(640, 480)"
    std::string StrSensor() const;  ///< "1280x960"
    std::string StrRect() const;    ///< "(320, 240, 959, 719)"

    std::int32_t SensorWidth() const { return sensor_width_; }
    std::int32_t SensorHeight() const { return sensor_height_; }
    std::int32_t Left() const { return left_; }
    std::int32_t Top() const { return top_; }
    std::int32_t Right() const { return right_; }    ///< inclusive
    std::int32_t Bottom() const { return bottom_; }  ///< inclusive
    /// right - left + 1 and bottom - top + 1, of a geometry that passed its check.
    unsigned int Width() const;
    unsigned int Height() const;

    // The steps, as SetIncrements took them.
    unsigned int PositionIncrementH() const { return static_cast<unsigned int>(position_increment_h_); }
    unsigned int PositionIncrementV() const { return static_cast<unsigned int>(position_increment_v_); }
    unsigned int SizeIncrementH() const { return size_increment_h_; }
    unsigned int SizeIncrementV() const { return size_increment_v_; }

private:
    std::int32_t sensor_width_ = 0;
    std::int32_t sensor_height_ = 0;
    std::int32_t left_ = 0;
    std::int32_t top_ = 0;
    std::int32_t right_ = 0;
    std::int32_t bottom_ = 0;
    std::uint32_t size_increment_h_ = 1;
    std::uint32_t size_increment_v_ = 1;
    std::int32_t position_increment_h_ = 1;
    std::int32_t position_increment_v_ = 1;
};

/// "Sensor=1280x960, Rect=(320, 240, 959, 719), Size=(640, 480)"
ORVO_DEV_API std::ostream& operator<<(std::ostream& stream, const CRoI& roi);

}  // namespace camera
}  // namespace dev

#endif
