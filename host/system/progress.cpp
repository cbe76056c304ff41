#include "system/progress.h"

#include <fmt/format.h>
#include <algorithm>
#include <utility>

#include "system/console.h"
#include "system/quantities.h"

namespace host {

namespace {

constexpr std::chrono::milliseconds period(250);

}  // namespace

std::string ProgressText(const std::string& what, std::uint64_t done, std::uint64_t total, double seconds)
{
    done = std::min(done, total);
    const double share = total > 0 ? static_cast<double>(done) / static_cast<double>(total) : 1.0;
    std::string text = fmt::format("{}  {:.0f} %, {} of {}", what, 100.0 * share, BytesText(done), BytesText(total));
    if (done == 0 || seconds <= 0.0)
        return text;
    const double rate = static_cast<double>(done) / seconds;
    const double left = static_cast<double>(total - done) / rate;
    return text + fmt::format(", {}/s, {} left", BytesText(static_cast<std::uint64_t>(rate)),
                              left < 59.5 ? fmt::format("{:.0f} s", left) : DurationText(left));
}

CProgress::CProgress(CConsole& console, std::string what, std::uint64_t total)
    : console_(console), what_(std::move(what)), total_(total)
{
}

CProgress::~CProgress()
{
    console_.ShowLive({});
}

void CProgress::Step(std::uint64_t bytes)
{
    done_ += bytes;
    if (!console_.Terminal())
        return;
    const auto now = Clock::now();
    if (now - shown_ < period)
        return;
    shown_ = now;
    console_.ShowLive({ProgressText(what_, done_, total_, std::chrono::duration<double>(now - start_).count())});
}

}  // namespace host
