// Is the device that answered the one that the rig file describes?
#ifndef CAPTURE_IDENTITY_H
#define CAPTURE_IDENTITY_H

#include <stdexcept>
#include <string>

#include "capture/source.h"

namespace capture {

/// Compares a device with the keys "VENDOR", "MODEL" and "SERIAL" of its section; an empty or missing key says nothing.
/// Another vendor or model is told. Throws std::runtime_error for another serial number: the calibration in the section
/// belongs to one device alone. To be called before anything is written to the device.
inline void CheckIdentity(const kt::ini::INIFile& settings, const TIdentity& identity, const Tell& tell)
{
    const auto differs = [&settings](const char* key, const std::string& found, std::string& wanted) {
        return settings.efind(key, wanted) && !wanted.empty() && wanted != found;
    };
    std::string wanted;
    if (differs("SERIAL", identity.serial, wanted))
        throw std::runtime_error("SERIAL: found the device \"" + identity.serial + "\", wanted \"" + wanted +
                                 "\"; what the section knows of its lens and pose belongs to that one");
    for (const auto& row : {std::make_pair("VENDOR", identity.vendor), std::make_pair("MODEL", identity.model)})
        if (differs(row.first, row.second, wanted) && tell)
            tell(std::string(row.first) + ": found \"" + row.second + "\", wanted \"" + wanted + "\"");
}

}  // namespace capture

#endif
