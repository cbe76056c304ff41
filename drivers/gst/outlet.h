// The way from a pipeline's threads to the host.
#ifndef GST_OUTLET_H
#define GST_OUTLET_H

#include <boost/noncopyable.hpp>
#include <condition_variable>
#include <mutex>
#include <string>
#include <utility>

#include "capture/source.h"

namespace gst {

/// Lets a pipeline's threads reach the host's sink and its ear, until it is closed: once Close() has returned, nobody
/// is in there any more, and nobody comes in again. So a pipeline that hangs can be left behind. Safe on any thread.
class COutlet : private boost::noncopyable
{
public:
    explicit COutlet(capture::Tell tell) : tell_(std::move(tell)) {}

    /// From now on there is a sink.
    void Connect(capture::CSink* sink)
    {
        const std::lock_guard<std::mutex> lock(mutex_);
        sink_ = sink;
    }

    /// Not to be called from within WithSink() or Say().
    void Close()
    {
        std::unique_lock<std::mutex> lock(mutex_);
        closed_ = true;
        left_.wait(lock, [this] { return inside_ == 0; });
    }

    bool IsOpen() const
    {
        const std::lock_guard<std::mutex> lock(mutex_);
        return !closed_;
    }

    /// Calls `work` with the sink, which may block; false, without the call, when there is none (any more).
    template <typename Work>
    bool WithSink(const Work& work)
    {
        const CVisit visit(this);
        if (!visit.may_enter || visit.sink == nullptr)
            return false;
        work(*visit.sink);
        return true;
    }

    void Say(const std::string& sentence)
    {
        const CVisit visit(this);
        if (visit.may_enter && tell_)
            tell_(sentence);
    }

private:
    class CVisit : private boost::noncopyable
    {
    public:
        explicit CVisit(COutlet* outlet) : outlet_(outlet)
        {
            const std::lock_guard<std::mutex> lock(outlet_->mutex_);
            may_enter = !outlet_->closed_;
            sink = outlet_->sink_;
            ++outlet_->inside_;
        }
        ~CVisit()
        {
            const std::lock_guard<std::mutex> lock(outlet_->mutex_);
            if (--outlet_->inside_ == 0)
                outlet_->left_.notify_all();
        }

        bool may_enter = false;
        capture::CSink* sink = nullptr;

    private:
        COutlet* const outlet_;
    };

    const capture::Tell tell_;
    mutable std::mutex mutex_;
    std::condition_variable left_;
    capture::CSink* sink_ = nullptr;
    int inside_ = 0;
    bool closed_ = false;
};

}  // namespace gst

#endif
