#include "commands/camera_names.h"

#include <fmt/format.h>
#include <algorithm>
#include <iterator>

#include "rig/fault.h"
#include "rig/nearest.h"

namespace host {

namespace {

bool IsAmong(const std::string& name, const std::vector<std::string>& names)
{
    return std::find(names.begin(), names.end(), name) != names.end();
}

}  // namespace

std::vector<std::string> UnknownCameras(const std::vector<std::string>& chosen, const std::vector<std::string>& names)
{
    std::vector<std::string> sentences;
    for (const std::string& name : chosen) {
        if (IsAmong(name, names))
            continue;
        const std::string nearest = Nearest(name, names);
        sentences.push_back(fmt::format("--cameras: found {}, wanted one of {}{}", Quoted(name), fmt::join(names, ", "),
                                        nearest.empty() ? "" : "; did you mean \"" + nearest + "\"?"));
    }
    return sentences;
}

std::vector<std::string> Chosen(const std::vector<std::string>& chosen, const std::vector<std::string>& names)
{
    if (chosen.empty())
        return names;
    std::vector<std::string> found;
    std::copy_if(names.begin(), names.end(), std::back_inserter(found),
                 [&](const std::string& name) { return IsAmong(name, chosen); });
    return found;
}

}  // namespace host
