// A rig file as the host reads it: the section [RIG], and one section per device.
//
//   [RIG]
//   NAME = stereo              default: the file's name without its extension
//   HWS VERSION = 1.1          format of the device sections, 1.0 or 1.1; default 1.1
//   DATA DIR = data            $DATA_DIR in the paths of the file; default: the folder of the file
//
//   [left]                     any name
//   TYPE = CAMERA              CAMERA, SENSOR or DEVICE
//   SOURCE = images:left*.jpg  of a camera: where its frames come from, "SCHEME:LOCATION"
//   PREPROCESS 1 = Blur soft Source radius=2     node lines, in the order of their numbers, from 1 without a gap
//   OUTPUT = soft              node whose images are the camera's result; default "Source", the root
//   RECORD = Source            node whose images are recorded; the same default
//   RECORD COMPRESSION = png   how recorded images are packed: none (the default), png or zstd
//   VIDEO Exposure.Time = 5000  a setting of the source, "<property>.<attribute>"
//
// and beside these the keys that the device library and the capture driver read. Paths may hold $DATA_DIR, $INAME (the
// folder of the rig file) and variables of the environment; relative ones begin at the folder of the rig file.
#ifndef HOST_RIG_RIG_H
#define HOST_RIG_RIG_H

#include <cstddef>
#include <filesystem>
#include <optional>
#include <string>
#include <vector>

#include "dev/settings.h"
#include "orvo_inifiles/inifile.h"
#include "orvo_var_replacer/var_replacer.h"
#include "rig/fault.h"

namespace host {

/// Each has the keys of those before it.
enum class DeviceType
{
    Device,
    Sensor,
    Camera
};

/// The names of the types, as the key TYPE and the reports hold them.
const char* TypeName(DeviceType type);

struct TDevice
{
    std::string name;
    DeviceType type;
    kt::ini::INIFile settings;  ///< its section; defaults that loading records stay in memory
    /// The SOURCE of the file while another one stands in for it; else empty. The keys of its driver are still there.
    std::string replaced_source = {};
};

/// A value that stands in for that of the file, or for none. In memory alone.
struct TOverride
{
    std::string device;
    std::string key;
    std::string value;
};

/// One "PREPROCESS N" of a camera.
struct TNodeLine
{
    std::string key;
    std::string text;
};

/// A SOURCE, split at its first colon.
struct TSourceText
{
    std::string scheme;
    std::string location;
};

struct TRig
{
    std::filesystem::path file;  ///< as the user named it
    std::string name;
    hws::Version version = hws::Version::V1_1;
    std::filesystem::path data_dir;   ///< absolute
    std::vector<TDevice> devices;     ///< in file order
    std::vector<std::string> unread;  ///< sections without a usable TYPE
    kt::CVarReplacer paths;

    const TDevice* Find(const std::string& device) const;
    std::size_t Count(DeviceType type) const;
};

/// Reads a rig file as far as it can be read and adds what is wrong with the text, the section [RIG] and the TYPEs to
/// `faults`. What the devices' own keys hold is not looked at: that is CheckRig's. The file is never written.
/// Throws std::runtime_error when it cannot be read at all.
TRig ReadRig(const std::filesystem::path& file, std::vector<TFault>& faults);

/// Puts the values in. Throws std::invalid_argument for one that no rig file can hold; devices that the rig does not
/// have are passed over.
void Override(const std::vector<TOverride>& overrides, TRig& rig);

/// In the order of the file.
std::vector<std::string> CameraNames(const TRig& rig);

/// A path of the rig file, variables expanded, absolute.
std::filesystem::path Absolute(const TRig& rig, const std::string& path);

/// The folder of the rig file, absolute.
std::filesystem::path Folder(const TRig& rig);

/// The number N of a key "PREPROCESS N" in its one spelling, or none.
std::optional<unsigned int> NodeNumber(const std::string& key);

/// The node lines of a camera, by number.
std::vector<TNodeLine> NodeLines(const TDevice& camera);

/// True for "VIDEO" and for what has a blank behind that.
bool IsVideoKey(const std::string& key);
/// The setting that a key "VIDEO <property>.<attribute>" names, or none for any other key.
std::optional<std::string> VideoName(const std::string& key);
/// The key of a setting.
std::string VideoKey(const std::string& name);

/// None when there is no scheme: letters, digits, "-" and "_" before the first colon.
std::optional<TSourceText> SplitSource(const std::string& text);

/// The value of a key, or `fallback`, which is not recorded.
std::string ValueOr(const kt::ini::INIFile& settings, const std::string& key, const std::string& fallback);

}  // namespace host

#endif
