// A pipeline that runs, and the thread that keeps it.
#ifndef GST_PIPELINE_H
#define GST_PIPELINE_H

#include <gst/app/gstappsink.h>

#include <boost/date_time/posix_time/posix_time_types.hpp>
#include <boost/noncopyable.hpp>
#include <boost/optional.hpp>
#include <chrono>
#include <condition_variable>
#include <cstdint>
#include <exception>
#include <map>
#include <memory>
#include <mutex>
#include <set>
#include <string>
#include <thread>
#include <vector>

#include "capture/source.h"
#include "gst/formats.h"
#include "gst/handles.h"
#include "gst/outlet.h"
#include "gst/plan.h"
#include "gst/settings.h"

namespace gst {

/// Three kinds of threads meet here. The keeper makes every change of the pipeline's state, for such a change may hang
/// in a device or a network for as long as it likes. The pipeline's own threads bring frames and messages. The host's
/// threads ask and wait, each for a bounded time. Frames reach the host's sink on the pipeline's thread, without a
/// queue between. Safe on any thread, except where a call says so.
///
/// Images are the pipeline's own buffers. A camera has few of them: it is asked for eight that the host may hold, and
/// when all it has are held it waits, and loses frames.
///
/// Shared by the source and the keeper: when the keeper hangs, the source goes all the same, and the keeper takes the
/// pipeline down once it can.
class CPipeline : public std::enable_shared_from_this<CPipeline>, private boost::noncopyable
{
public:
    /// `format` is an "FB" for which there are caps, or empty for any that has a pixel format.
    CPipeline(TPlan plan, const std::string& format, const capture::Tell& tell);

    /// Once, by the owner: starts the keeper, which takes the pipeline to the point where devices and files are open
    /// and, unless it is live, the first frame waits. Throws std::runtime_error with what an element reported, for a
    /// frame of another format, and for a pipeline that does not come so far within 10 s.
    void Open();

    /// Plays into the sink, which is connected to the outlet until then, until the stream ends or Stop(). Throws
    /// std::runtime_error when the pipeline fails. On one thread, once.
    void Run(capture::CSink& sink);

    void Stop();

    /// By the owner, before it lets go: has the keeper end the pipeline, and waits for that, at most 2 s. Nothing
    /// reaches the host any more.
    void Close();

    /// The format of the frames, after Open(). A live pipeline is played for it, so that it cannot be Run() any more.
    /// Throws std::runtime_error when none is known within 10 s.
    TShape FirstShape();

    const std::vector<TElement>& Elements() const { return elements_; }
    const std::shared_ptr<COutlet>& Outlet() const { return outlet_; }

private:
    enum class Play
    {
        Not,
        Look,   ///< without a sink, until the format is known
        Frames  ///< into the sink
    };

    void Keep();
    bool Settle(GstState state);
    void AwaitFailure();
    void End(std::unique_lock<std::mutex>& lock);
    void Fail(const std::string& what, bool explain = false);
    std::string Explain(const std::string& what) const;
    CRef<GstCaps> Offered() const;
    std::string Wanted() const;
    std::string NameOf(GstObject* object) const;
    boost::posix_time::ptime Stamp(GstSample* sample, bool live);

    GstFlowReturn OnSample(GstAppSink* sink);
    GstPadProbeReturn OnProbe(GstPad* pad, GstPadProbeInfo* info);
    void OnCaps(const GstCaps* caps);
    void OnMessage(GstMessage* message);
    void OnWarning(GstMessage* message);
    void OnQos(GstMessage* message);

    const CRef<GstElement> pipeline_;
    const CRef<GstElement> sink_;
    const CRef<GstPad> pad_;  ///< of the sink
    const std::string format_;
    const CRef<GstCaps> wanted_;
    const bool sync_;
    const std::vector<TElement> elements_;
    const std::shared_ptr<COutlet> outlet_;
    const std::string text_;  ///< of the frames

    std::thread keeper_;  ///< the owner's

    mutable std::mutex mutex_;  ///< guards what follows; nothing of the host's or GStreamer's is called under it
    std::condition_variable changed_;
    Play play_ = Play::Not;
    bool quit_ = false;      ///< the keeper shall end the pipeline
    bool open_ = false;      ///< Open() may return
    bool live_ = false;      ///< known once open
    bool ended_ = false;     ///< the stream is over
    bool failed_ = false;    ///< an error came; the keeper makes failure_ of it
    bool finished_ = false;  ///< the keeper is done
    bool latency_ = false;   ///< the keeper shall distribute it anew
    bool explain_ = false;   ///< it adds what the elements have to offer
    std::string error_;      ///< the first one, as its element told it
    std::exception_ptr failure_;
    boost::optional<TShape> shape_;
    double fps_ = 0.0;                              ///< of the caps; 0 when they do not say
    std::map<std::string, std::uint64_t> dropped_;  ///< by element, as counted there
    std::set<std::string> warned_;                  ///< what was told already

    // Of the thread that brings the frames, one at a time; the first two are set before it may come.
    boost::posix_time::ptime start_;      ///< UTC at the start of the run
    GstClockTime start_clock_ = 0;        ///< CLOCK_MONOTONIC at the same moment, nanoseconds
    boost::posix_time::ptime last_time_;  ///< stamp of the last frame
    std::uint64_t sequence_ = 0;
};

}  // namespace gst

#endif
