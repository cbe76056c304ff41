#include "commands/check.h"

#include <fmt/format.h>

#include "commands/fault_json.h"
#include "rig/check.h"
#include "system/console.h"
#include "system/modules.h"

namespace host {

namespace {

std::string Lines(const std::string& file, const TCheck& check)
{
    std::string text;
    for (const TFault& fault : check.faults)
        text += Text(file, fault) + '\n';
    return text;
}

std::string AsJson(const std::string& file, const TCheck& check)
{
    return JsonText({{"rig", file}, {"faults", FaultsAsJson(file, check.faults)}, {"notes", check.notes}});
}

std::string Plural(std::size_t count, const std::string& noun)
{
    return fmt::format("{} {}{}", count, noun, count == 1 ? "" : "s");
}

}  // namespace

ExitCode Check(const TCheckOptions& options, CConsole& console)
{
    CModules modules;
    TRig rig;
    const TCheck check = CheckRig(options.rig, &modules, &rig);
    const std::string file = options.rig.string();
    WriteResult(options.json ? AsJson(file, check) : Lines(file, check));

    for (const std::string& note : check.notes)
        console.Say(note);
    console.Say(fmt::format("{}: {}, {}, {}: {}", file, Plural(rig.Count(DeviceType::Camera), "camera"),
                            Plural(rig.Count(DeviceType::Sensor), "sensor"),
                            Plural(rig.Count(DeviceType::Device), "device"),
                            check.faults.empty() ? "no faults" : Plural(check.faults.size(), "fault")));
    return check.faults.empty() ? Done : Failed;
}

}  // namespace host
