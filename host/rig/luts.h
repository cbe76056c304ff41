// The lookup-table files that the keys "LUT..." of a camera name.
#ifndef HOST_RIG_LUTS_H
#define HOST_RIG_LUTS_H

#include <cstdint>
#include <filesystem>
#include <optional>
#include <string>
#include <vector>

#include "rig/rig.h"

namespace host {

struct TLut
{
    std::string key;
    std::string reference;              ///< as written, "$DATA_DIR/left.lut"
    std::filesystem::path file;         ///< with variables expanded
    std::optional<std::uint64_t> size;  ///< bytes; none for what is no file that is there
};

/// In byte order of the keys, as the library holds them.
std::vector<TLut> Luts(const TRig& rig, const TDevice& camera);

/// Adds a fault for each path that is relative even with variables expanded, because that would begin at the folder in
/// which the program happens to run; with `look`, also for each file that is not there. A camera whose SOURCE another
/// one replaces is passed over: a recording can be replayed where its tables are not.
void CheckLuts(const TRig& rig, const TDevice& camera, bool look, std::vector<TFault>& faults);

}  // namespace host

#endif
