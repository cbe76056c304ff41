// What keeps a command from beginning its work: told as it is found, and, for programs, as JSON in place of the result.
#ifndef HOST_COMMANDS_FAULT_LIST_H
#define HOST_COMMANDS_FAULT_LIST_H

#include <functional>
#include <string>
#include <vector>

#include "rig/check.h"
#include "rig/fault.h"
#include "system/exit_codes.h"

namespace host {

class CConsole;

/// One thread at a time.
class CFaultList
{
public:
    /// `rig` is the file as the user named it. `json`: a command that does not begin writes the faults.
    CFaultList(std::string rig, bool json, CConsole& console);

    void Add(const TFault& fault);
    /// A fault of nothing in the file: any sentence, or "found …, wanted …".
    void Add(const std::string& text);

    /// Adds what a check found; true when none of it is in the way. A camera that will not run need not have its source
    /// (`cameras` are those that will; empty: all), and where other sources stand in for the rig's (`replaced`), the
    /// folder of its data may be gone.
    bool CanRun(const TCheck& check, const std::vector<std::string>& cameras, bool replaced);

    /// Adds a fault for each of `cameras` that is none of `names`, those of the rig; true when there is none.
    bool AreCameras(const std::vector<std::string>& cameras, const std::vector<std::string>& names);

    /// From here on the command has a result of its own.
    void Begin() { begun_ = true; }

    /// Runs the command. Unless it called Begin(), the faults become the result, with what it threw among them; that
    /// passes.
    ExitCode Guard(const std::function<ExitCode()>& command);

private:
    void Write() const;

    const std::string rig_;
    const bool json_;
    CConsole& console_;
    bool begun_ = false;
    std::vector<TFault> faults_;
};

}  // namespace host

#endif
