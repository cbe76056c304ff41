// A source under observation: running on a thread of its own, with a sink that looks at every frame.
#ifndef CONFORMANCE_RUN_H
#define CONFORMANCE_RUN_H

#include <boost/date_time/posix_time/posix_time_types.hpp>
#include <boost/noncopyable.hpp>
#include <boost/shared_ptr.hpp>
#include <boost/weak_ptr.hpp>
#include <chrono>
#include <condition_variable>
#include <cstdint>
#include <deque>
#include <functional>
#include <memory>
#include <mutex>
#include <stdexcept>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "capture/source.h"

namespace cimage {
class CImage;
}

namespace conformance {

using ImagePtr = boost::shared_ptr<const cimage::CImage>;

/// A check does not hold: "found …, wanted …".
class failed : public std::runtime_error
{
public:
    using std::runtime_error::runtime_error;
};

/// A check cannot be made: why.
class skipped : public std::runtime_error
{
public:
    using std::runtime_error::runtime_error;
};

/// What a sink has seen until now.
struct TSeen
{
    std::uint64_t frames = 0;
    std::uint64_t pushed = 0;  ///< of these, by a source that waits
    std::uint64_t lost = 0;
    std::uint64_t interruptions = 0;
    std::string fault;      ///< the first that a frame had; empty: none
    bool returned = false;  ///< Run() is over
    std::string error;      ///< what Run() threw
};

/// The sink. Every call is safe on any thread.
class CWatch : public capture::CSink
{
public:
    /// Frames are to be of that format and size, "Mono8 640x480". Throws std::invalid_argument.
    explicit CWatch(const std::string& format);

    void Offer(const dev::TFrame<>& frame) override { Take(frame); }
    bool Push(const dev::TFrame<>& frame) override;
    void Lost(const std::string& reason, std::uint64_t count) override;
    void Interrupted(const std::string& reason) override;
    void Count(const std::string&, std::uint64_t) override {}

    /// Frames that come from now on are to be of that size, or with zeros, of any.
    void ExpectSize(unsigned int width, unsigned int height);
    /// The next Push() blocks, as in a host that is full.
    void Hold();
    void Release();
    /// Push() takes nothing any more, as of a host that has ended.
    void Refuse();
    void Return(const std::string& error);

    /// Waits until `done`, at most so long; what had been seen by then.
    TSeen Await(std::chrono::milliseconds patience, const std::function<bool(const TSeen&)>& done);

    TSeen Seen() const;

    /// Lets go of the first images, which it had kept; throws failed when their pixels have changed since.
    void CheckKept();
    /// The latest images, whoever holds them.
    std::deque<boost::weak_ptr<const cimage::CImage>> Images() const;

private:
    void Take(const dev::TFrame<>& frame);
    std::string FaultOf(const dev::TFrame<>& frame) const;

    const ImagePtr whole_;
    mutable std::mutex mutex_;
    std::condition_variable changed_;
    TSeen seen_;
    unsigned int width_;
    unsigned int height_;
    bool held_ = false;
    bool refusing_ = false;
    std::uint64_t number_ = 0;  ///< of the last frame
    boost::posix_time::ptime time_;
    std::vector<std::pair<ImagePtr, std::uint64_t>> kept_;  ///< with a digest of the pixels
    std::deque<boost::weak_ptr<const cimage::CImage>> images_;
};

/// An open source. When the object goes, the source is stopped and then gone; but if Run() does not return then, both
/// stay behind with its thread.
class CRun : private boost::noncopyable
{
public:
    CRun(std::unique_ptr<capture::CSource> source, const std::string& format, std::chrono::milliseconds patience);
    ~CRun();

    capture::CSource& Source() { return *both_->source; }
    CWatch& Watch() { return both_->watch; }

    /// Not expired once this object is gone: the source has stayed behind.
    std::weak_ptr<void> Trace() const { return both_; }

    /// Calls Run() on a thread.
    void Start();

    /// So many frames in all, each within the patience, or less when the source ends before; what was seen then. Throws
    /// failed when none comes, when one has a fault, and when Run() threw.
    TSeen AwaitFrames(std::uint64_t count);
    /// So many more.
    TSeen AwaitMore(std::uint64_t count) { return AwaitFrames(both_->watch.Seen().frames + count); }

    /// Waits until Run() is over, which has been asked for or is about to be. Throws failed when it is not, or threw.
    TSeen AwaitReturn(const std::string& wanted);

    /// Stop(), AwaitReturn() and what the last frames had.
    TSeen Stop();

    /// The source goes, once Run() is over; what was watched stays.
    void Close() { both_->source.reset(); }

private:
    struct TBoth
    {
        explicit TBoth(const std::string& format) : watch(format) {}
        CWatch watch;
        std::unique_ptr<capture::CSource> source;
    };

    const std::shared_ptr<TBoth> both_;
    const std::chrono::milliseconds patience_;
    std::thread thread_;
};

}  // namespace conformance

#endif
