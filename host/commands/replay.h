// orvo replay PATH [RIG]: runs what was recorded through the trees of a rig.
#ifndef HOST_COMMANDS_REPLAY_H
#define HOST_COMMANDS_REPLAY_H

#include <filesystem>
#include <string>

#include "commands/run.h"
#include "system/exit_codes.h"

namespace host {

class CConsole;

struct TReplayOptions
{
    std::filesystem::path path;  ///< a recording's folder, or its archive of frames
    std::string rate = "1";      ///< times the recorded speed, or "MAX"
    /// `rig`, empty, is the recording's own; `cameras` are those with a track. The overrides are made here.
    TRunOptions run;
};

/// As Run, with the source of each camera replaced in memory by its track of the recording. Cameras without a track do
/// not run. BadArguments when there is no rig, or a chosen camera has no track.
ExitCode Replay(TReplayOptions options, CConsole& console);

}  // namespace host

#endif
