// Where a driver's thread hands its frames over to the camera's strand: at most four wait.
//
// A source that cannot wait offers its frames: the newest wins, the oldest is dropped and counted. One that can wait
// pushes them. Every frame taken in is accounted for: delivered = taken out + queue_full + stopped + region_changed +
// waiting.
#ifndef HOST_RUN_FRAME_QUEUE_H
#define HOST_RUN_FRAME_QUEUE_H

#include <array>
#include <chrono>
#include <condition_variable>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <map>
#include <mutex>
#include <string>

#include "capture/source.h"

namespace host {

/// The names under which a queue's drops are reported.
extern const char* const drop_queue_full;      ///< dropped for a newer one
extern const char* const drop_stopped;         ///< still waited when the run was stopped
extern const char* const drop_region_changed;  ///< still waited, and showed another region than the one asked for

/// The consumer's side is one worker that runs only when there is something to do: `wake` is called, on whatever thread
/// the change happens, once for every time that the worker has been told Empty and there is a frame or the end to
/// fetch. Thread rule: every call is safe on any thread; Take on one at a time.
class CFrameQueue : public capture::CSink
{
public:
    static constexpr std::size_t depth = 4;

    enum class Taken
    {
        Frame,
        Empty,  ///< the worker goes to rest until woken
        End     ///< nothing will come any more; the worker goes for good
    };

    /// How the frames that still wait are treated.
    enum class Ending
    {
        Finish,
        Drop
    };

    struct TCounts
    {
        std::uint64_t delivered = 0;
        std::uint64_t queue_full = 0;
        std::uint64_t stopped = 0;
        std::uint64_t region_changed = 0;
        std::map<std::string, std::uint64_t> lost;  ///< by reason, what the source lost before it could deliver
        std::map<std::string, std::uint64_t> interruptions;  ///< of the source, by reason
        std::map<std::string, std::uint64_t> counted;        ///< by name, what the source counted beside frames
    };

    /// After `limit` frames (0: no limit) no more are taken and `limit_reached` is called, once, on the source's thread
    /// and from within its call: it must not wait for the source.
    CFrameQueue(std::uint64_t limit, std::function<void()> wake, std::function<void()> limit_reached);

    void Offer(const dev::TFrame<>& frame) override;
    bool Push(const dev::TFrame<>& frame) override;
    void Lost(const std::string& reason, std::uint64_t count) override;
    void Interrupted(const std::string& reason) override;
    void Count(const std::string& name, std::uint64_t count) override;

    /// True when the source waits for room: its last frame was pushed.
    bool SourceWaits() const;

    /// Moves the oldest waiting frame into `frame`.
    Taken Take(dev::TFrame<>& frame);
    /// When the source handed over the frame that Take gave last. The worker's alone.
    std::chrono::steady_clock::time_point Arrived() const { return arrived_; }

    /// Drops what waits now as drop_region_changed; the queue stays open.
    void DropOldRegion();

    /// No frame is taken in any more, a waiting Push returns. What a source offers from then on is no part of the run
    /// and is not counted.
    void Close(Ending ending);
    /// The source's thread is done: closed, and the worker gets its End after the last frame.
    void End();

    TCounts Counts() const;

private:
    bool Store(const dev::TFrame<>& frame);
    void Wake(std::unique_lock<std::mutex>& lock);
    std::uint64_t Clear();

    const std::uint64_t limit_;
    const std::function<void()> wake_;
    const std::function<void()> limit_reached_;

    mutable std::mutex mutex_;
    std::condition_variable room_;
    struct TSlot
    {
        dev::TFrame<> frame;
        std::chrono::steady_clock::time_point arrived;
    };
    std::array<TSlot, depth> slots_;  ///< a ring; a free slot keeps its text's memory, but no image
    std::size_t first_ = 0;
    std::size_t waiting_ = 0;
    bool closed_ = false;
    bool ended_ = false;
    bool worker_awake_ = false;
    bool source_waits_ = false;
    TCounts counts_;
    std::chrono::steady_clock::time_point arrived_;
};

}  // namespace host

#endif
