#include "commands/show.h"

#include "rig/check.h"
#include "system/console.h"

namespace host {

ExitCode Show(const TShowOptions& options, CConsole& console)
{
    TRig rig;
    const TCheck check = CheckRig(options.rig, nullptr, &rig);
    for (const TFault& fault : check.faults)
        console.Say(Text(options.rig.string(), fault));
    if (!check.faults.empty())
        return Failed;

    std::vector<TDescription> devices;
    {
        const CConsole::CCapture quiet;  // the library tells of every key that a file leaves out
        devices = Describe(rig);
    }
    WriteResult(options.json ? ShowJson(rig, devices) : ShowText(rig, devices));
    return Done;
}

}  // namespace host
