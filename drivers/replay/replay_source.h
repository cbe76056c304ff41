// A source of frames out of a recording.
#ifndef REPLAY_REPLAY_SOURCE_H
#define REPLAY_REPLAY_SOURCE_H

#include <boost/date_time/posix_time/posix_time_types.hpp>
#include <chrono>
#include <condition_variable>
#include <mutex>
#include <string>

#include "capture/source.h"
#include "replay/plan.h"

namespace replay {

/// Runs through the frames of a track in the order and at the times at which they were recorded.
///
/// Times count from the earliest one of the whole recording, so that the tracks of a rig stay in step. A frame that is
/// late, because the host had no room, goes at once, and so do those behind it until the track has caught up: it loses
/// nothing, and does not fall behind the other tracks for good. A frame without a time goes right behind the one before
/// it. A further pass begins when the recording as a whole has ended and one more frame would be due; its frames have
/// the same stamps, and sequence numbers that go on rising.
///
/// Every frame is Push()ed; one that is damaged is told as Lost("damaged"). Once stopped it stays so.
class CReplaySource : public capture::CSource
{
public:
    /// `format` is the camera's FB.
    CReplaySource(TPlan plan, const std::string& format);

    /// Throws std::runtime_error when the file cannot be read any more, and for a frame that does not fit the format.
    void Run(capture::CSink& sink) override;
    void Stop() override;

private:
    using Clock = std::chrono::steady_clock;

    void Measure();
    dev::TFrame<> Read(std::size_t frame) const;
    Clock::duration Offset(const boost::posix_time::ptime& time, std::uint64_t pass) const;
    bool WaitUntil(Clock::time_point due);

    const TPlan plan_;
    const boost::shared_ptr<const cimage::CImage> full_;
    boost::posix_time::ptime first_;     ///< the earliest time of the recording; not_a_date_time when there is none
    double period_ = 0.0;                ///< of one pass, seconds at rate 1
    std::uint64_t sequence_period_ = 0;  ///< by which the numbers of a pass are higher than those of the one before

    mutable std::mutex mutex_;  ///< guards stopped_
    std::condition_variable stop_asked_;
    bool stopped_ = false;
};

}  // namespace replay

#endif
