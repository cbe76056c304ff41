#include "dev/camera/roi.h"

#include <ostream>
#include <stdexcept>

#include "base/number_text.h"

namespace dev {
namespace camera {
namespace {

// Wide enough for every difference and quotient of two 32-bit fields.
using Wide = std::int64_t;

Wide Extent(std::int32_t first, std::int32_t last)
{
    return Wide{last} - first + 1;
}

/// An increment of 0 leaves 0 as the only multiple.
bool IsMultiple(Wide value, Wide increment)
{
    return value == (increment == 0 ? 0 : value / increment * increment);
}

}  // namespace

CRoI::CRoI(unsigned int width, unsigned int height)
    : sensor_width_(static_cast<std::int32_t>(width)),
      sensor_height_(static_cast<std::int32_t>(height)),
      right_(static_cast<std::int32_t>(width - 1)),
      bottom_(static_cast<std::int32_t>(height - 1))
{
    ConsistencyCheck();
}

void CRoI::SetIncrements(unsigned int position_h, unsigned int position_v, unsigned int size_h, unsigned int size_v)
{
    position_increment_h_ = static_cast<std::int32_t>(position_h);
    position_increment_v_ = static_cast<std::int32_t>(position_v);
    size_increment_h_ = size_h;
    size_increment_v_ = size_v;
    ConsistencyCheck();
}

void CRoI::Resize(const std::string& geometry)
{
    std::vector<std::uint32_t> numbers;
    for (const std::string& token : base::Tokens(geometry, " \t,")) {
        if (numbers.size() == 4)
            break;
        numbers.push_back(base::ParseNumber<std::uint32_t>(token));
    }

    // Unsigned arithmetic throughout: a rectangle larger than the sensor wraps around and fails the check as empty.
    std::uint32_t left = 0;
    std::uint32_t top = 0;
    std::uint32_t right = 0;
    std::uint32_t bottom = 0;
    if (numbers.size() == 2) {
        left = (static_cast<std::uint32_t>(sensor_width_) - numbers[0]) >> 1;
        top = (static_cast<std::uint32_t>(sensor_height_) - numbers[1]) >> 1;
        right = left + numbers[0] - 1;
        bottom = top + numbers[1] - 1;
    } else if (numbers.size() == 4) {
        left = numbers[0];
        top = numbers[1];
        right = numbers[2];
        bottom = numbers[3];
    } else {
        throw std::runtime_error("RoI geometry: found \"" + geometry +
                                 "\", wanted \"width height\" or \"left top right bottom\"");
    }
    left_ = static_cast<std::int32_t>(left);
    top_ = static_cast<std::int32_t>(top);
    right_ = static_cast<std::int32_t>(right);
    bottom_ = static_cast<std::int32_t>(bottom);
    ConsistencyCheck();
}

void CRoI::ConsistencyCheck() const
{
    if (!(left_ < right_ && top_ < bottom_))
        throw std::runtime_error("RoI is empty");

    const Wide width = Extent(left_, right_);
    const Wide height = Extent(top_, bottom_);
    if (!(left_ < sensor_width_ && top_ < sensor_height_ && width - 1 < sensor_width_ && height - 1 < sensor_height_))
        throw std::runtime_error("ROI must be contained in " + StrSensor() + "\nWrong RoI geometry is: " + StrRect() +
                                 " " + StrSize());

    if (!(IsMultiple(left_, position_increment_h_) && IsMultiple(top_, position_increment_v_) &&
          IsMultiple(width, size_increment_h_) && IsMultiple(height, size_increment_v_)))
        // The two blanks behind each "v" are part of the text, on purpose.
        throw std::runtime_error("ROI dimensions must be multiple of " + std::to_string(position_increment_h_) +
                                 " h, " + std::to_string(position_increment_v_) + " v  for position and " +
                                 std::to_string(size_increment_h_) + " h, " + std::to_string(size_increment_v_) +
                                 " v  for size\nWrong RoI geometry is: " + StrRect() + " " + StrSize());
}

bool CRoI::operator==(const CRoI& other) const
{
    return left_ == other.left_ && right_ == other.right_ && top_ == other.top_ && bottom_ == other.bottom_;
}

std::string CRoI::StrSize() const
{
    return "(" + std::to_string(Extent(left_, right_)) + ", " + std::to_string(Extent(top_, bottom_)) + ")";
}

std::string CRoI::StrSensor() const
{
    return std::to_string(sensor_width_) + "x" + std::to_string(sensor_height_);
}

std::string CRoI::StrRect() const
{
    return "(" + std::to_string(left_) + ", " + std::to_string(top_) + ", " + std::to_string(right_) + ", " +
           std::to_string(bottom_) + ")";
}

unsigned int CRoI::Width() const
{
    return static_cast<unsigned int>(Extent(left_, right_));
}

unsigned int CRoI::Height() const
{
    return static_cast<unsigned int>(Extent(top_, bottom_));
}

std::ostream& operator<<(std::ostream& stream, const CRoI& roi)
{
    return stream << "Sensor=" << roi.StrSensor() << ", Rect=" << roi.StrRect() << ", Size=" << roi.StrSize();
}

}  // namespace camera
}  // namespace dev
