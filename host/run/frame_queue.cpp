#include "run/frame_queue.h"

#include <utility>

namespace host {

const char* const drop_queue_full = "queue full";
const char* const drop_stopped = "stopped";
const char* const drop_region_changed = "region changed";

CFrameQueue::CFrameQueue(std::uint64_t limit, std::function<void()> wake, std::function<void()> limit_reached)
    : limit_(limit), wake_(std::move(wake)), limit_reached_(std::move(limit_reached))
{
}

void CFrameQueue::Offer(const dev::TFrame<>& frame)
{
    std::unique_lock<std::mutex> lock(mutex_);
    if (closed_)
        return;
    if (waiting_ == depth) {
        first_ = (first_ + 1) % depth;  // the new frame takes the oldest one's place
        --waiting_;
        ++counts_.queue_full;
    }
    source_waits_ = false;
    const bool last = Store(frame);
    Wake(lock);
    if (last)
        limit_reached_();
}

bool CFrameQueue::Push(const dev::TFrame<>& frame)
{
    std::unique_lock<std::mutex> lock(mutex_);
    room_.wait(lock, [this] { return closed_ || waiting_ < depth; });
    if (closed_)
        return false;
    source_waits_ = true;
    const bool last = Store(frame);
    Wake(lock);
    if (last)
        limit_reached_();
    return true;
}

/// Returns true for the frame that reaches the limit.
bool CFrameQueue::Store(const dev::TFrame<>& frame)
{
    TSlot& slot = slots_[(first_ + waiting_) % depth];
    slot.frame = frame;
    slot.arrived = std::chrono::steady_clock::now();
    ++waiting_;
    ++counts_.delivered;
    if (counts_.delivered != limit_)
        return false;
    closed_ = true;
    return true;
}

/// Lets go of the lock.
void CFrameQueue::Wake(std::unique_lock<std::mutex>& lock)
{
    const bool asleep = !std::exchange(worker_awake_, true);
    lock.unlock();
    if (asleep)
        wake_();
}

void CFrameQueue::Lost(const std::string& reason, std::uint64_t count)
{
    const std::lock_guard<std::mutex> lock(mutex_);
    counts_.lost[reason] += count;
}

void CFrameQueue::Interrupted(const std::string& reason)
{
    const std::lock_guard<std::mutex> lock(mutex_);
    ++counts_.interruptions[reason];
}

void CFrameQueue::Count(const std::string& name, std::uint64_t count)
{
    const std::lock_guard<std::mutex> lock(mutex_);
    counts_.counted[name] += count;
}

bool CFrameQueue::SourceWaits() const
{
    const std::lock_guard<std::mutex> lock(mutex_);
    return source_waits_;
}

CFrameQueue::Taken CFrameQueue::Take(dev::TFrame<>& frame)
{
    const std::lock_guard<std::mutex> lock(mutex_);
    if (waiting_ == 0) {
        worker_awake_ = false;
        return ended_ ? Taken::End : Taken::Empty;
    }
    TSlot& slot = slots_[first_];
    std::swap(frame, slot.frame);
    slot.frame.image.reset();
    arrived_ = slot.arrived;
    first_ = (first_ + 1) % depth;
    --waiting_;
    room_.notify_one();
    return Taken::Frame;
}

void CFrameQueue::Close(Ending ending)
{
    const std::lock_guard<std::mutex> lock(mutex_);
    closed_ = true;
    if (ending == Ending::Drop)
        counts_.stopped += Clear();
    room_.notify_all();
}

void CFrameQueue::DropOldRegion()
{
    const std::lock_guard<std::mutex> lock(mutex_);
    counts_.region_changed += Clear();
    room_.notify_all();
}

/// Under the lock; returns how many frames that were.
std::uint64_t CFrameQueue::Clear()
{
    for (TSlot& slot : slots_)
        slot.frame.image.reset();
    return std::exchange(waiting_, 0);
}

void CFrameQueue::End()
{
    std::unique_lock<std::mutex> lock(mutex_);
    closed_ = true;
    ended_ = true;
    room_.notify_all();
    Wake(lock);
}

CFrameQueue::TCounts CFrameQueue::Counts() const
{
    const std::lock_guard<std::mutex> lock(mutex_);
    return counts_;
}

}  // namespace host
