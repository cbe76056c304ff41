// orvo devices: what can be opened, with a section for the rig file; and whether a source keeps to what a driver
// promises.
#ifndef HOST_COMMANDS_DEVICES_H
#define HOST_COMMANDS_DEVICES_H

#include <filesystem>
#include <string>

#include "system/exit_codes.h"

namespace host {

class CConsole;

struct TDevicesOptions
{
    std::string source;         ///< "SCHEME:LOCATION"; empty: all devices that answer
    bool test = false;          ///< check the source, which is opened for it
    std::filesystem::path rig;  ///< with `camera`: whose section the checks use; empty: none
    std::string camera;
    bool json = false;
};

/// Lists devices, or describes the one source. Failed when a driver cannot be loaded or cannot look, when the one
/// source cannot be described, and when a check fails. What a device of the list is wrong with is in the list alone.
ExitCode Devices(const TDevicesOptions& options, CConsole& console);

}  // namespace host

#endif
