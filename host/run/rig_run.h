// The cameras of a rig, run together until they end, their time is over, or somebody stops them.
#ifndef HOST_RUN_RIG_RUN_H
#define HOST_RUN_RIG_RUN_H

#include <cstdint>
#include <filesystem>
#include <string>
#include <vector>

#include "run/report.h"

namespace host {

class CConsole;
class CLiveCamera;
class CProfile;
class CRecorder;

struct TRunLimits
{
    std::uint64_t frames = 0;        ///< per camera, taken from its source; 0: all
    double seconds = 0.0;            ///< 0: no limit
    std::filesystem::path pictures;  ///< output pictures go to <pictures>/<camera>/<sequence>.png; empty: none
    bool digests = false;            ///< take one of every output picture
    CProfile* profile = nullptr;     ///< hears what takes how long; null: nobody does
    CRecorder* recorder = nullptr;  ///< made for the same cameras, and finished with the run; null: nothing is recorded
    bool tune = false;              ///< by lines on standard input
};

struct TReadyCamera
{
    std::string name;
    const CLiveCamera* live;  ///< outlives the run
    std::string record_node;  ///< whose images are recorded
};

/// Runs the cameras, with live lines on the console if that is a terminal, and returns when all have ended. The first
/// SIGINT or SIGTERM ends the run, dropping what waits; a second one ends the process at once, with Interrupted. `rig`
/// is the file that the cameras are of.
TRunReport RunCameras(const std::string& rig, const std::vector<TReadyCamera>& cameras, const TRunLimits& limits,
                      CConsole& console);

}  // namespace host

#endif
