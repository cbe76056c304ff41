// The lines that a running rig shows on a terminal, one per camera: rate, frames, drops.
#ifndef HOST_RUN_LIVE_LINES_H
#define HOST_RUN_LIVE_LINES_H

#include <chrono>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "run/report.h"

namespace host {

/// What a camera has done so far. `recording` is empty when nothing is recorded.
struct TProgress
{
    std::string name;
    std::uint64_t frames = 0;  ///< delivered
    std::uint64_t executed = 0;
    std::uint64_t dropped = 0;
    std::uint64_t lost = 0;  ///< before delivery
    std::uint64_t interruptions = 0;
    bool done = false;
    std::optional<TTrackReport> recording;
};

/// Turns progress into lines; the rate is that of the time since the last call.
class CLiveLines
{
public:
    explicit CLiveLines(std::chrono::steady_clock::time_point start) : last_time_(start) {}

    std::vector<std::string> Next(std::chrono::steady_clock::time_point now, const std::vector<TProgress>& cameras);

private:
    std::chrono::steady_clock::time_point last_time_;
    std::vector<std::uint64_t> last_executed_;
};

}  // namespace host

#endif
