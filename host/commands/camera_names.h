// The option --cameras of the commands.
#ifndef HOST_COMMANDS_CAMERA_NAMES_H
#define HOST_COMMANDS_CAMERA_NAMES_H

#include <string>
#include <vector>

namespace host {

/// A sentence for each chosen name that is not among `names`.
std::vector<std::string> UnknownCameras(const std::vector<std::string>& chosen, const std::vector<std::string>& names);

/// Of `names` those that are chosen, each once, in the order of `names`; all of them when none is.
std::vector<std::string> Chosen(const std::vector<std::string>& chosen, const std::vector<std::string>& names);

}  // namespace host

#endif
