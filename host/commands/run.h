// orvo run RIG: takes frames from the sources of a rig's cameras and runs them through the trees.
#ifndef HOST_COMMANDS_RUN_H
#define HOST_COMMANDS_RUN_H

#include <cstdint>
#include <filesystem>
#include <string>
#include <vector>

#include "record/rig_recorder.h"
#include "rig/rig.h"
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
    bool profile = false;              ///< tell how long cameras and nodes took
    std::filesystem::path trace;       ///< file for a trace of the run; empty: none
    TRecordOptions record;
    bool tune = false;  ///< by lines on standard input
    bool save = false;  ///< keep the cameras' settings in the rig file when the run is over
    bool json = false;
    std::vector<TOverride> overrides;  ///< of the rig
    bool digests = false;              ///< of the output nodes' pictures: the result, with the report as talk
};

/// BadArguments for a camera that the rig does not have or that cannot be recorded as asked, Failed for a rig with
/// faults, a source that cannot be opened or fails, a folder that cannot be made, or that holds a recording already;
/// else as CodeOf says of the run's report, DataLost for a trace that lacks its end, or Failed for settings that could
/// not be kept. Settings that a camera refuses are told, and it runs. Throws std::runtime_error when the trace cannot
/// be begun.
ExitCode Run(const TRunOptions& options, CConsole& console);

}  // namespace host

#endif
