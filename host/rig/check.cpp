#include "rig/check.h"

#include <fmt/format.h>
#include <algorithm>
#include <map>
#include <set>
#include <utility>

#include "rig/check_settings.h"
#include "rig/check_tree.h"
#include "rig/luts.h"
#include "rig/nearest.h"
#include "rig/source.h"
#include "system/console.h"
#include "system/modules.h"

namespace host {

namespace {

bool HasPose(const TDevice& device)
{
    return device.type != DeviceType::Device;
}

std::string RelativeTo(const TDevice& device)
{
    return HasPose(device) ? ValueOr(device.settings, "RELATIVE TO", {}) : std::string();
}

void AddRelativeFault(const TDevice& device, const std::string& found, const std::string& wanted,
                      const std::string& suggestion, std::vector<TFault>& faults)
{
    faults.push_back({device.settings.Line("RELATIVE TO"), device.name, "RELATIVE TO", found, wanted, suggestion});
}

/// The devices that the pose of `device` leads through, itself first, until one is absolute or comes a second time.
std::vector<const TDevice*> PoseChain(const TRig& rig, const TDevice& device)
{
    std::vector<const TDevice*> chain;
    for (const TDevice* each = &device; each != nullptr; each = rig.Find(RelativeTo(*each))) {
        const bool again = std::find(chain.begin(), chain.end(), each) != chain.end();
        chain.push_back(each);
        if (again)
            break;
    }
    return chain;
}

void CheckRelativeTo(const TRig& rig, const TDevice& device, std::vector<TFault>& faults)
{
    const std::string name = RelativeTo(device);
    if (name.empty())
        return;
    const TDevice* const target = rig.Find(name);
    if (target == nullptr || !HasPose(*target)) {
        if (std::find(rig.unread.begin(), rig.unread.end(), name) != rig.unread.end())
            return;  // told of as a section without a type
        std::vector<std::string> candidates;
        for (const TDevice& each : rig.devices)
            if (HasPose(each) && &each != &device)
                candidates.push_back(each.name);
        return AddRelativeFault(device, Quoted(name), "the name of a SENSOR or CAMERA section",
                                Nearest(name, candidates), faults);
    }
    const auto chain = PoseChain(rig, device);
    if (chain.size() > 1 && chain.back() == &device) {
        std::string ring;
        for (const TDevice* const each : chain)
            ring += (ring.empty() ? "" : " -> ") + each->name;
        AddRelativeFault(device, fmt::format("a ring: {}", ring), "poses that end at an absolute one", {}, faults);
    }
}

using Values = std::map<std::string, std::string>;

/// An ideal camera, which every operation accepts: what stands in for a projection with faults, all of it, for its keys
/// depend on each other.
const Values& IdealProjection()
{
    static const Values values = {{"CAMERA MODEL", "PINHOLE"},   {"DISTORTION MODEL", "NO_DISTORTION"},
                                  {"DISTORTION CENTER", "0, 0"}, {"DISTORTION K", "0"},
                                  {"DISTORTION K RATIO", "0"},   {"OPTICAL CENTER", "1, 1"},
                                  {"ANGULAR FOV", "1, 1"},       {"PIXEL FOCAL LENGTH", "1, 1"}};
    return values;
}

/// Makes the section one that a camera loads for a trial of its node lines: what is faulty has been told of, and is
/// replaced in memory. False when that cannot be, because there is no telling what the camera's images are.
bool MakeLoadable(const TDevice& camera, const std::vector<TFault>& faults)
{
    static const Values poses = {{"POSITION", "0, 0, 0"},
                                 {"ORIENTATION", "0, 0, 0"},
                                 {"RELATIVE POSITION", "0, 0, 0"},
                                 {"RELATIVE ORIENTATION", "0, 0, 0"}};
    Values replacements;
    for (const TFault& fault : faults) {
        if (fault.section != camera.name)
            continue;
        if (fault.key == "FB")
            return false;
        for (const Values* const values : {&poses, &IdealProjection()})
            if (values->count(fault.key) > 0)
                replacements.insert(values->begin(), values->end());
    }
    for (const auto& [key, value] : replacements)
        camera.settings.set(key, value);
    return true;
}

/// The driver whose source another one replaces still has its keys in the file. False when they are not known.
bool AddReplacedKeys(const TDevice& camera, CModules& modules, std::vector<std::string>& keys)
{
    const auto source = SplitSource(camera.replaced_source);
    if (!source)
        return camera.replaced_source.empty();
    try {
        const auto more = modules.Driver(source->scheme).Keys();
        keys.insert(keys.end(), more.begin(), more.end());
        return true;
    } catch (const std::exception&) {
        return false;  // a recording may be replayed where there is no such driver
    }
}

void CheckCamera(const TRig& rig, const TDevice& camera, CModules* modules, TCheck& check)
{
    std::vector<std::string> driver_keys;
    const bool driver_known = modules != nullptr && CheckSource(rig, camera, *modules, driver_keys, check.faults) &&
                              AddReplacedKeys(camera, *modules, driver_keys);
    CheckSettings(rig, camera, driver_known ? &driver_keys : nullptr, check.faults);
    CheckLuts(rig, camera, modules != nullptr, check.faults);

    const bool try_lines = modules != nullptr && MakeLoadable(camera, check.faults);
    if (modules != nullptr && !try_lines && !NodeLines(camera).empty())
        check.notes.push_back(fmt::format(
            "[{}] the options of its node lines were not tried, because of the fault in its FB", camera.name));
    CheckTree(rig, camera, modules, try_lines, check.faults);
}

/// Some drivers check keys that every camera has, too. What is told of one is told once, by who weighs more.
void DropRepeated(std::vector<TFault>& faults)
{
    std::set<std::pair<std::string, std::string>> told;
    for (const TFault& fault : faults)
        if (!fault.of_source)
            told.insert({fault.section, fault.key});
    const auto is_repeated = [&told](const TFault& fault) {
        return fault.of_source && told.count({fault.section, fault.key}) > 0;
    };
    faults.erase(std::remove_if(faults.begin(), faults.end(), is_repeated), faults.end());
}

}  // namespace

TCheck CheckRig(const std::filesystem::path& file, CModules* modules, TRig* rig,
                const std::vector<TOverride>& overrides)
{
    const CConsole::CCapture quiet;
    TCheck check;
    *rig = ReadRig(file, check.faults);
    Override(overrides, *rig);
    for (const TDevice& device : rig->devices) {
        if (device.type == DeviceType::Camera)
            CheckCamera(*rig, device, modules, check);
        else
            CheckSettings(*rig, device, nullptr, check.faults);
        CheckRelativeTo(*rig, device, check.faults);
    }
    DropRepeated(check.faults);
    SortByLine(check.faults);
    return check;
}

TCheck CheckRig(const std::filesystem::path& file, CModules* modules)
{
    TRig rig;
    return CheckRig(file, modules, &rig);
}

}  // namespace host
