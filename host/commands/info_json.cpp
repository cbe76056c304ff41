#include "commands/info.h"
#include "record/damage_json.h"
#include "system/json_text.h"
#include "system/quantities.h"

namespace host {

namespace {

Json TextOrNull(const std::string& text)
{
    return text.empty() ? Json(nullptr) : Json(text);
}

Json AsJson(const TGaps& gaps)
{
    return {{"usual_step", gaps.usual_step},
            {"missing", gaps.missing},
            {"backwards", gaps.backwards},
            {"usual_interval_s", gaps.usual_interval},
            {"longest_interval_s", gaps.longest_interval},
            {"before_longest", gaps.before_longest},
            {"pauses", gaps.pauses}};
}

Json AsJson(const TTrackInfo& track)
{
    Json compressed = Json::object();
    for (const auto& [compression, frames] : track.compressed)
        compressed[rec::Name(compression)] = frames;
    return {{"camera", track.track.name},
            {"node", TextOrNull(track.track.node)},
            {"source", TextOrNull(track.track.source)},
            {"description", TextOrNull(track.track.description)},
            {"producer", TextOrNull(track.track.producer)},
            {"begun", TextOrNull(IsoTime(track.track.start))},
            {"compression", rec::Name(track.track.compression)},
            {"frames", track.frames},
            {"frames_by_compression", compressed},
            {"formats", track.formats},
            {"stored_bytes", track.stored},
            {"raw_bytes", track.raw ? Json(*track.raw) : Json(nullptr)},
            {"first_sequence", track.first_sequence},
            {"last_sequence", track.last_sequence},
            {"first_time", TextOrNull(IsoTime(track.first_time))},
            {"last_time", TextOrNull(IsoTime(track.last_time))},
            {"seconds", track.seconds},
            {"frames_per_second", track.rate},
            {"gaps", AsJson(track.gaps)}};
}

Json AsJson(const TRecordingInfo& info)
{
    const auto seconds = [](const auto& key) {
        return key.is_special() ? Json(nullptr) : Json(static_cast<double>(key.total_microseconds()) / 1e6);
    };
    return {{"file", info.events_file},
            {"events", info.events.events},
            {"first_s", seconds(info.events.first)},
            {"last_s", seconds(info.events.last)},
            {"counts", info.events.counts}};
}

}  // namespace

std::string InfoJson(const TRecordingInfo& info)
{
    Json tracks = Json::array();
    for (const TTrackInfo& track : info.tracks)
        tracks.push_back(AsJson(track));
    Json others = Json::array();
    for (const TMemberInfo& member : info.others)
        others.push_back({{"name", member.name}, {"bytes", member.bytes}});
    Json damage = DamageJson(info.damage);
    for (Json& each : DamageJson(info.events.damage))
        damage.push_back(std::move(each));
    return JsonText({{"path", info.path},
                     {"archive", TextOrNull(info.archive)},
                     {"bytes", info.bytes},
                     {"tracks", tracks},
                     {"other_members", others},
                     {"events", info.events_file.empty() ? Json(nullptr) : AsJson(info)},
                     {"damage", damage}});
}

}  // namespace host
