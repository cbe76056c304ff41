// Settings of a camera's source in its rig file: "VIDEO <property>.<attribute> = value", for instance
// "VIDEO Exposure.Time = 5000". Applied once the source is open; written by `orvo save`, `orvo run --save` and
// `--tune`.
#ifndef HOST_VIDEO_VIDEO_KEYS_H
#define HOST_VIDEO_VIDEO_KEYS_H

#include <cstddef>
#include <filesystem>
#include <optional>
#include <string>
#include <vector>

#include "rig/rig.h"
#include "video/attributes.h"

namespace host {

/// Writes the values of the section's keys into an open source and returns a fault for each that it refuses; the others
/// are applied all the same. A property's values come while its mode is manual: modes are set to Manual first,
/// whatever they are to be in the end, then the values, then the modes that are left. What is refused gets another
/// chance once the others are there, for limits may depend on each other. Keys that name no setting are passed over.
std::vector<TFault> ApplyVideoKeys(const TDevice& camera, const CVideoAttributes& attributes);

/// One setting as a camera has it now.
struct TVideoValue
{
    std::string camera;
    std::string name;
    std::string value;
    CVideoAttributes::Attribute::Type kind;
};

/// The values that a rig file can give back: of every setting that can be set and that no automatic mode governs. What
/// cannot be read is added to `faults`, a sentence each.
std::vector<TVideoValue> CurrentValues(const std::string& camera, const CVideoAttributes& attributes,
                                       std::vector<std::string>& faults);

struct TVideoChange
{
    std::string camera;
    std::string key;
    std::optional<std::string> before;  ///< what the file held; none: it had no such key
    std::string after;
};

struct TVideoSaved
{
    std::vector<TVideoChange> changes;
    std::size_t unchanged = 0;
    std::vector<std::string> faults;  ///< a sentence for each value that could not be kept, and for none but those
};

/// Puts the values into the rig file, as it is on the disk now: what others have written into it since it was read
/// stays. Nothing is ever removed, and a file that holds the values already is not written. `faults` begins the
/// result's list. Throws std::runtime_error, with the file as it was, when it cannot be read or written.
TVideoSaved SaveVideoValues(const std::filesystem::path& rig, const std::vector<TVideoValue>& values,
                            std::vector<std::string> faults);

/// "rig.ini: [left] VIDEO Exposure.Time: 4000 -> 5000", a line per change, or one that says that there is none. Each
/// ends with a line end.
std::string ChangesText(const std::filesystem::path& rig, const TVideoSaved& saved);

}  // namespace host

#endif
