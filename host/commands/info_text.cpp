#include <fmt/format.h>
#include <algorithm>

#include "commands/info.h"
#include "record/contents.h"
#include "rig/fault.h"
#include "system/quantities.h"

namespace host {

namespace {

constexpr std::size_t most_members = 20;  // that are listed one by one

std::string Line(const char* label, const std::string& text)
{
    return text.empty() ? std::string() : fmt::format("  {:<12}{}\n", label, OneLine(text));
}

std::string Format(const TTrackInfo& track)
{
    std::string text = fmt::format("{}", fmt::join(track.formats, ", "));
    if (track.compressed.size() == 1)
        text += fmt::format(", compression {}", rec::Name(track.compressed.begin()->first));
    for (const auto& [compression, frames] : track.compressed)
        if (track.compressed.size() > 1)
            text += fmt::format(", {} with compression {}", frames, rec::Name(compression));
    return text;
}

std::string Stored(const TTrackInfo& track)
{
    std::string text = BytesText(track.stored);
    if (track.raw && track.stored > 0)
        text += fmt::format(" of {} raw, {:.2f} : 1", BytesText(*track.raw),
                            static_cast<double>(*track.raw) / static_cast<double>(track.stored));
    return text;
}

std::string Times(const TTrackInfo& track)
{
    if (track.first_time.is_special())
        return "not timed";
    return fmt::format("{} to {} UTC, {}", TimeText(track.first_time), TimeText(track.last_time),
                       DurationText(track.seconds));
}

std::string Sequence(const TTrackInfo& track)
{
    const TGaps& gaps = track.gaps;
    std::string text = fmt::format("{} to {}", track.first_sequence, track.last_sequence);
    if (gaps.usual_step > 1)
        text += fmt::format(" in steps of {}", gaps.usual_step);
    text += gaps.missing == 0 ? ", none missing" : fmt::format(", {} missing", gaps.missing);
    if (gaps.backwards > 0)
        text += fmt::format(", {} not rising", gaps.backwards);
    return text;
}

std::string Intervals(const TTrackInfo& track)
{
    const TGaps& gaps = track.gaps;
    if (track.seconds <= 0.0)
        return {};
    std::string text = fmt::format("usually {:.3f} ms, longest {:.3f} ms after frame {}", gaps.usual_interval * 1e3,
                                   gaps.longest_interval * 1e3, gaps.before_longest);
    if (gaps.pauses > 0)
        text += fmt::format(", {} of more than three times the usual", gaps.pauses);
    return text;
}

std::string TrackText(const TTrackInfo& track)
{
    std::string text = fmt::format("\n{}: {}", OneLine(track.track.name), Plural(track.frames, "frame"));
    if (track.rate > 0.0)
        text += fmt::format(", {:.2f}/s", track.rate);
    text += '\n';
    text += Line("description", track.track.description);
    text += Line("source", track.track.source);
    text += Line("node", track.track.node);
    if (!track.track.start.is_special())
        text += Line("begun", fmt::format("{} UTC{}{}", TimeText(track.track.start),
                                          track.track.producer.empty() ? "" : " by ", track.track.producer));
    if (track.frames == 0)
        return text;
    text += Line("format", Format(track));
    text += Line("stored", Stored(track));
    text += Line("time", Times(track));
    text += Line("sequence", Sequence(track));
    return text + Line("intervals", Intervals(track));
}

std::string EventsText(const TRecordingInfo& info)
{
    const auto seconds = [](const auto& key) { return static_cast<double>(key.total_microseconds()) / 1e6; };
    std::string text = fmt::format("\n{}: {}", info.events_file, Plural(info.events.events, "event"));
    if (!info.events.first.is_special())
        text += fmt::format(", from {:.6f} s to {:.6f} s", seconds(info.events.first), seconds(info.events.last));
    text += '\n';
    for (const auto& [id, count] : info.events.counts)
        text += fmt::format("  {:<12}{:>9}\n", id, count);
    return text;
}

std::string MembersText(const std::vector<TMemberInfo>& members)
{
    std::string text = fmt::format("\nother members: {}\n", members.size());
    for (std::size_t i = 0; i < std::min(members.size(), most_members); ++i)
        text += fmt::format("  {:<30}{:>12}\n", OneLine(members[i].name), BytesText(members[i].bytes));
    if (members.size() > most_members)
        text += fmt::format("  and {} more\n", members.size() - most_members);
    return text;
}

}  // namespace

std::string InfoText(const TRecordingInfo& info)
{
    std::uint64_t frames = 0;
    for (const TTrackInfo& track : info.tracks)
        frames += track.frames;
    std::string text;
    if (!info.archive.empty())
        text = fmt::format("{}: {}, {}, {}\n", info.archive, Plural(info.tracks.size(), "camera"),
                           Plural(frames, "frame"), BytesText(info.bytes));
    for (const TTrackInfo& track : info.tracks)
        text += TrackText(track);
    if (!info.others.empty())
        text += MembersText(info.others);
    if (!info.events_file.empty())
        text += EventsText(info);
    if (!info.damage.empty() || !info.events.damage.empty())
        text += "\ndamage\n";
    for (const auto* const damages : {&info.damage, &info.events.damage})
        for (const rec::TDamage& damage : *damages)
            text += fmt::format("  {}\n", DamageLine(damage));
    // Without frames the events are the first thing told.
    return text.substr(text.find_first_not_of('\n'));
}

}  // namespace host
