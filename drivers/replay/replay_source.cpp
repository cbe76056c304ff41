#include "replay/replay_source.h"

#include <algorithm>
#include <stdexcept>
#include <utility>

namespace replay {

using boost::posix_time::ptime;

namespace {

double Seconds(const boost::posix_time::time_duration& duration)
{
    return static_cast<double>(duration.total_microseconds()) * 1e-6;
}

}  // namespace

CReplaySource::CReplaySource(TPlan plan, const std::string& format)
    : plan_(std::move(plan)), full_(cimage::Build(format))
{
    Measure();
}

void CReplaySource::Measure()
{
    const rec::CRecording& recording = *plan_.recording;
    ptime last;
    std::size_t most = 0;  // frames of a track
    std::uint64_t lowest = 0;
    std::uint64_t highest = 0;
    for (std::size_t track = 0; track < recording.Tracks().size(); ++track) {
        most = std::max(most, recording.Frames(track));
        for (std::size_t i = 0; i < recording.Frames(track); ++i) {
            const rec::TBlock block = recording.Block(track, i);
            if (track == plan_.track) {
                lowest = i == 0 ? block.sequence : std::min(lowest, block.sequence);
                highest = std::max(highest, block.sequence);
            }
            if (block.time.is_special())
                continue;
            first_ = first_.is_special() ? block.time : std::min(first_, block.time);
            last = last.is_special() ? block.time : std::max(last, block.time);
        }
    }
    sequence_period_ = highest - lowest + 1;
    if (!first_.is_special() && most > 1)
        period_ = Seconds(last - first_) * static_cast<double>(most) / static_cast<double>(most - 1);
}

void CReplaySource::Run(capture::CSink& sink)
{
    const std::size_t frames = plan_.recording->Frames(plan_.track);
    const Clock::time_point start = Clock::now();
    Clock::time_point due = start;
    for (std::uint64_t pass = 0; frames > 0 && (plan_.passes == 0 || pass < plan_.passes); ++pass) {
        for (std::size_t i = 0; i < frames; ++i) {
            const ptime time = plan_.recording->Block(plan_.track, i).time;
            if (!time.is_special())
                due = start + Offset(time, pass);
            dev::TFrame<> frame;
            try {
                frame = Read(i);
            } catch (const rec::damaged_frame&) {
                sink.Lost("damaged", 1);
            }
            if (!WaitUntil(due))
                return;
            frame.counter1 += pass * sequence_period_;
            if (frame.image && !sink.Push(frame))
                return;
        }
    }
}

void CReplaySource::Stop()
{
    {
        const std::lock_guard<std::mutex> lock(mutex_);
        stopped_ = true;
    }
    stop_asked_.notify_all();
}

dev::TFrame<> CReplaySource::Read(std::size_t frame) const
{
    const dev::TFrame<> read = plan_.recording->Read(plan_.track, frame);
    if (!Fits(read.image->Format(), read.image->Width(), read.image->Height(), *full_))
        throw std::runtime_error(read.text + ": found " + read.image->Descriptor() + ", wanted " + full_->Descriptor() +
                                 " (FB) or a region of it");
    return read;
}

/// From the start of the run.
CReplaySource::Clock::duration CReplaySource::Offset(const ptime& time, std::uint64_t pass) const
{
    constexpr double longest = 1e9;  // seconds, thirty years: more than a clock may count
    const double seconds = (Seconds(time - first_) + static_cast<double>(pass) * period_) / plan_.rate;
    return std::chrono::duration_cast<Clock::duration>(std::chrono::duration<double>(std::min(seconds, longest)));
}

/// False, at once, when the source is stopped.
bool CReplaySource::WaitUntil(Clock::time_point due)
{
    std::unique_lock<std::mutex> lock(mutex_);
    return !stop_asked_.wait_until(lock, due, [this] { return stopped_; });
}

}  // namespace replay
