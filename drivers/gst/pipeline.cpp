#include "gst/pipeline.h"

#include <gst/video/video.h>

#include <algorithm>
#include <cmath>
#include <stdexcept>
#include <utility>

#include "base/log.h"

namespace gst {

namespace {

constexpr std::chrono::seconds open_timeout(10);
constexpr std::chrono::seconds close_timeout(2);

/// How many of a live pipeline's buffers the host may hold without stopping it: its queue, its tree, its recorder.
constexpr guint held_buffers = 8;

std::runtime_error NoFrame()
{
    return std::runtime_error("found no frame within " + std::to_string(open_timeout.count()) +
                              " s, wanted a pipeline that delivers");
}

CRef<GstElement> SinkOf(const CRef<GstElement>& pipeline)
{
    return CRef<GstElement>(gst_bin_get_by_name(GST_BIN(pipeline.get()), sink_name));
}

/// The message and the last line of the debug text, for the lines before are places in somebody else's code.
std::string ErrorText(const GError* error, const gchar* debug)
{
    std::string text = error != nullptr ? error->message : "no message";
    std::string detail = debug != nullptr ? debug : "";
    detail.erase(detail.find_last_not_of(" \n") + 1);
    const std::size_t line = detail.rfind('\n');
    detail.erase(0, line == std::string::npos ? line : line + 1);
    return detail.empty() ? text : text + " (" + detail + ")";
}

/// True when something upstream of the pad gives frames at its own pace.
bool IsLive(GstPad* pad)
{
    GstQuery* const query = gst_query_new_latency();
    gboolean live = FALSE;
    if (gst_pad_peer_query(pad, query) != FALSE)
        gst_query_parse_latency(query, &live, nullptr, nullptr);
    gst_query_unref(query);
    return live != FALSE;
}

}  // namespace

CPipeline::CPipeline(TPlan plan, const std::string& format, const capture::Tell& tell)
    : pipeline_(std::move(plan.pipeline)),
      sink_(SinkOf(pipeline_)),
      pad_(gst_element_get_static_pad(sink_.get(), "sink")),
      format_(format.empty() ? format : cimage::Build(format)->Descriptor()),
      wanted_(format.empty() ? AllCaps() : CapsOf(format)),
      sync_(plan.sync),
      elements_(NamedElements(GST_BIN(pipeline_.get()))),
      outlet_(std::make_shared<COutlet>(tell)),
      text_(plan.text)
{
    // The last sample is a reference to a buffer that a camera may need, and costs time with every frame.
    g_object_set(sink_.get(), "sync", sync_ ? TRUE : FALSE, "max-buffers", 1U, "enable-last-sample", FALSE, "qos",
                 FALSE, nullptr);
    gst_app_sink_set_caps(GST_APP_SINK(sink_.get()), wanted_.get());
    // CLOCK_MONOTONIC, whatever clock an element would bring along.
    const CRef<GstClock> clock(gst_system_clock_obtain());
    gst_pipeline_use_clock(GST_PIPELINE(pipeline_.get()), clock.get());

    GstAppSinkCallbacks callbacks{};
    callbacks.new_sample = [](GstAppSink* sink, gpointer self) {
        return static_cast<CPipeline*>(self)->OnSample(sink);
    };
    gst_app_sink_set_callbacks(GST_APP_SINK(sink_.get()), &callbacks, this, nullptr);
    gst_pad_add_probe(
        pad_.get(),
        static_cast<GstPadProbeType>(GST_PAD_PROBE_TYPE_QUERY_DOWNSTREAM | GST_PAD_PROBE_TYPE_EVENT_DOWNSTREAM),
        [](GstPad* pad, GstPadProbeInfo* info, gpointer self) {
            return static_cast<CPipeline*>(self)->OnProbe(pad, info);
        },
        this, nullptr);
}

void CPipeline::Open()
{
    // Messages may come from any thread and late: the bus keeps the pipeline until the keeper has taken it down.
    const CRef<GstBus> bus(gst_element_get_bus(pipeline_.get()));
    gst_bus_set_sync_handler(
        bus.get(),
        [](GstBus*, GstMessage* message, gpointer self) {
            (*static_cast<std::shared_ptr<CPipeline>*>(self))->OnMessage(message);
            gst_message_unref(message);
            return GST_BUS_DROP;
        },
        new std::shared_ptr<CPipeline>(shared_from_this()),
        [](gpointer self) { delete static_cast<std::shared_ptr<CPipeline>*>(self); });

    keeper_ = std::thread([](const std::shared_ptr<CPipeline>& self) { self->Keep(); }, shared_from_this());
    std::unique_lock<std::mutex> lock(mutex_);
    changed_.wait_for(lock, open_timeout, [this] { return open_ || failure_; });
    const bool opened = open_;
    const std::exception_ptr failure = failure_;
    lock.unlock();
    if (opened && !failure)
        return;
    Close();
    if (failure)
        std::rethrow_exception(failure);
    throw NoFrame();
}

void CPipeline::Run(capture::CSink& sink)
{
    outlet_->Connect(&sink);
    {
        std::unique_lock<std::mutex> lock(mutex_);
        start_ = boost::posix_time::microsec_clock::universal_time();
        start_clock_ = static_cast<GstClockTime>(g_get_monotonic_time()) * GST_USECOND;
        play_ = Play::Frames;
        changed_.notify_all();
        changed_.wait(lock, [this] { return quit_ || (ended_ && !failed_) || failure_; });
    }
    Close();
    const std::lock_guard<std::mutex> lock(mutex_);
    if (failure_)
        std::rethrow_exception(failure_);
}

void CPipeline::Stop()
{
    const std::lock_guard<std::mutex> lock(mutex_);
    quit_ = true;
    changed_.notify_all();
}

void CPipeline::Close()
{
    Stop();
    outlet_->Close();
    if (!keeper_.joinable())
        return;
    std::unique_lock<std::mutex> lock(mutex_);
    const bool finished = changed_.wait_for(lock, close_timeout, [this] { return finished_; });
    lock.unlock();
    if (finished)
        return keeper_.join();
    keeper_.detach();
    base::Log(base::Severity::Warning, BOOST_CURRENT_FUNCTION, text_ + " hangs while it ends, and is left behind");
}

TShape CPipeline::FirstShape()
{
    std::unique_lock<std::mutex> lock(mutex_);
    play_ = Play::Look;
    changed_.notify_all();
    changed_.wait_for(lock, open_timeout, [this] { return shape_ || ended_ || failure_; });
    if (failure_)
        std::rethrow_exception(failure_);
    if (!shape_)
        throw ended_ ? std::runtime_error("found a stream that ends without a frame, wanted one that delivers")
                     : NoFrame();
    return *shape_;
}

// ---- The keeper ----

void CPipeline::Keep()
{
    const bool opened = Settle(GST_STATE_PAUSED);
    std::unique_lock<std::mutex> lock(mutex_);
    if (live_)
        g_object_set(sink_.get(), "sync", FALSE, nullptr);
    open_ = opened;
    changed_.notify_all();
    changed_.wait(lock, [this] { return quit_ || failed_ || (open_ && play_ != Play::Not); });
    if (!quit_ && !failed_ && (live_ || play_ == Play::Frames)) {
        lock.unlock();
        if (gst_element_set_state(pipeline_.get(), GST_STATE_PLAYING) == GST_STATE_CHANGE_FAILURE)
            AwaitFailure();
        lock.lock();
    }
    while (!quit_ && !failed_) {
        changed_.wait(lock, [this] { return quit_ || failed_ || latency_; });
        if (std::exchange(latency_, false)) {
            lock.unlock();
            gst_bin_recalculate_latency(GST_BIN(pipeline_.get()));
            lock.lock();
        }
    }
    if (failed_ && !failure_) {
        lock.unlock();
        const std::string explained = explain_ ? Explain(error_) : error_;
        lock.lock();
        failure_ = std::make_exception_ptr(std::runtime_error(explained));
        changed_.notify_all();
    }
    End(lock);
}

/// Takes the pipeline there and waits until it is there; false when it fails or shall end.
bool CPipeline::Settle(GstState state)
{
    GstStateChangeReturn change = gst_element_set_state(pipeline_.get(), state);
    for (;;) {
        {
            const std::lock_guard<std::mutex> lock(mutex_);
            if (quit_ || failed_)
                return false;
            live_ = change == GST_STATE_CHANGE_NO_PREROLL;
        }
        if (change == GST_STATE_CHANGE_FAILURE)
            AwaitFailure();
        else if (change != GST_STATE_CHANGE_ASYNC)
            return true;
        else
            change = gst_element_get_state(pipeline_.get(), nullptr, nullptr, 50 * GST_MSECOND);
    }
}

/// A change of state may have failed a moment before the message says why.
void CPipeline::AwaitFailure()
{
    {
        std::unique_lock<std::mutex> lock(mutex_);
        changed_.wait_for(lock, std::chrono::seconds(1), [this] { return failed_ || quit_; });
    }
    Fail("found a pipeline that cannot be started, wanted one that runs");
}

void CPipeline::End(std::unique_lock<std::mutex>& lock)
{
    quit_ = true;
    lock.unlock();
    gst_element_set_state(pipeline_.get(), GST_STATE_NULL);
    const CRef<GstBus> bus(gst_element_get_bus(pipeline_.get()));
    gst_bus_set_sync_handler(bus.get(), nullptr, nullptr, nullptr);
    lock.lock();
    finished_ = true;
    changed_.notify_all();
}

/// The first failure stays; what an element says of being taken down is none.
void CPipeline::Fail(const std::string& what, bool explain)
{
    const std::lock_guard<std::mutex> lock(mutex_);
    if (failed_ || quit_)
        return;
    failed_ = true;
    explain_ = explain;
    error_ = what;
    changed_.notify_all();
}

/// An element that finds no common format with the next one just says so; what it has, and what is wanted, is more use.
std::string CPipeline::Explain(const std::string& what) const
{
    const CRef<GstCaps> offered = Offered();
    if (!offered || gst_caps_can_intersect(offered.get(), wanted_.get()) != FALSE)
        return what;
    const std::string found =
        gst_caps_is_empty(offered.get()) ? "elements without a common format" : Text(offered.get());
    return "found " + found + ", wanted " + Wanted() + "; " + what;
}

/// What could come to our sink; while nothing is linked to it, all the video that lies open, or null.
CRef<GstCaps> CPipeline::Offered() const
{
    const CRef<GstPad> peer(gst_pad_get_peer(pad_.get()));
    if (peer)
        return CRef<GstCaps>(gst_pad_query_caps(peer.get(), nullptr));
    CRef<GstCaps> offered(gst_caps_new_empty());
    const auto add = [](GstElement*, GstPad* pad, gpointer all) -> gboolean {
        if (gst_pad_is_linked(pad) != FALSE)
            return TRUE;
        GstCaps* caps = gst_pad_get_current_caps(pad);
        if (caps == nullptr)
            caps = gst_pad_query_caps(pad, nullptr);
        if (g_strrstr(CRef<gchar>(gst_caps_to_string(caps)).get(), "audio/") == nullptr)
            gst_caps_append(static_cast<GstCaps*>(all), caps);
        else
            gst_caps_unref(caps);
        return TRUE;
    };
    for (const TElement& element : elements_)
        gst_element_foreach_src_pad(element.element.get(), add, offered.get());
    return gst_caps_is_empty(offered.get()) ? nullptr : std::move(offered);
}

std::string CPipeline::Wanted() const
{
    return format_.empty() ? "one of " + PixelFormatNames() : format_ + " (FB)";
}

std::string CPipeline::NameOf(GstObject* object) const
{
    for (const TElement& element : elements_)
        if (GST_OBJECT(element.element.get()) == object)
            return element.name;
    const CRef<gchar> name(object != nullptr ? gst_object_get_name(object) : nullptr);
    return name ? name.get() : "pipeline";
}

// ---- The pipeline's own threads ----

GstFlowReturn CPipeline::OnSample(GstAppSink* sink)
{
    const CRef<GstSample> sample(gst_app_sink_pull_sample(sink));
    boost::optional<TShape> shape;
    bool live = false;
    {
        const std::lock_guard<std::mutex> lock(mutex_);
        if (quit_ || failed_ || !sample)
            return GST_FLOW_FLUSHING;
        shape = shape_;
        live = live_;
    }
    bool goes_on = true;
    try {
        dev::TFrame<> frame;
        if (!shape)
            throw std::runtime_error("found frames without caps, wanted " + Wanted());
        frame.image = Wrap(gst_sample_get_buffer(sample.get()), *shape);
        frame.time_stamp = Stamp(sample.get(), live);
        frame.counter1 = sequence_;
        frame.text = text_;
        const auto deliver = [&](capture::CSink& to) {
            ++sequence_;
            if (live)
                to.Offer(frame);
            else
                goes_on = to.Push(frame);
        };
        goes_on = outlet_->WithSink(deliver) && goes_on;
    } catch (...) {
        const std::lock_guard<std::mutex> lock(mutex_);
        failed_ = true;
        if (!failure_)
            failure_ = std::current_exception();
        changed_.notify_all();
        return GST_FLOW_ERROR;
    }
    if (goes_on)
        return GST_FLOW_OK;
    Stop();
    return GST_FLOW_FLUSHING;
}

boost::posix_time::ptime CPipeline::Stamp(GstSample* sample, bool live)
{
    // None when the buffer has no time.
    const GstClockTime running = gst_segment_to_running_time(gst_sample_get_segment(sample), GST_FORMAT_TIME,
                                                             GST_BUFFER_PTS(gst_sample_get_buffer(sample)));
    GstClockTime since_start = 0;
    if (!GST_CLOCK_TIME_IS_VALID(running))
        since_start = static_cast<GstClockTime>(g_get_monotonic_time()) * GST_USECOND - start_clock_;
    else if (live)
        since_start = gst_element_get_base_time(sink_.get()) + running - start_clock_;
    else
        since_start = running;
    // A live frame may be of a moment before the start, so the difference is signed.
    const auto microseconds = static_cast<std::int64_t>(since_start) / 1000;
    boost::posix_time::ptime time = start_ + boost::posix_time::microseconds(microseconds);
    if (!last_time_.is_special())
        time = std::max(time, last_time_ + boost::posix_time::microseconds(1));
    last_time_ = time;
    return time;
}

GstPadProbeReturn CPipeline::OnProbe(GstPad* pad, GstPadProbeInfo* info)
{
    if ((info->type & GST_PAD_PROBE_TYPE_EVENT_DOWNSTREAM) != 0) {
        GstEvent* const event = GST_PAD_PROBE_INFO_EVENT(info);
        if (GST_EVENT_TYPE(event) == GST_EVENT_CAPS) {
            GstCaps* caps = nullptr;
            gst_event_parse_caps(event, &caps);
            OnCaps(caps);
        }
        return GST_PAD_PROBE_OK;
    }
    if ((info->type & GST_PAD_PROBE_TYPE_PUSH) == 0)
        return GST_PAD_PROBE_OK;  // the answer on its way back
    GstQuery* const query = GST_PAD_PROBE_INFO_QUERY(info);
    switch (GST_QUERY_TYPE(query)) {
        case GST_QUERY_ACCEPT_CAPS:
            // Elements learn from the caps query what is wanted. One that has something else all the same shall show
            // it, so that OnCaps() can say what it is.
            gst_query_set_accept_caps_result(query, TRUE);
            return GST_PAD_PROBE_HANDLED;
        case GST_QUERY_ALLOCATION:
            // Rows may lie as they like: without this, elements copy into the layout that the caps imply.
            gst_query_add_allocation_meta(query, GST_VIDEO_META_API_TYPE, nullptr);
            if (IsLive(pad)) {
                GstCaps* caps = nullptr;
                gst_query_parse_allocation(query, &caps, nullptr);
                if (const auto shape = ShapeOf(caps))
                    gst_query_add_allocation_pool(query, nullptr, static_cast<guint>(shape->stride * shape->height),
                                                  held_buffers, 0);
            }
            return GST_PAD_PROBE_HANDLED;
        default:
            return GST_PAD_PROBE_OK;
    }
}

void CPipeline::OnCaps(const GstCaps* caps)
{
    const boost::optional<TShape> shape = ShapeOf(caps);
    if (!shape || (!format_.empty() && shape->Descriptor() != format_))
        return Fail("found " + Text(caps) + ", wanted " + Wanted());
    gint frames = 0;
    gint seconds = 1;
    gst_structure_get_fraction(gst_caps_get_structure(caps, 0), "framerate", &frames, &seconds);
    const std::lock_guard<std::mutex> lock(mutex_);
    fps_ = static_cast<double>(frames) / seconds;
    shape_ = shape;
    changed_.notify_all();
}

void CPipeline::OnMessage(GstMessage* message)
{
    switch (GST_MESSAGE_TYPE(message)) {
        case GST_MESSAGE_ERROR: {
            GError* error = nullptr;
            gchar* debug = nullptr;
            gst_message_parse_error(message, &error, &debug);
            const CRef<GError> owned_error(error);
            const CRef<gchar> owned_debug(debug);
            return Fail(NameOf(GST_MESSAGE_SRC(message)) + ": found " + ErrorText(error, debug) +
                            ", wanted a pipeline that runs",
                        true);
        }
        case GST_MESSAGE_WARNING:
            return OnWarning(message);
        case GST_MESSAGE_QOS:
            return OnQos(message);
        case GST_MESSAGE_EOS:
        case GST_MESSAGE_LATENCY: {
            const std::lock_guard<std::mutex> lock(mutex_);
            (GST_MESSAGE_TYPE(message) == GST_MESSAGE_EOS ? ended_ : latency_) = true;
            return changed_.notify_all();
        }
        default:
            return;
    }
}

/// A decoder may warn with every frame: each is counted, and told once.
void CPipeline::OnWarning(GstMessage* message)
{
    GError* error = nullptr;
    gchar* debug = nullptr;
    gst_message_parse_warning(message, &error, &debug);
    const CRef<GError> owned_error(error);
    const CRef<gchar> owned_debug(debug);
    const std::string element = NameOf(GST_MESSAGE_SRC(message));
    bool is_new = false;
    {
        const std::lock_guard<std::mutex> lock(mutex_);
        is_new = warned_.insert(element + ": " + ErrorText(error, nullptr)).second;
    }
    if (is_new)
        outlet_->Say(element + ": " + ErrorText(error, debug));
    outlet_->WithSink([](capture::CSink& sink) { sink.Count("warnings", 1); });
}

/// Elements that drop frames tell how many they have dropped so far. A V4L2 camera does not count, but tells of each
/// gap how long it was.
void CPipeline::OnQos(GstMessage* message)
{
    GstObject* const source = GST_MESSAGE_SRC(message);
    if (source == nullptr || GST_OBJECT_FLAG_IS_SET(source, GST_ELEMENT_FLAG_SINK))
        return;  // the end of another branch, where our frames do not pass
    GstFormat unit = GST_FORMAT_UNDEFINED;
    guint64 dropped = 0;
    guint64 gap = GST_CLOCK_TIME_NONE;
    gst_message_parse_qos_stats(message, &unit, nullptr, &dropped);
    gst_message_parse_qos(message, nullptr, nullptr, nullptr, nullptr, &gap);
    const std::string element = NameOf(source);
    std::uint64_t lost = 0;
    {
        const std::lock_guard<std::mutex> lock(mutex_);
        if (unit == GST_FORMAT_BUFFERS) {
            std::uint64_t& before = dropped_[element];
            lost = dropped > before ? dropped - before : 0;
            before = std::max<std::uint64_t>(before, dropped);
        } else if (unit == GST_FORMAT_UNDEFINED && GST_CLOCK_TIME_IS_VALID(gap)) {
            lost = static_cast<std::uint64_t>(std::llround(static_cast<double>(gap) * 1e-9 * fps_));
        }
    }
    if (lost > 0)
        outlet_->WithSink([&](capture::CSink& sink) { sink.Lost("dropped by " + element, lost); });
}

}  // namespace gst
