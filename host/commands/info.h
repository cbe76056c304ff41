// orvo info PATH: what a recording holds, as far as its index and headers tell.
#ifndef HOST_COMMANDS_INFO_H
#define HOST_COMMANDS_INFO_H

#include <cstdint>
#include <filesystem>
#include <map>
#include <optional>
#include <string>
#include <vector>

#include "rec/recording.h"
#include "record/event_file.h"
#include "system/exit_codes.h"

namespace host {

class CConsole;

struct TInfoOptions
{
    std::filesystem::path path;
    bool json = false;
};

/// Failed for what is no recording or cannot be read; Done for a damaged one: the damage found on opening is told, and
/// Verify looks for the rest.
ExitCode Info(const TInfoOptions& options, CConsole& console);

/// Places where a track does not go on as it did elsewhere.
struct TGaps
{
    std::uint64_t usual_step = 1;  ///< between sequence numbers: 2 where a node records every second frame
    std::uint64_t missing = 0;     ///< frames that the usual step leads one to expect
    std::uint64_t backwards = 0;   ///< sequence numbers that do not rise
    std::uint64_t pauses = 0;      ///< intervals of more than three times the usual one
    double usual_interval = 0.0;   ///< between time stamps, seconds; the median
    double longest_interval = 0.0;
    std::uint64_t before_longest = 0;  ///< sequence number of the frame after which it came
};

struct TTrackInfo
{
    rec::TTrack track;
    std::uint64_t frames = 0;
    std::vector<std::string> formats;                      ///< "Mono8 640x480"; more than one if it changed on the way
    std::map<rec::Compression, std::uint64_t> compressed;  ///< frames by what was used; empty where headers do not say
    std::uint64_t stored = 0;                              ///< bytes
    std::optional<std::uint64_t> raw;                      ///< bytes of the pixels; none where headers do not say
    std::uint64_t first_sequence = 0;
    std::uint64_t last_sequence = 0;
    boost::posix_time::ptime first_time;  ///< of the frames with a time, in file order; as the next
    boost::posix_time::ptime last_time;
    double seconds = 0.0;  ///< from the first to the last time
    double rate = 0.0;     ///< mean, frames per second; 0 where times do not tell
    TGaps gaps;
};

struct TMemberInfo
{
    std::string name;
    std::uint64_t bytes = 0;
};

struct TRecordingInfo
{
    std::string path;
    std::string archive;      ///< file of the frames; empty without one
    std::uint64_t bytes = 0;  ///< of the archive, with its index
    std::vector<TTrackInfo> tracks;
    std::vector<TMemberInfo> others;  ///< of a TAR archive: members that are no frames
    std::string events_file;          ///< empty without one
    TEventFile events;
    std::vector<rec::TDamage> damage;
};

// The two forms; info_text.cpp and info_json.cpp.
std::string InfoText(const TRecordingInfo& info);
std::string InfoJson(const TRecordingInfo& info);

}  // namespace host

#endif
