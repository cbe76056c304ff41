#include "commands/save.h"

#include <utility>

#include "commands/camera_names.h"
#include "commands/fault_json.h"
#include "commands/fault_list.h"
#include "rig/check.h"
#include "rig/source.h"
#include "run/camera_talk.h"
#include "system/console.h"
#include "system/modules.h"
#include "video/video_keys.h"

namespace host {

namespace {

Json AsJson(const TVideoChange& change)
{
    Json json = {{"camera", change.camera}, {"key", change.key}, {"before", nullptr}, {"after", change.after}};
    if (change.before)
        json["before"] = *change.before;
    return json;
}

std::string AsJson(const std::string& rig, const TVideoSaved& saved)
{
    Json changes = Json::array();
    for (const TVideoChange& change : saved.changes)
        changes.push_back(AsJson(change));
    std::vector<TFault> faults;
    for (const std::string& text : saved.faults)
        faults.push_back(FaultFromText(0, {}, {}, text));
    return JsonText(
        {{"rig", rig}, {"changes", changes}, {"unchanged", saved.unchanged}, {"faults", FaultsAsJson(rig, faults)}});
}

ExitCode Save(const TSaveOptions& options, CFaultList& faults, CConsole& console)
{
    CModules modules;
    TRig rig;
    if (!faults.CanRun(CheckRig(options.rig, &modules, &rig), options.cameras, false))
        return Failed;
    const auto names = CameraNames(rig);
    if (!faults.AreCameras(options.cameras, names))
        return BadArguments;

    CCameraTalk talk(console);
    std::vector<TVideoValue> values;
    std::vector<std::string> failures;
    for (const std::string& name : Chosen(options.cameras, names)) {
        try {
            const auto source = OpenSource(rig, *rig.Find(name), modules, talk.Of(name));
            for (TVideoValue& value : CurrentValues(name, CVideoAttributes(*source), failures))
                values.push_back(std::move(value));
        } catch (const std::exception& error) {
            failures.emplace_back(error.what());
        }
    }
    const TVideoSaved saved = SaveVideoValues(options.rig, values, std::move(failures));
    faults.Begin();
    for (const std::string& fault : saved.faults)
        console.Say(fault);
    WriteResult(options.json ? AsJson(options.rig.string(), saved) : ChangesText(options.rig, saved));
    return saved.faults.empty() ? Done : Failed;
}

}  // namespace

ExitCode Save(const TSaveOptions& options, CConsole& console)
{
    CFaultList faults(options.rig.string(), options.json, console);
    return faults.Guard([&] { return Save(options, faults, console); });
}

}  // namespace host
