#include "rig/load.h"

#include <fmt/format.h>
#include <stdexcept>

#include "base/number_text.h"
#include "dev/camera.h"
#include "system/modules.h"

namespace host {

namespace {

/// The life-cycle operations of a device hide those of its bases: they must be called on its own type.
template <typename Device>
void Load(Device& device, const TDevice& settings, hws::Version version)
{
    device.Rename(settings.name);
    device.LoadParams(settings.settings, version);
    device.On_Initialization();
}

void AddNode(dev::CCamera& camera, const TRig& rig, const TDevice& settings, const TNodeLine& line, CModules& modules)
{
    try {
        modules.NeedOperation(base::Tokens(line.text, " \t;").at(0));
        if (camera.Preprocess_Add(line.text) != nullptr)
            return;
        throw std::runtime_error("the node could not be added");
    } catch (const std::exception& error) {
        throw std::runtime_error(
            Text(rig.file.string(),
                 {settings.settings.Line(line.key), settings.name, line.key, Quoted(line.text), error.what(), {}}));
    }
}

}  // namespace

void LoadDevice(dev::CDevice& device, const TDevice& settings, hws::Version version)
{
    Load(device, settings, version);
}

void LoadDevice(dev::CSensor& sensor, const TDevice& settings, hws::Version version)
{
    Load(sensor, settings, version);
}

void LoadDevice(dev::CCamera& camera, const TDevice& settings, const TRig& rig)
{
    camera.LoadLUTs(settings.settings, rig.paths);
    Load(camera, settings, rig.version);
}

void AddNodes(dev::CCamera& camera, const TRig& rig, const TDevice& settings, CModules& modules)
{
    for (const TNodeLine& line : NodeLines(settings))
        AddNode(camera, rig, settings, line, modules);
    std::string name;
    if (settings.settings.efind("OUTPUT", name))
        camera.SetAsOut(name);
    if (settings.settings.efind("RECORD", name))
        camera.SetAsRecOut(name);
}

}  // namespace host
