// orvo verify PATH: reads a recording from end to end and compares every checksum.
#ifndef HOST_COMMANDS_VERIFY_H
#define HOST_COMMANDS_VERIFY_H

#include <filesystem>

#include "system/exit_codes.h"

namespace host {

class CConsole;

struct TVerifyOptions
{
    std::filesystem::path path;
    bool json = false;
};

/// Done for a recording as it was written, DataLost for a damaged one of which something can be read, Failed when
/// nothing can. Each damage is a line of the result, with its file and byte.
ExitCode Verify(const TVerifyOptions& options, CConsole& console);

}  // namespace host

#endif
