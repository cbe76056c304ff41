// What a run tells when it is over: per camera and per node, what became of the frames, and how long they took.
#ifndef HOST_RUN_REPORT_H
#define HOST_RUN_REPORT_H

#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <vector>

#include "system/exit_codes.h"

namespace host {

class CHistogram;

/// Milliseconds; mean and maximum exact, the percentiles within CHistogram::relative_error.
struct TTimes
{
    double mean_ms = 0.0;
    double p50_ms = 0.0;
    double p99_ms = 0.0;
    double max_ms = 0.0;
};

TTimes TimesOf(const CHistogram& histogram);

/// frames = executed + decimated + dropped. A node drops a frame by throwing an exception.
struct TNodeReport
{
    std::string name;
    int level = 0;  ///< below the root
    std::uint64_t frames = 0;
    std::uint64_t executed = 0;
    std::uint64_t decimated = 0;
    std::uint64_t dropped = 0;
    TTimes time;
};

/// One message of a node, however often it came. A camera keeps the first few and counts the rest without their text.
struct TErrorReport
{
    std::string where;  ///< a node, "source", "output" or "frame"
    std::string message;
    std::uint64_t count = 0;
};

/// Of one picture of the output node.
struct TOutputDigest
{
    std::uint64_t sequence = 0;  ///< of the frame that it was made of
    std::uint64_t digest = 0;    ///< as Digest() tells
};

using Reasons = std::map<std::string, std::uint64_t>;

/// What became of the images that a camera's recording-output node made. offered = recorded + the sum of dropped.
struct TTrackReport
{
    std::uint64_t offered = 0;
    std::uint64_t recorded = 0;
    std::uint64_t bytes = 0;  ///< of the recorded ones, as stored
    Reasons dropped;
};

/// frames = executed + decimated + the sum of dropped. What the source lost never got as far, and is not in `frames`.
struct TCameraReport
{
    std::string name;
    double seconds = 0.0;
    std::uint64_t frames = 0;  ///< delivered by the source
    std::uint64_t executed = 0;
    std::uint64_t decimated = 0;
    Reasons dropped;
    Reasons lost;
    Reasons interruptions;  ///< of the source, by reason
    Reasons counted;        ///< what the source counted beside frames, by name
    TTimes waited;          ///< from the source's hand-over to the start of the tree, per frame that entered it
    TTimes time;            ///< of the whole tree, per executed frame
    std::vector<TNodeReport> nodes;
    std::vector<TErrorReport> errors;
    std::uint64_t pictures = 0;         ///< written
    std::uint64_t pictures_failed = 0;  ///< not written
    std::string failure;                ///< of the source; empty when it ended well
    std::optional<TTrackReport> recording;
    std::string output;                                 ///< name of the output node
    std::optional<std::vector<TOutputDigest>> digests;  ///< if asked for: one per picture, in the order of the frames
};

struct TRunReport
{
    std::string rig;
    std::vector<TCameraReport> cameras;
    bool interrupted = false;
    std::string recording = {};          ///< its folder; empty when nothing is recorded
    std::string recording_failure = {};  ///< what ended the recording early, or kept something from it
};

std::uint64_t Sum(const Reasons& reasons);

/// The sums that do not close, one sentence each; a fault of this program.
std::vector<std::string> Imbalances(const TRunReport& report);

/// Failed for a source that failed or a sum that does not close; DataLost for dropped or lost frames, for a stream that
/// broke off and for what could not be written or recorded. Frames that waited when the run was stopped, or the region
/// was changed, are not lost: whoever did it knows.
ExitCode CodeOf(const TRunReport& report);

std::string ReportText(const TRunReport& report);
/// "<camera> <sequence number> <output node> <digest>", a line per picture, camera by camera.
std::string DigestLines(const TRunReport& report);
std::string ReportJson(const TRunReport& report);

}  // namespace host

#endif
