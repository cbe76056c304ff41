#include "commands/fault_list.h"

#include <algorithm>
#include <utility>

#include "commands/camera_names.h"
#include "commands/fault_json.h"
#include "system/console.h"

namespace host {

CFaultList::CFaultList(std::string rig, bool json, CConsole& console)
    : rig_(std::move(rig)), json_(json), console_(console)
{
}

void CFaultList::Add(const TFault& fault)
{
    console_.Say(Text(rig_, fault));
    faults_.push_back(fault);
}

void CFaultList::Add(const std::string& text)
{
    console_.Say(text);
    faults_.push_back(FaultFromText(0, {}, {}, text));
}

bool CFaultList::CanRun(const TCheck& check, const std::vector<std::string>& cameras, bool replaced)
{
    bool can_run = true;
    for (const TFault& fault : check.faults) {
        Add(fault);
        const bool idle = !cameras.empty() && std::find(cameras.begin(), cameras.end(), fault.section) == cameras.end();
        const bool of_data = replaced && fault.section == "RIG" && fault.key == "DATA DIR";
        can_run = can_run && ((idle && fault.of_source) || of_data);
    }
    return can_run;
}

bool CFaultList::AreCameras(const std::vector<std::string>& cameras, const std::vector<std::string>& names)
{
    const auto unknown = UnknownCameras(cameras, names);
    for (const std::string& text : unknown)
        Add(text);
    return unknown.empty();
}

ExitCode CFaultList::Guard(const std::function<ExitCode()>& command)
{
    ExitCode code = Failed;
    try {
        code = command();
    } catch (const std::exception& error) {
        faults_.push_back(FaultFromText(0, {}, {}, error.what()));
        Write();
        throw;
    }
    Write();
    return code;
}

void CFaultList::Write() const
{
    if (json_ && !begun_)
        WriteResult(JsonText({{"rig", rig_}, {"faults", FaultsAsJson(rig_, faults_)}}));
}

}  // namespace host
