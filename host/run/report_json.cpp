#include "run/digest.h"
#include "run/histogram.h"
#include "run/report.h"
#include "system/json_text.h"

namespace host {

namespace {

Json AsJson(const TTimes& time)
{
    return {{"mean", time.mean_ms}, {"p50", time.p50_ms}, {"p99", time.p99_ms}, {"max", time.max_ms}};
}

Json AsJson(const Reasons& reasons)
{
    Json json = Json::object();
    for (const auto& [reason, count] : reasons)
        json[reason] = count;
    return json;
}

Json AsJson(const TNodeReport& node)
{
    return {{"name", node.name},           {"level", node.level},         {"frames", node.frames},
            {"executed", node.executed},   {"decimated", node.decimated}, {"dropped", node.dropped},
            {"time_ms", AsJson(node.time)}};
}

Json AsJson(const std::optional<TTrackReport>& recording)
{
    if (!recording)
        return nullptr;
    return {{"offered", recording->offered},
            {"recorded", recording->recorded},
            {"bytes", recording->bytes},
            {"dropped", AsJson(recording->dropped)}};
}

Json AsJson(const TCameraReport& camera)
{
    Json nodes = Json::array();
    for (const TNodeReport& node : camera.nodes)
        nodes.push_back(AsJson(node));
    Json errors = Json::array();
    for (const TErrorReport& error : camera.errors)
        errors.push_back({{"where", error.where}, {"message", error.message}, {"count", error.count}});
    Json json = {{"name", camera.name},
                 {"seconds", camera.seconds},
                 {"frames", camera.frames},
                 {"executed", camera.executed},
                 {"decimated", camera.decimated},
                 {"dropped", AsJson(camera.dropped)},
                 {"lost", AsJson(camera.lost)},
                 {"interruptions", AsJson(camera.interruptions)},
                 {"counted", AsJson(camera.counted)},
                 {"waited_ms", AsJson(camera.waited)},
                 {"time_ms", AsJson(camera.time)},
                 {"nodes", nodes},
                 {"errors", errors},
                 {"pictures", camera.pictures},
                 {"pictures_failed", camera.pictures_failed},
                 {"recording", AsJson(camera.recording)},
                 {"failure", nullptr}};
    if (!camera.failure.empty())
        json["failure"] = camera.failure;
    if (camera.digests) {
        Json digests = Json::array();
        for (const TOutputDigest& each : *camera.digests)
            digests.push_back({{"sequence", each.sequence}, {"digest", DigestText(each.digest)}});
        json["output"] = camera.output;
        json["digests"] = std::move(digests);
    }
    return json;
}

}  // namespace

std::string ReportJson(const TRunReport& report)
{
    Json cameras = Json::array();
    for (const TCameraReport& camera : report.cameras)
        cameras.push_back(AsJson(camera));
    Json recording = nullptr;
    if (!report.recording.empty())
        recording = {{"folder", report.recording}, {"failure", nullptr}};
    if (!report.recording_failure.empty())
        recording["failure"] = report.recording_failure;
    return JsonText({{"rig", report.rig},
                     {"interrupted", report.interrupted},
                     {"recording", recording},
                     {"percentile_error", CHistogram::relative_error},
                     {"cameras", cameras}});
}

}  // namespace host
