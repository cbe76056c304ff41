#include "commands/run.h"

#include <fmt/format.h>
#include <unistd.h>
#include <algorithm>
#include <cerrno>
#include <memory>
#include <system_error>

#include "dev/camera.h"
#include "dev/camera_map.h"
#include "rig/check.h"
#include "rig/load.h"
#include "rig/nearest.h"
#include "rig/source.h"
#include "run/rig_run.h"
#include "system/console.h"
#include "system/modules.h"

namespace host {

namespace {

/// The cameras of a rig, each with its tree. All are loaded, also those that will not run, for a plugin may ask for any
/// camera by its name.
class CLoadedCameras
{
public:
    CLoadedCameras(const TRig& rig, CModules& modules)
    {
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

std::vector<std::string> CameraNames(const TRig& rig)
{
    std::vector<std::string> names;
    for (const TDevice& device : rig.devices)
        if (device.type == DeviceType::Camera)
            names.push_back(device.name);
    return names;
}

/// Tells of names that are no camera's; true when there is none.
bool AllAreCameras(const std::vector<std::string>& chosen, const std::vector<std::string>& names, CConsole& console)
{
    bool all = true;
    for (const std::string& name : chosen) {
        if (std::find(names.begin(), names.end(), name) != names.end())
            continue;
        const std::string nearest = Nearest(name, names);
        console.Say(fmt::format("--cameras: found {}, wanted one of {}{}", Quoted(name), fmt::join(names, ", "),
                                nearest.empty() ? "" : "; did you mean \"" + nearest + "\"?"));
        all = false;
    }
    return all;
}

/// Opens what can be opened and tells of the rest; fewer than chosen when some failed.
std::vector<TReadyCamera> OpenSources(const TRig& rig, const std::vector<std::string>& chosen, CLoadedCameras& loaded,
                                      CModules& modules, CConsole& console)
{
    std::vector<TReadyCamera> ready;
    for (const std::string& name : chosen) {
        try {
            ready.push_back({name, &loaded[name], OpenSource(rig, *rig.Find(name), modules)});
        } catch (const std::exception& error) {
            console.Say(error.what());
        }
    }
    return ready;
}

/// In the order of the rig, each once.
std::vector<std::string> Chosen(const TRunOptions& options, const std::vector<std::string>& names)
{
    if (options.cameras.empty())
        return names;
    std::vector<std::string> chosen;
    std::copy_if(names.begin(), names.end(), std::back_inserter(chosen), [&](const std::string& name) {
        return std::find(options.cameras.begin(), options.cameras.end(), name) != options.cameras.end();
    });
    return chosen;
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

/// Tells of the faults; true when none of them is in the way. A camera that will not run need not have its source.
bool CanRun(const TCheck& check, const TRunOptions& options, CConsole& console)
{
    bool can_run = true;
    for (const TFault& fault : check.faults) {
        console.Say(Text(options.rig.string(), fault));
        const bool idle = !options.cameras.empty() && std::find(options.cameras.begin(), options.cameras.end(),
                                                                fault.section) == options.cameras.end();
        can_run = can_run && idle && fault.of_source;
    }
    return can_run;
}

}  // namespace

ExitCode Run(const TRunOptions& options, CConsole& console)
{
    CModules modules;
    TRig rig;
    if (!CanRun(CheckRig(options.rig, &modules, &rig), options, console))
        return Failed;

    const auto names = CameraNames(rig);
    if (!AllAreCameras(options.cameras, names, console))
        return BadArguments;
    const auto chosen = Chosen(options, names);
    if (chosen.empty()) {
        console.Say(fmt::format("{}: found no camera, wanted one to run", options.rig.string()));
        return Failed;
    }

    if (!options.output.empty() && !MakeFolders(options.output, chosen, console))
        return Failed;
    CLoadedCameras loaded(rig, modules);
    auto ready = OpenSources(rig, chosen, loaded, modules, console);
    if (ready.size() < chosen.size())
        return Failed;
    const TRunLimits limits{options.frames, options.seconds, options.output};
    const TRunReport report = RunCameras(options.rig.string(), std::move(ready), limits, console);
    WriteResult(options.json ? ReportJson(report) : ReportText(report));
    for (const std::string& imbalance : Imbalances(report))
        console.Say("the sums do not close: " + imbalance);
    return CodeOf(report);
}

}  // namespace host
