// The cameras of a rig, run together until they end, their time is over, or somebody stops them.
#ifndef HOST_RUN_RIG_RUN_H
#define HOST_RUN_RIG_RUN_H

#include <cstdint>
#include <filesystem>
#include <memory>
#include <string>
#include <vector>

#include "capture/source.h"
#include "run/report.h"

namespace dev {
class CCamera;
}

namespace host {

class CConsole;
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
};

/// A loaded camera with its opened source.
struct TReadyCamera
{
    std::string name;
    dev::CCamera* camera;
    std::unique_ptr<capture::CSource> source;
    std::string record_node;  ///< whose images are recorded
};

/// Runs the cameras, with live lines on the console if that is a terminal, and returns when all have ended. The first
/// SIGINT or SIGTERM ends the run, dropping what waits; a second one ends the process at once, with Interrupted.
TRunReport RunCameras(const std::string& rig, std::vector<TReadyCamera> cameras, const TRunLimits& limits,
                      CConsole& console);

}  // namespace host

#endif
