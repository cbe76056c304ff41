// orvo export PATH --to images|tar|kta --output OUT: the frames of a recording in another form.
#ifndef HOST_COMMANDS_EXPORT_H
#define HOST_COMMANDS_EXPORT_H

#include <filesystem>
#include <string>
#include <vector>

#include "system/exit_codes.h"

namespace host {

class CConsole;

struct TExportOptions
{
    std::filesystem::path path;
    std::string to;                    ///< "images", "tar" or "kta"
    std::filesystem::path output;      ///< a folder; of a name in .tar or .kta the archive itself
    std::vector<std::string> cameras;  ///< names; empty: all
    std::string compress;              ///< "none", "png" or "zstd"; empty: as recorded, where the form has it
    bool json = false;
};

/// Writes beside the output under the name OUT.part, reads back what it wrote, compares, and renames at last: there is
/// no OUT that is not whole. A folder of another archive gets the recording's other files as well. Damaged frames are
/// told and left out, and what was lost before counts likewise: DataLost. BadArguments for an unknown camera and a
/// compression that the form does not have; Failed for an output that is there and no empty folder; Interrupted after
/// Ctrl-C. Throws std::runtime_error for the rest.
ExitCode Export(const TExportOptions& options, CConsole& console);

}  // namespace host

#endif
