#include "genicam/frame_ledger.h"

#include <algorithm>

namespace genicam {

namespace {

constexpr std::uint64_t highest_short_id = 65535;

void Tell(capture::CSink& sink, const char* reason, std::uint64_t frames)
{
    if (frames > 0)
        sink.Lost(reason, frames);
}

}  // namespace

void CFrameLedger::Begin(const TUnderruns& underruns)
{
    underruns_ = underruns;
    underran_ = 0;
    owed_ = 0;
    id_ = boost::none;
}

void CFrameLedger::Underran(std::uint64_t total, capture::CSink& sink)
{
    const std::uint64_t more = total - underran_;
    underran_ = total;
    if (underruns_.numbered) {
        owed_ += more;
        return;
    }
    Tell(sink, "underrun", more);
    next_ += more;
}

boost::optional<std::uint64_t> CFrameLedger::Arrived(std::uint64_t id, const char* fault, capture::CSink& sink)
{
    const bool first = !id_;
    const std::uint64_t gap = first ? 0 : Skipped(id);
    const std::uint64_t underran = std::min(gap, (owed_ + underruns_.per_frame - 1) / underruns_.per_frame);
    Tell(sink, "underrun", underran);
    Tell(sink, "missing", gap - underran);
    Settle(underran);
    next_ += gap;
    id_ = id;
    if (fault == nullptr)
        return next_++;
    // The first packets of a frame may have found no buffer, and the others one that came back just then.
    Settle(1);
    if (first) {
        sink.Count("damaged first frames", 1);
    } else {
        Tell(sink, fault, 1);
        ++next_;
    }
    return boost::none;
}

void CFrameLedger::End(capture::CSink& sink)
{
    const std::uint64_t frames = owed_ / underruns_.per_frame;
    Tell(sink, "underrun", frames);
    next_ += frames;
    owed_ = 0;
}

std::uint64_t CFrameLedger::Skipped(std::uint64_t id) const
{
    if (id > *id_)
        return id - *id_ - 1;
    const std::uint64_t wrapped = id + highest_short_id;
    const bool is_wrap = *id_ <= highest_short_id && wrapped > *id_ && wrapped - *id_ <= highest_short_id / 2;
    return is_wrap ? wrapped - *id_ - 1 : 0;
}

void CFrameLedger::Settle(std::uint64_t frames)
{
    owed_ -= std::min(owed_, frames * underruns_.per_frame);
}

}  // namespace genicam
