#include "commands/replay.h"

#include <fmt/format.h>
#include <algorithm>

#include "commands/camera_names.h"
#include "commands/fault_list.h"
#include "record/contents.h"
#include "rig/rig.h"
#include "system/console.h"

namespace host {

namespace fs = std::filesystem;

namespace {

/// The cameras of the rig that have a track, in the order of the rig. Tells of tracks and cameras that have no partner.
std::vector<std::string> CamerasWithTrack(const fs::path& rig, const std::vector<rec::TTrack>& tracks,
                                          CConsole& console)
{
    std::vector<TFault> ignored;  // the run tells them
    const auto cameras = CameraNames(ReadRig(rig, ignored));
    std::vector<std::string> found;
    for (const std::string& camera : cameras) {
        const bool recorded =
            std::any_of(tracks.begin(), tracks.end(), [&](const rec::TTrack& track) { return track.name == camera; });
        if (recorded)
            found.push_back(camera);
        else
            console.Say(fmt::format("{}: has no track in the recording and does not run", camera));
    }
    for (const rec::TTrack& track : tracks) {
        if (std::find(cameras.begin(), cameras.end(), track.name) == cameras.end())
            console.Say(fmt::format("{}: found no such camera in {}; its track is left out", OneLine(track.name),
                                    rig.string()));
        else if (!track.node.empty() && track.node != "Source")
            console.Say(fmt::format("{}: the recording holds what its node {} made; it enters the tree at \"Source\"",
                                    track.name, Quoted(track.node)));
    }
    return found;
}

/// Puts the recording in the place of the rig's sources; anything but Done when that cannot be.
ExitCode Prepare(const fs::path& path, const std::string& rate, TRunOptions& run, CFaultList& faults, CConsole& console)
{
    const TContents contents = FindContents(path);
    if (contents.frames.empty())
        throw std::runtime_error(fmt::format("{}: found no frames, wanted a recording", path.string()));
    if (run.rig.empty())
        run.rig = contents.rig;
    if (run.rig.empty()) {
        faults.Add(fmt::format("{}: found no folder with a {}, wanted one, or a rig as second argument", NameOf(path),
                               rec::rig_file));
        return BadArguments;
    }

    const auto recording = OpenQuietly(contents.frames);
    const auto recorded = CamerasWithTrack(run.rig, recording->Tracks(), console);
    if (recorded.empty()) {
        faults.Add(fmt::format("{}: found no camera of {}, wanted one to run", NameOf(path), run.rig.string()));
        return Failed;
    }
    const auto unknown = UnknownCameras(run.cameras, recorded);
    for (const std::string& text : unknown)
        faults.Add(text);
    if (!unknown.empty())
        return BadArguments;
    run.cameras = Chosen(run.cameras, recorded);
    const std::string archive = fs::absolute(contents.frames).string();
    for (const std::string& camera : run.cameras) {
        run.overrides.push_back({camera, "SOURCE", fmt::format("replay:{}#{}", archive, camera)});
        run.overrides.push_back({camera, "REPLAY RATE", rate});
        run.overrides.push_back({camera, "LOOP", "FALSE"});  // of the recorded source, perhaps
    }
    return Done;
}

}  // namespace

ExitCode Replay(TReplayOptions options, CConsole& console)
{
    CFaultList faults(options.run.rig.string(), options.run.json, console);
    return faults.Guard([&] {
        const ExitCode code = Prepare(options.path, options.rate, options.run, faults, console);
        if (code != Done)
            return code;
        faults.Begin();  // the run's result, or its faults
        return Run(options.run, console);
    });
}

}  // namespace host
