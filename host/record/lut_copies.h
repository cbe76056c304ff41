// The lookup tables of a rig beside its recording.
#ifndef HOST_RECORD_LUT_COPIES_H
#define HOST_RECORD_LUT_COPIES_H

#include <filesystem>
#include <string>
#include <vector>

#include "rig/rig.h"

namespace host {

class CConsole;

/// A table that is not in the recording as it should be.
struct TLutFault
{
    std::string camera;
    std::string text;  ///< "LUT A: …"
};

/// The names of the copies.
std::vector<std::string> LutNames(const TRig& rig);

/// Copies what the keys "LUT..." name into the folder of a recording, which holds its rig file, and lets that file's
/// keys name the copies. Then compares each copy with its original: a table that is missing, or over which another one
/// of the same name was copied, is a fault. Throws nothing.
std::vector<TLutFault> CopyLuts(const TRig& rig, const std::filesystem::path& rig_file, CConsole& console);

}  // namespace host

#endif
