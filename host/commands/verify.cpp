#include "commands/verify.h"

#include <fmt/format.h>
#include <optional>
#include <string>
#include <vector>

#include "record/contents.h"
#include "record/damage_json.h"
#include "record/event_file.h"
#include "system/console.h"
#include "system/progress.h"
#include "system/quantities.h"

namespace host {

namespace fs = std::filesystem;

namespace {

struct TFrameCounts
{
    std::uint64_t checked = 0;  ///< with those that are damaged
    std::uint64_t damaged = 0;
    std::uint64_t unchecked = 0;  ///< that can be read, but have no checksum
};

struct TVerification
{
    std::optional<TFrameCounts> frames;  ///< none: no archive, or one that cannot be opened
    std::optional<TEventFile> events;    ///< likewise
    std::vector<rec::TDamage> damage;
    std::vector<std::string> unreadable;
};

void CheckFrame(rec::CRecording& recording, std::size_t track, std::size_t frame, TVerification& result)
{
    TFrameCounts& counts = *result.frames;
    try {
        if (recording.Check(track, frame))
            ++counts.checked;
        else
            ++counts.unchecked;
    } catch (const rec::damaged_frame& error) {
        ++counts.checked;
        ++counts.damaged;
        result.damage.push_back(error.Damage());
    }
}

void CheckFrames(const fs::path& archive, CConsole& console, TVerification& result)
{
    const auto recording = OpenQuietly(archive);
    result.frames.emplace();
    result.damage = recording->Damage();
    const std::size_t tracks = recording->Tracks().size();
    std::uint64_t bytes = 0;
    for (std::size_t track = 0; track < tracks; ++track)
        for (std::size_t frame = 0; frame < recording->Frames(track); ++frame)
            bytes += recording->Block(track, frame).size;
    CProgress progress(console, "checking", bytes);
    for (std::size_t track = 0; track < tracks; ++track)
        for (std::size_t frame = 0; frame < recording->Frames(track); ++frame) {
            CheckFrame(*recording, track, frame, result);
            progress.Step(recording->Block(track, frame).size);
        }
}

TVerification VerifyAll(const fs::path& path, CConsole& console)
{
    TVerification result;
    const auto read = [&](const auto& part) {
        try {
            part();
        } catch (const std::exception& error) {
            result.unreadable.push_back(error.what());
        }
    };
    TContents contents;
    read([&] { contents = FindContents(path); });
    if (!contents.frames.empty())
        read([&] { CheckFrames(contents.frames, console, result); });
    if (!contents.events.empty())
        read([&] { result.events = ReadEventFile(contents.events); });
    if (result.events)
        result.damage.insert(result.damage.end(), result.events->damage.begin(), result.events->damage.end());
    return result;
}

ExitCode CodeOf(const TVerification& result)
{
    if (!result.frames && !result.events)
        return Failed;
    return result.damage.empty() && result.unreadable.empty() ? Done : DataLost;
}

std::string AsText(const std::string& path, const TVerification& result)
{
    std::string text;
    std::string sums;
    for (const rec::TDamage& damage : result.damage)
        text += DamageLine(damage) + '\n';
    if (result.frames) {
        const std::size_t in_events = result.events ? result.events->damage.size() : 0;
        const std::uint64_t elsewhere = result.damage.size() - result.frames->damaged - in_events;
        sums +=
            fmt::format(", {} checked, {} damaged", Plural(result.frames->checked, "frame"), result.frames->damaged);
        if (result.frames->unchecked > 0)
            sums += fmt::format(", {} without a checksum", result.frames->unchecked);
        if (elsewhere > 0)
            sums += fmt::format(", {} beside the frames", Plural(elsewhere, "damage"));
    }
    if (result.events)
        sums += fmt::format(", {} read, {} damaged", Plural(result.events->events, "event"),
                            Plural(result.events->damage.size(), "line"));
    if (!result.unreadable.empty())
        sums += fmt::format(", {} unreadable", Plural(result.unreadable.size(), "file"));
    return text + path + ": " + sums.substr(2) + '\n';
}

std::string AsJson(const std::string& path, const TVerification& result)
{
    Json frames = nullptr;
    if (result.frames)
        frames = {{"checked", result.frames->checked},
                  {"damaged", result.frames->damaged},
                  {"unchecked", result.frames->unchecked}};
    Json events = nullptr;
    if (result.events)
        events = {{"read", result.events->events}, {"damaged_lines", result.events->damage.size()}};
    const ExitCode code = CodeOf(result);
    return JsonText({{"path", path},
                     {"verdict", code == Done     ? "clean"
                                 : code == Failed ? "unreadable"
                                                  : "damaged"},
                     {"frames", frames},
                     {"events", events},
                     {"damage", DamageJson(result.damage)},
                     {"unreadable", result.unreadable}});
}

}  // namespace

ExitCode Verify(const TVerifyOptions& options, CConsole& console)
{
    const std::string path = NameOf(options.path);
    const TVerification result = VerifyAll(options.path, console);
    for (const std::string& each : result.unreadable)
        console.Say(each);
    WriteResult(options.json ? AsJson(path, result) : AsText(path, result));
    return CodeOf(result);
}

}  // namespace host
