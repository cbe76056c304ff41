#include "commands/run.h"

#include <fmt/format.h>
#include <unistd.h>
#include <cerrno>
#include <map>
#include <memory>
#include <optional>
#include <system_error>
#include <utility>

#include "commands/camera_names.h"
#include "commands/fault_list.h"
#include "dev/camera.h"
#include "dev/camera_map.h"
#include "rig/check.h"
#include "rig/load.h"
#include "run/camera_talk.h"
#include "run/profile.h"
#include "run/rig_run.h"
#include "run/trace_file.h"
#include "system/console.h"
#include "system/modules.h"
#include "video/live_camera.h"
#include "video/video_keys.h"

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
            LoadDevice(*cameras_.back(), device, rig);
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

using LiveCameras = std::map<std::string, std::unique_ptr<CLiveCamera>>;

/// Opens what can be opened and tells of the rest, and of what a camera refuses; fewer than chosen when some failed.
LiveCameras OpenCameras(const TRig& rig, const std::vector<std::string>& chosen, CLoadedCameras& loaded,
                        CModules& modules, CCameraTalk& talk, CFaultList& faults, CConsole& console)
{
    LiveCameras live;
    for (const std::string& name : chosen) {
        try {
            live[name] = std::make_unique<CLiveCamera>(rig, *rig.Find(name), loaded[name], modules, talk.Of(name));
            for (const TFault& fault : live[name]->Refused()) {
                const std::string text = Text(rig.file.string(), fault);
                console.Say(text);
                talk.Note("error", text);
            }
        } catch (const std::exception& error) {
            live.erase(name);
            faults.Add(error.what());
        }
    }
    return live;
}

/// The names under which a recording tells of the cameras' settings.
CEventLog::Names SettingNames(const LiveCameras& live)
{
    CEventLog::Names names;
    for (const auto& [camera, each] : live)
        for (const auto& [name, attribute] : each->Settings().All())
            names[attribute->Id()] = camera + ' ' + name;
    return names;
}

/// Tells what became of it; false when something could not be kept.
bool SaveSettings(const std::filesystem::path& rig, const LiveCameras& live, CConsole& console)
{
    std::vector<TVideoValue> values;
    std::vector<std::string> faults;
    for (const auto& [camera, each] : live)
        for (TVideoValue& value : CurrentValues(camera, each->Settings(), faults))
            values.push_back(std::move(value));
    try {
        const TVideoSaved saved = SaveVideoValues(rig, values, std::move(faults));
        for (const std::string& fault : saved.faults)
            console.Say(fault);
        std::string text = ChangesText(rig, saved);
        text.pop_back();
        console.Say(text);
        return saved.faults.empty();
    } catch (const std::exception& error) {
        console.Say(fmt::format("the settings are not saved: {}", error.what()));
        return false;
    }
}

/// A folder per camera; why one cannot be written to, or nothing.
std::string MakeFolders(const std::filesystem::path& output, const std::vector<std::string>& cameras)
{
    for (const std::string& camera : cameras) {
        const auto folder = output / camera;
        std::error_code error;
        std::filesystem::create_directories(folder, error);
        if (!error && access(folder.c_str(), W_OK | X_OK) != 0)
            error.assign(errno, std::generic_category());
        if (!error)
            continue;
        return fmt::format("--output: {}: found {}, wanted a folder that can be written to", folder.string(),
                           error.message());
    }
    return {};
}

/// The report of a profile is a result, unless it would spoil one that programs read: then it is talk.
void WriteProfile(CProfile& profile, bool as_talk, CConsole& console)
{
    CConsole::CCapture capture;
    profile.PrintReport();
    const std::string text = fmt::format("{}", fmt::join(capture.Lines(), "\n"));
    as_talk ? console.Say(text) : WriteResult('\n' + text + '\n');
}

void WriteReport(const TRunOptions& options, const TRunReport& report, CConsole& console)
{
    if (options.digests && !options.json) {
        console.Say(ReportText(report));
        WriteResult(DigestLines(report));
    } else {
        WriteResult(options.json ? ReportJson(report) : ReportText(report));
    }
    for (const std::string& imbalance : Imbalances(report))
        console.Say("the sums do not close: " + imbalance);
}

ExitCode Run(const TRunOptions& options, CFaultList& faults, CConsole& console)
{
    CModules modules;
    TRig rig;
    const bool record = !options.record.folder.empty();
    const std::string rig_text = record ? FileBytes(options.rig) : std::string();
    if (!faults.CanRun(CheckRig(options.rig, &modules, &rig, options.overrides), options.cameras,
                       !options.overrides.empty()))
        return Failed;

    const auto refuse = [&](ExitCode code, const std::string& text) {
        faults.Add(text);
        return code;
    };
    const auto names = CameraNames(rig);
    if (!faults.AreCameras(options.cameras, names))
        return BadArguments;
    const auto chosen = Chosen(options.cameras, names);
    if (chosen.empty())
        return refuse(Failed, fmt::format("{}: found no camera, wanted one to run", options.rig.string()));
    const std::string record_fault = record ? RecordFault(options.record, rig, chosen) : std::string();
    if (!record_fault.empty())
        return refuse(BadArguments, record_fault);
    const std::string output_fault = options.output.empty() ? "" : MakeFolders(options.output, chosen);
    if (!output_fault.empty())
        return refuse(Failed, output_fault);

    CLoadedCameras loaded(rig, modules, console);
    CCameraTalk talk(console);
    std::unique_ptr<CRecorder> recorder;  // sources that go tell it
    const LiveCameras live = OpenCameras(rig, chosen, loaded, modules, talk, faults, console);
    if (live.size() < chosen.size())
        return Failed;
    // After the sources, so that one that does not open leaves no recording and no empty trace.
    std::optional<CTraceFile> trace;
    if (!options.trace.empty())
        trace.emplace(options.trace, console);
    if (record)
        recorder = MakeRecorder(options.record, rig, rig_text, chosen, SettingNames(live), console);
    talk.RecordWith(recorder.get());
    std::vector<TReadyCamera> ready;
    for (const std::string& name : chosen)
        ready.push_back({name, live.at(name).get(), RecordNode(*rig.Find(name))});
    CProfile profile(trace ? &*trace : nullptr);
    const TRunLimits limits{
        options.frames, options.seconds, options.output, options.digests, options.profile || trace ? &profile : nullptr,
        recorder.get(), options.tune};
    const TRunReport report = RunCameras(options.rig.string(), ready, limits, console);
    faults.Begin();
    WriteReport(options, report, console);
    if (options.profile)
        WriteProfile(profile, options.json || options.digests, console);
    const bool saved = !options.save || SaveSettings(options.rig, live, console);
    const bool trace_whole = !trace || trace->Close();
    const ExitCode code = saved ? CodeOf(report) : Failed;
    return code == Done && !trace_whole ? DataLost : code;
}

}  // namespace

ExitCode Run(const TRunOptions& options, CConsole& console)
{
    CFaultList faults(options.rig.string(), options.json, console);
    return faults.Guard([&] { return Run(options, faults, console); });
}

}  // namespace host
