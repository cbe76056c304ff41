// What every device needs of its settings file: the format version, and the accessors on string values.
#ifndef DEV_SETTINGS_H
#define DEV_SETTINGS_H

#include <cstdint>
#include <string>
#include <utility>

#include "base/export.h"
#include "orvo_inifiles/inifile.h"

namespace hws {

/// Version of the hardware-settings format. Compared for equality alone: any other value takes no version's steps.
enum class Version : std::int32_t
{
    V1_0 = 0,  ///< "ANGULAR FOV", and orientations in the older angle convention
    V1_1 = 1   ///< "PIXEL FOCAL LENGTH"
};

}  // namespace hws

namespace kt {
namespace ini {

extern template ORVO_DEV_API std::string INIFile::Value<std::string>(const std::string&) const;
extern template ORVO_DEV_API std::string INIFile::Value<std::string>(const std::string&, const std::string&) const;
extern template ORVO_DEV_API bool INIFile::Get<std::string>(const std::string&, std::string*) const;
extern template ORVO_DEV_API void INIFile::Set<std::string>(const std::string&, const std::string&);

}  // namespace ini
}  // namespace kt

namespace dev {

/// Two numbers, split at blanks, tabs and commas; numbers behind the second are not used. Throws
/// boost::bad_lexical_cast for any token that is no number and std::runtime_error naming the text for fewer than two.
ORVO_DEV_API std::pair<double, double> ParsePair(const std::string& text);

}  // namespace dev

#endif
