// The line that a long command shows on a terminal: how far it is, how fast, and how long it will take yet.
#ifndef HOST_SYSTEM_PROGRESS_H
#define HOST_SYSTEM_PROGRESS_H

#include <chrono>
#include <cstdint>
#include <string>

namespace host {

class CConsole;

/// "checking  45 %, 1.20 GB of 2.60 GB, 310 MB/s, 5 s left". The time left is told once there is something to reckon
/// from.
std::string ProgressText(const std::string& what, std::uint64_t done, std::uint64_t total, double seconds);

/// Shows the line while it lives, from a quarter of a second on; in a pipe nothing. Thread rule: one thread at a time.
class CProgress
{
public:
    /// `what` is being done to `total` bytes. The console must outlive it.
    CProgress(CConsole& console, std::string what, std::uint64_t total);
    /// Takes the line away.
    ~CProgress();
    CProgress(const CProgress&) = delete;
    CProgress& operator=(const CProgress&) = delete;

    /// So many more bytes are done. Cheap: the line changes a few times per second, whatever the steps.
    void Step(std::uint64_t bytes);

private:
    using Clock = std::chrono::steady_clock;

    CConsole& console_;
    const std::string what_;
    const std::uint64_t total_;
    std::uint64_t done_ = 0;
    const Clock::time_point start_ = Clock::now();
    Clock::time_point shown_ = start_;
};

}  // namespace host

#endif
