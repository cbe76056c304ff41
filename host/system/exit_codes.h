// What the program ends with.
#ifndef HOST_SYSTEM_EXIT_CODES_H
#define HOST_SYSTEM_EXIT_CODES_H

namespace host {

enum ExitCode : int
{
    Done = 0,
    Failed = 1,        ///< faults in a rig, a source that failed, an error
    BadArguments = 2,  ///< a command line that means nothing, or names a file that is not there
    DataLost = 3,      ///< done, but frames or pictures were lost on the way
    Interrupted = 130  ///< the second Ctrl-C
};

}  // namespace host

#endif
