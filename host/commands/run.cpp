#include "commands/run.h"

#include <fmt/format.h>
#include <unistd.h>
#include <algorithm>
#include <cerrno>
#include <memory>
#include <optional>
#include <system_error>

#include "commands/camera_names.h"
#include "dev/camera.h"
#include "dev/camera_map.h"
#include "rig/check.h"
#include "rig/load.h"
#include "rig/source.h"
#include "run/profile.h"
#include "run/rig_run.h"
#include "run/trace_file.h"
#include "system/console.h"
#include "system/modules.h"

namespace host {

namespace {

/// The cameras of a rig, each with its tree. All are loaded, also those that will not run, for a plugin may ask for any
/// camera by its name.
class CLoadedCameras
{
public:
    /// The rig was found without fault, so what the library warns of is what the rig leaves out on purpose.
    CLoadedCameras(const TRig& rig, CModules& modules, const CConsole& console)
    {
        std::optional<CConsole::CCapture> quiet;
        if (!console.Verbose())
            quiet.emplace();
        for (const TDevice& device : rig.devices) {
            if (device.type != DeviceType::Camera)
                continue;
            cameras_.push_back(std::make_unique<dev::CCamera>());
            LoadDevice(*cameras_.back(), device, rig.version);
            map_.Insert(device.name, *cameras_.back());
            AddNodes(*cameras_.back(), rig, device, modules);
        }
        for (const auto& camera : cameras_)
            for (const std::string& node : camera->Sources())
                camera->Preprocess_Find(node)->Connect(map_);
    }
    ~CLoadedCameras()
    {
        for (const auto& camera : cameras_)
            camera->On_ShutDown();
    }
    CLoadedCameras(const CLoadedCameras&) = delete;
    CLoadedCameras& operator=(const CLoadedCameras&) = delete;

    dev::CCamera& operator[](const std::string& name) { return map_[name]; }

private:
    dev::CCameraMap map_;
    std::vector<std::unique_ptr<dev::CCamera>> cameras_;
};

/// Opens what can be opened and tells of the rest; fewer than chosen when some failed.
std::vector<TReadyCamera> OpenSources(const TRig& rig, const std::vector<std::string>& chosen, CLoadedCameras& loaded,
                                      CModules& modules, CConsole& console)
{
    std::vector<TReadyCamera> ready;
    for (const std::string& name : chosen) {
        try {
            const TDevice& camera = *rig.Find(name);
            ready.push_back({name, &loaded[name], OpenSource(rig, camera, modules), RecordNode(camera)});
        } catch (const std::exception& error) {
            console.Say(error.what());
        }
    }
    return ready;
}

/// A folder per camera; false, having told why, when one cannot be written to.
bool MakeFolders(const std::filesystem::path& output, const std::vector<std::string>& cameras, CConsole& console)
{
    for (const std::string& camera : cameras) {
        const auto folder = output / camera;
        std::error_code error;
        std::filesystem::create_directories(folder, error);
        if (!error && access(folder.c_str(), W_OK | X_OK) != 0)
            error.assign(errno, std::generic_category());
        if (!error)
            continue;
        console.Say(fmt::format("--output: {}: found {}, wanted a folder that can be written to", folder.string(),
                                error.message()));
        return false;
    }
    return true;
}

/// Tells of the faults; true when none of them is in the way. A camera that will not run need not have its source, and
/// where other sources stand in for the rig's, the folder of its data may be gone.
bool CanRun(const TCheck& check, const TRunOptions& options, CConsole& console)
{
    bool can_run = true;
    for (const TFault& fault : check.faults) {
        console.Say(Text(options.rig.string(), fault));
        const bool idle = !options.cameras.empty() && std::find(options.cameras.begin(), options.cameras.end(),
                                                                fault.section) == options.cameras.end();
        const bool of_data = !options.overrides.empty() && fault.section == "RIG" && fault.key == "DATA DIR";
        can_run = can_run && ((idle && fault.of_source) || of_data);
    }
    return can_run;
}

/// The report of a profile is a result, unless it would spoil one that programs read: then it is talk.
void WriteProfile(CProfile& profile, bool as_talk, CConsole& console)
{
    CConsole::CCapture capture;
    profile.PrintReport();
    const std::string text = fmt::format("{}", fmt::join(capture.Lines(), "\n"));
    as_talk ? console.Say(text) : WriteResult('\n' + text + '\n');
}

}  // namespace

ExitCode Run(const TRunOptions& options, CConsole& console)
{
    CModules modules;
    TRig rig;
    const bool record = !options.record.folder.empty();
    const std::string rig_text = record ? FileBytes(options.rig) : std::string();
    if (!CanRun(CheckRig(options.rig, &modules, &rig, options.overrides), options, console))
        return Failed;

    const auto names = CameraNames(rig);
    if (!AllAreCameras(options.cameras, names, console))
        return BadArguments;
    const auto chosen = Chosen(options.cameras, names);
    if (chosen.empty()) {
        console.Say(fmt::format("{}: found no camera, wanted one to run", options.rig.string()));
        return Failed;
    }

    const std::string record_fault = record ? RecordFault(options.record, rig, chosen) : std::string();
    if (!record_fault.empty()) {
        console.Say(record_fault);
        return BadArguments;
    }
    if (!options.output.empty() && !MakeFolders(options.output, chosen, console))
        return Failed;
    CLoadedCameras loaded(rig, modules, console);
    auto ready = OpenSources(rig, chosen, loaded, modules, console);
    if (ready.size() < chosen.size())
        return Failed;
    // After the sources, so that one that does not open leaves no recording and no empty trace.
    std::optional<CTraceFile> trace;
    if (!options.trace.empty())
        trace.emplace(options.trace, console);
    std::unique_ptr<CRecorder> recorder;
    if (record)
        recorder = MakeRecorder(options.record, rig, rig_text, chosen, console);
    CProfile profile(trace ? &*trace : nullptr);
    const TRunLimits limits{
        options.frames, options.seconds, options.output, options.digests, options.profile || trace ? &profile : nullptr,
        recorder.get()};
    const TRunReport report = RunCameras(options.rig.string(), std::move(ready), limits, console);
    if (options.digests && !options.json) {
        console.Say(ReportText(report));
        WriteResult(DigestLines(report));
    } else {
        WriteResult(options.json ? ReportJson(report) : ReportText(report));
    }
    if (options.profile)
        WriteProfile(profile, options.json || options.digests, console);
    for (const std::string& imbalance : Imbalances(report))
        console.Say("the sums do not close: " + imbalance);
    const bool trace_whole = !trace || trace->Close();
    const ExitCode code = CodeOf(report);
    return code == Done && !trace_whole ? DataLost : code;
}

}  // namespace host
