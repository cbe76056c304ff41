// orvo check RIG: everything that is wrong with a rig file, one line per fault.
#ifndef HOST_COMMANDS_CHECK_H
#define HOST_COMMANDS_CHECK_H

#include <filesystem>

#include "system/exit_codes.h"

namespace host {

class CConsole;

struct TCheckOptions
{
    std::filesystem::path rig;
    bool json = false;
};

/// Done when there is no fault, else Failed.
ExitCode Check(const TCheckOptions& options, CConsole& console);

}  // namespace host

#endif
