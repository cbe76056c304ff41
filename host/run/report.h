// What a run tells when it is over: per camera and per node, what became of the frames, and how long they took.
#ifndef HOST_RUN_REPORT_H
#define HOST_RUN_REPORT_H

#include <cstdint>
#include <map>
#include <string>
#include <vector>

#include "system/exit_codes.h"

namespace host {

class CHistogram;

/// Milliseconds per executed frame; mean and maximum exact, the percentiles within CHistogram::relative_error.
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

using Reasons = std::map<std::string, std::uint64_t>;

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
    TTimes time;  ///< of the whole tree
    std::vector<TNodeReport> nodes;
    std::vector<TErrorReport> errors;
    std::uint64_t pictures = 0;         ///< written
    std::uint64_t pictures_failed = 0;  ///< not written
    std::string failure;                ///< of the source; empty when it ended well
};

struct TRunReport
{
    std::string rig;
    std::vector<TCameraReport> cameras;
    bool interrupted = false;
};

std::uint64_t Sum(const Reasons& reasons);

/// The sums that do not close, one sentence each; a fault of this program.
std::vector<std::string> Imbalances(const TRunReport& report);

/// Failed for a source that failed or a sum that does not close; DataLost for dropped or lost frames and for pictures
/// that could not be written. Frames that waited when the run was stopped are not lost: whoever stopped it knows.
ExitCode CodeOf(const TRunReport& report);

std::string ReportText(const TRunReport& report);
std::string ReportJson(const TRunReport& report);

}  // namespace host

#endif
