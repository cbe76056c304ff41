#include "run/report.h"

#include <fmt/format.h>
#include <algorithm>

#include "run/digest.h"
#include "run/frame_queue.h"
#include "run/histogram.h"
#include "system/quantities.h"

namespace host {

namespace {

constexpr double ns_per_ms = 1e6;

std::string Listed(const Reasons& reasons)
{
    std::string text;
    for (const auto& [reason, count] : reasons)
        text += fmt::format("{}{} {}", text.empty() ? "" : ", ", reason, count);
    return text;
}

/// One row of the table; `name` is as wide as the table's first column.
std::string Row(const std::string& name, std::uint64_t frames, std::uint64_t executed, std::uint64_t decimated,
                std::uint64_t dropped, const TTimes& time)
{
    return fmt::format("  {}{:>9}{:>10}{:>11}{:>9}{:>10.3f}{:>9.3f}{:>9.3f}{:>9.3f}\n", name, frames, executed,
                       decimated, dropped, time.mean_ms, time.p50_ms, time.p99_ms, time.max_ms);
}

std::string Table(const TCameraReport& camera)
{
    const auto label = [](const TNodeReport& node) {
        return std::string(2 * static_cast<std::size_t>(node.level), ' ') + node.name;
    };
    std::size_t width = 6;
    for (const TNodeReport& node : camera.nodes)
        width = std::max(width, label(node).size());
    std::string text = fmt::format("  {:<{}}{:>9}{:>10}{:>11}{:>9}{:>10}{:>9}{:>9}{:>9}\n", "node", width, "frames",
                                   "executed", "decimated", "dropped", "mean ms", "p50 ms", "p99 ms", "max ms");
    text += Row(fmt::format("{:<{}}", "(tree)", width), camera.frames, camera.executed, camera.decimated,
                Sum(camera.dropped), camera.time);
    for (const TNodeReport& node : camera.nodes)
        text += Row(fmt::format("{:<{}}", label(node), width), node.frames, node.executed, node.decimated, node.dropped,
                    node.time);
    return text;
}

std::string CameraText(const TCameraReport& camera)
{
    const double rate = camera.seconds > 0.0 ? static_cast<double>(camera.executed) / camera.seconds : 0.0;
    std::string text =
        fmt::format("{}: {} frames in {:.2f} s, {} executed ({:.1f}/s), {} decimated, {} dropped\n", camera.name,
                    camera.frames, camera.seconds, camera.executed, rate, camera.decimated, Sum(camera.dropped));
    text += Table(camera);
    text += fmt::format("  waited: p50 {:.3f}, p99 {:.3f}, max {:.3f} ms\n", camera.waited.p50_ms, camera.waited.p99_ms,
                        camera.waited.max_ms);
    if (!camera.dropped.empty())
        text += fmt::format("  dropped: {}\n", Listed(camera.dropped));
    if (!camera.lost.empty())
        text += fmt::format("  lost before delivery: {}\n", Listed(camera.lost));
    if (!camera.interruptions.empty())
        text += fmt::format("  interrupted: {}\n", Listed(camera.interruptions));
    if (!camera.counted.empty())
        text += fmt::format("  counted: {}\n", Listed(camera.counted));
    for (const TErrorReport& error : camera.errors)
        text += fmt::format("  {} x {}: {}\n", error.count, error.where, error.message);
    if (camera.pictures + camera.pictures_failed > 0)
        text += fmt::format("  pictures: {} written, {} failed\n", camera.pictures, camera.pictures_failed);
    if (camera.recording)
        text += fmt::format("  recorded: {} of {} frames, {}\n", camera.recording->recorded, camera.recording->offered,
                            BytesText(camera.recording->bytes));
    if (camera.recording && !camera.recording->dropped.empty())
        text += fmt::format("  not recorded: {}\n", Listed(camera.recording->dropped));
    if (!camera.failure.empty())
        text += fmt::format("  the source failed: {}\n", camera.failure);
    return text;
}

}  // namespace

TTimes TimesOf(const CHistogram& histogram)
{
    return {histogram.Mean() / ns_per_ms, histogram.Percentile(0.5) / ns_per_ms, histogram.Percentile(0.99) / ns_per_ms,
            static_cast<double>(histogram.Max()) / ns_per_ms};
}

std::uint64_t Sum(const Reasons& reasons)
{
    std::uint64_t sum = 0;
    for (const auto& reason : reasons)
        sum += reason.second;
    return sum;
}

std::vector<std::string> Imbalances(const TRunReport& report)
{
    std::vector<std::string> imbalances;
    const auto check = [&](const std::string& where, std::uint64_t frames, std::uint64_t executed,
                           std::uint64_t decimated, std::uint64_t dropped) {
        if (frames != executed + decimated + dropped)
            imbalances.push_back(fmt::format("{}: {} frames, but {} executed, {} decimated and {} dropped", where,
                                             frames, executed, decimated, dropped));
    };
    for (const TCameraReport& camera : report.cameras) {
        check(camera.name, camera.frames, camera.executed, camera.decimated, Sum(camera.dropped));
        for (const TNodeReport& node : camera.nodes)
            check(camera.name + ", node " + node.name, node.frames, node.executed, node.decimated, node.dropped);
        const TTrackReport track = camera.recording.value_or(TTrackReport());
        const std::uint64_t dropped = Sum(track.dropped);
        if (track.offered != track.recorded + dropped)
            imbalances.push_back(fmt::format("{}: {} frames to record, but {} recorded and {} not", camera.name,
                                             track.offered, track.recorded, dropped));
    }
    return imbalances;
}

ExitCode CodeOf(const TRunReport& report)
{
    bool failed = !Imbalances(report).empty();
    bool lost = !report.recording_failure.empty();
    for (const TCameraReport& camera : report.cameras) {
        failed = failed || !camera.failure.empty();
        lost = lost || !camera.lost.empty() || !camera.interruptions.empty() || camera.pictures_failed > 0 ||
               (camera.recording && !camera.recording->dropped.empty());
        for (const auto& reason : camera.dropped)
            lost = lost || (reason.first != drop_stopped && reason.first != drop_region_changed);
    }
    return failed ? Failed : lost ? DataLost : Done;
}

std::string DigestLines(const TRunReport& report)
{
    std::string text;
    for (const TCameraReport& camera : report.cameras)
        for (const TOutputDigest& each : camera.digests.value_or(std::vector<TOutputDigest>()))
            text += fmt::format("{} {} {} {}\n", camera.name, each.sequence, camera.output, DigestText(each.digest));
    return text;
}

std::string ReportText(const TRunReport& report)
{
    std::string text;
    for (const TCameraReport& camera : report.cameras)
        text += CameraText(camera) + '\n';
    if (!report.recording.empty())
        text += fmt::format("recording: {}{}{}\n", report.recording, report.recording_failure.empty() ? "" : "; ",
                            report.recording_failure);
    text += fmt::format("times per frame; p50 and p99 are within {:.1f} %\n", 100.0 * CHistogram::relative_error);
    return text;
}

}  // namespace host
