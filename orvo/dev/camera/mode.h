// The automatic modes of a video setting: who chooses its value, the user or the camera.
#ifndef DEV_CAMERA_MODE_H
#define DEV_CAMERA_MODE_H

#include <istream>
#include <string>

#include "base/export.h"
#include "ui/collection.h"

namespace dev {
namespace camera {
namespace videoprop {
namespace attribute {
namespace mode {

enum class BOOST_SYMBOL_VISIBLE Type : int
{
    Manual = 0,  ///< the user's value
    Auto = 1,    ///< the camera follows the scene
    Once = 2     ///< the camera looks for a value once, and goes back to Manual with it
};

/// "Manual", "Auto" or "Once". Throws std::out_of_range for a number that is no mode.
ORVO_DEV_API std::string Label(Type mode);

/// Reads nothing and leaves `mode` as it is, on purpose: a mode has no text but its label, and the list of labels of
/// its variable converts that. It is there so that generic code over streams compiles.
inline std::istream& operator>>(std::istream& stream, Type&)
{
    return stream;
}

}  // namespace mode
}  // namespace attribute
}  // namespace videoprop
}  // namespace camera
}  // namespace dev

namespace ui {
namespace detail {

extern template class collection_adapter<std::string, dev::camera::videoprop::attribute::mode::Type>;
extern template class map_adapter<std::string, dev::camera::videoprop::attribute::mode::Type>;
extern template class map<dev::camera::videoprop::attribute::mode::Type>;

}  // namespace detail
}  // namespace ui

#endif
