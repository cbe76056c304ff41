// orvo plugins: the image operations and the capture drivers that are there.
#ifndef HOST_COMMANDS_PLUGINS_H
#define HOST_COMMANDS_PLUGINS_H

#include "system/exit_codes.h"

namespace host {

class CConsole;

struct TPluginsOptions
{
    bool json = false;
};

/// Failed when one of the files could not be loaded; the others are listed all the same.
ExitCode Plugins(const TPluginsOptions& options, CConsole& console);

}  // namespace host

#endif
