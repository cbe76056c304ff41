#include "rig/source.h"

#include <fmt/format.h>
#include <stdexcept>
#include <utility>

#include "rig/nearest.h"
#include "system/modules.h"

namespace host {

namespace {

capture::TRequest Request(const TRig& rig, const TDevice& camera, const std::string& location, capture::Tell tell = {})
{
    std::string expanded = location;
    if (camera.replaced_source.empty())  // what stands in for the file's own names a path as it is
        rig.paths.Replace(expanded, kt::CVarReplacer::All);
    return {expanded, Folder(rig).string(), camera.settings, ValueOr(camera.settings, "FB", {}), std::move(tell)};
}

}  // namespace

bool CheckSource(const TRig& rig, const TDevice& camera, CModules& modules, std::vector<std::string>& driver_keys,
                 std::vector<TFault>& faults)
{
    const auto add = [&](const std::string& key, const std::string& found, const std::string& wanted,
                         const std::string& suggestion) {
        const std::size_t line = camera.settings.Line(key);
        faults.push_back({line > 0 ? line : camera.settings.Line(), camera.name, key, found, wanted, suggestion, true});
    };

    const std::string wanted = "\"SCHEME:LOCATION\", for instance \"images:left*.png\"";
    std::string text;
    if (!camera.settings.efind("SOURCE", text)) {
        add("SOURCE", "nothing", wanted, {});
        return false;
    }
    const auto source = SplitSource(text);
    if (!source) {
        add("SOURCE", Quoted(text), wanted, {});
        return false;
    }
    bool driver_known = false;
    try {
        const capture::CDriver& driver = modules.Driver(source->scheme);
        driver_keys = driver.Keys();
        driver_known = true;
        for (const capture::TFault& fault : driver.Check(Request(rig, camera, source->location)))
            add(fault.key, fault.found, fault.wanted, {});
    } catch (const no_such_module&) {
        const auto schemes = modules.Schemes();
        add("SOURCE", fmt::format("the scheme {}", Quoted(source->scheme)),
            fmt::format("one of {}", fmt::join(schemes, ", ")), Nearest(source->scheme, schemes));
    } catch (const std::exception& error) {
        add("SOURCE", Quoted(text), fmt::format("a source that can be checked ({})", error.what()), {});
    }
    return driver_known;
}

std::unique_ptr<capture::CSource> OpenSource(const TRig& rig, const TDevice& camera, CModules& modules,
                                             capture::Tell tell)
{
    const std::string text = ValueOr(camera.settings, "SOURCE", {});
    try {
        const auto source = SplitSource(text);
        if (!source)
            throw std::runtime_error("found no \"SCHEME:LOCATION\"");
        const capture::CDriver& driver = modules.Driver(source->scheme);
        auto opened = driver.Open(Request(rig, camera, source->location, std::move(tell)));
        if (!opened)
            throw std::runtime_error("the driver opened nothing");
        return opened;
    } catch (const std::exception& error) {
        throw std::runtime_error(fmt::format("{}: SOURCE {}: {}", camera.name, Quoted(text), error.what()));
    }
}

}  // namespace host
