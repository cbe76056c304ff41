// orvo run RIG: takes frames from the sources of a rig's cameras and runs them through the trees.
#ifndef HOST_COMMANDS_RUN_H
#define HOST_COMMANDS_RUN_H

#include <cstdint>
#include <filesystem>
#include <string>
#include <vector>

#include "system/exit_codes.h"

namespace host {

class CConsole;

struct TRunOptions
{
    std::filesystem::path rig;
    std::vector<std::string> cameras;  ///< names; empty: all
    std::uint64_t frames = 0;          ///< per camera; 0: all
    double seconds = 0.0;              ///< 0: no limit
    std::filesystem::path output;      ///< folder for the output nodes' pictures; empty: none
    bool json = false;
};

/// BadArguments for a camera that the rig does not have, Failed for a rig with faults, a source that cannot be opened
/// or fails, or a folder that cannot be made; else as CodeOf says of the run's report.
ExitCode Run(const TRunOptions& options, CConsole& console);

}  // namespace host

#endif
