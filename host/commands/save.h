// orvo save RIG: keeps the settings that the cameras have now in the rig file.
#ifndef HOST_COMMANDS_SAVE_H
#define HOST_COMMANDS_SAVE_H

#include <filesystem>
#include <string>
#include <vector>

#include "system/exit_codes.h"

namespace host {

class CConsole;

struct TSaveOptions
{
    std::filesystem::path rig;
    std::vector<std::string> cameras;  ///< names; empty: all
    bool json = false;
};

/// Opens the sources, which does to the cameras what their drivers do on opening and no more: the file's keys
/// "VIDEO ..." are not applied. BadArguments for a camera that the rig does not have; Failed, with what could be saved
/// in the file, for a rig with faults, a source that cannot be opened and a setting that cannot be read or kept.
/// Throws std::runtime_error, with the file as it was, when it cannot be written.
ExitCode Save(const TSaveOptions& options, CConsole& console);

}  // namespace host

#endif
