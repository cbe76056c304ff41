// orvo show RIG: what a rig file describes.
#ifndef HOST_COMMANDS_SHOW_H
#define HOST_COMMANDS_SHOW_H

#include <filesystem>
#include <string>
#include <vector>

#include "rig/describe.h"
#include "system/exit_codes.h"

namespace host {

class CConsole;

struct TShowOptions
{
    std::filesystem::path rig;
    bool json = false;
};

/// Failed, with the faults as talk, when the settings have any. Drivers and plugins are not asked: a rig can be shown
/// where its pictures are not.
ExitCode Show(const TShowOptions& options, CConsole& console);

// The two forms; show_text.cpp and show_json.cpp.
std::string ShowText(const TRig& rig, const std::vector<TDescription>& devices);
std::string ShowJson(const TRig& rig, const std::vector<TDescription>& devices);

}  // namespace host

#endif
