#include "run/live_lines.h"

#include <fmt/format.h>
#include <algorithm>
#include <utility>

namespace host {

std::vector<std::string> CLiveLines::Next(std::chrono::steady_clock::time_point now,
                                          const std::vector<TProgress>& cameras)
{
    const double seconds = std::chrono::duration<double>(now - last_time_).count();
    last_time_ = now;
    last_executed_.resize(cameras.size());
    std::size_t width = 0;
    for (const TProgress& camera : cameras)
        width = std::max(width, camera.name.size());

    std::vector<std::string> lines;
    for (std::size_t i = 0; i < cameras.size(); ++i) {
        const TProgress& camera = cameras[i];
        const double executed = static_cast<double>(camera.executed - last_executed_[i]);
        last_executed_[i] = camera.executed;
        const std::string rate =
            camera.done ? "done" : fmt::format("{:.1f}/s", seconds > 0.0 ? executed / seconds : 0.0);
        std::string line = fmt::format("{:<{}}  {:>9}  {:>8} frames", camera.name, width, rate, camera.frames);
        if (!camera.recording)  // else it would push what is recorded off the end of a usual terminal's line
            line += fmt::format("  {:>8} executed", camera.executed);
        line += fmt::format("  {:>6} dropped", camera.dropped);
        if (camera.recording)
            line +=
                fmt::format("  {:>8} recorded  {:>6} not", camera.recording->recorded, Sum(camera.recording->dropped));
        if (camera.lost > 0)
            line += fmt::format("  {} lost", camera.lost);
        if (camera.interruptions > 0)
            line += fmt::format("  {} interrupted", camera.interruptions);
        lines.push_back(std::move(line));
    }
    return lines;
}

}  // namespace host
