#include "genicam/genicam_source.h"

#include <algorithm>
#include <boost/date_time/posix_time/posix_time.hpp>
#include <boost/make_shared.hpp>
#include <stdexcept>

#include "base/number_text.h"
#include "capture/identity.h"
#include "genicam/devices.h"
#include "genicam/error.h"

namespace genicam {

using boost::posix_time::ptime;
using dev::camera::CRoI;
using std::chrono::milliseconds;

namespace {

constexpr milliseconds pop_wait{50};  // the longest that Stop() and SetRegion() wait for the stream
constexpr milliseconds tick{200};     // from one look at counters and features to the next
constexpr milliseconds quiet{3000};   // without a frame, until the camera is asked whether it is there
constexpr milliseconds first_pause{500};
constexpr milliseconds longest_pause{8000};

void OnControlLost(ArvDevice*, gpointer lost)
{
    **static_cast<boost::shared_ptr<std::atomic<bool>>*>(lost) = true;
}

void DeleteLost(gpointer lost, GClosure*)
{
    delete static_cast<boost::shared_ptr<std::atomic<bool>>*>(lost);
}

/// Aravis connects to a camera that somebody else controls, too, to look at it.
void CheckControl(ArvCamera* camera)
{
    ArvDevice* const device = arv_camera_get_device(camera);
    if (ARV_IS_GV_DEVICE(device) && !arv_gv_device_is_controller(ARV_GV_DEVICE(device)))
        throw std::runtime_error("found a camera under the control of another program, wanted it free");
}

/// A flag that rises when the control channel of the camera ends. The signal comes on a thread of the camera's, even
/// while the camera is let go.
boost::shared_ptr<std::atomic<bool>> Watch(ArvCamera* camera)
{
    const auto lost = boost::make_shared<std::atomic<bool>>(false);
    g_signal_connect_data(arv_camera_get_device(camera), "control-lost", G_CALLBACK(OnControlLost),
                          new boost::shared_ptr<std::atomic<bool>>(lost), DeleteLost, GConnectFlags());
    return lost;
}

}  // namespace

CGenicamSource::CGenicamSource(const TPlan& plan, const capture::TRequest& request) : plan_(plan), tell_(request.tell)
{
    const Owned<ArvCamera> camera = Connect(plan_.location);
    CheckControl(camera.get());
    identity_ = Identify(camera.get());
    capture::CheckIdentity(request.settings, identity_, tell_);
    sensor_ = ReadSensor(camera.get());
    if (sensor_.width != plan_.width || sensor_.height != plan_.height)
        throw std::runtime_error("FB: found " + request.format + ", wanted the whole sensor: " + plan_.format->name +
                                 " " + std::to_string(sensor_.width) + "x" + std::to_string(sensor_.height) +
                                 " (ROI cuts a region out of it)");
    const std::string whole = std::to_string(sensor_.width) + ", " + std::to_string(sensor_.height);
    region_ = Prepare(camera.get(), ToRegion(sensor_, plan_.region.empty() ? whole : plan_.region));
    lost_ = Watch(camera.get());
    access_.Set(camera.get());
    features_.reset(new CFeatures(access_, tell_));
}

CGenicamSource::~CGenicamSource() = default;

/// Sets up all but the features. Returns the region that the camera took.
CRoI CGenicamSource::Prepare(ArvCamera* camera, const CRoI& region) const
{
    arv_camera_set_range_check_policy(camera, ARV_RANGE_CHECK_POLICY_ENABLE);
    WritePixelFormat(camera, *plan_.format);
    CError error;
    if (Has(camera, "AcquisitionMode")) {
        arv_camera_set_acquisition_mode(camera, ARV_ACQUISITION_MODE_CONTINUOUS, error);
        error.Check("AcquisitionMode");
    }
    if (Has(camera, "TriggerMode")) {
        arv_camera_clear_triggers(camera, error);
        error.Check("TriggerMode");
    }
    const CRoI taken = WriteRegion(camera, sensor_, region);
    TellOfRegion(region, taken);
    return taken;
}

void CGenicamSource::Tell(const std::string& sentence) const
{
    if (tell_)
        tell_(sentence);
}

void CGenicamSource::TellOfRegion(const CRoI& asked, const CRoI& taken) const
{
    if (taken != asked)
        Tell("ROI: asked " + Geometry(asked) + ", the camera took " + Geometry(taken));
}

void CGenicamSource::Run(capture::CSink& sink)
{
    {
        const std::lock_guard<std::mutex> one(callers_);
        const std::lock_guard<std::mutex> lock(mutex_);
        running_ = true;
    }
    std::exception_ptr error;
    try {
        Capture(sink);
    } catch (...) {
        error = std::current_exception();
    }
    CloseStream(sink);
    {
        const std::lock_guard<std::mutex> lock(mutex_);
        running_ = false;  // a wish that came before is served, another one serves itself
    }
    Serve(sink);
    if (error)
        std::rethrow_exception(error);
}

void CGenicamSource::Capture(capture::CSink& sink)
{
    if (IsStopped())
        return;
    OpenStream();
    while (!IsStopped()) {
        Deliver(sink);
        if (gone_)
            Reconnect(sink);
    }
}

/// Until the source is stopped or the camera gone.
void CGenicamSource::Deliver(capture::CSink& sink)
{
    Clock::time_point heard = Clock::now();
    Clock::time_point ticked = heard;
    bool frames = false;
    while (!gone_ && !IsStopped()) {
        Serve(sink);
        if (gone_)
            return;
        Owned<ArvBuffer> buffer = stream_->Pop(pop_wait);
        const Clock::time_point now = Clock::now();
        if (buffer) {
            Take(std::move(buffer), sink);
            heard = now;
            frames = true;
        } else if (now - heard > quiet) {
            gone_ = !Answers();
            heard = now;
        }
        if (now - ticked > tick) {
            Tally(sink);
            if (frames)  // an access to a camera that is gone takes seconds
                features_->Tend(now);
            frames = false;
            ticked = now;
        }
        gone_ = gone_ || *lost_;
    }
}

void CGenicamSource::Take(Owned<ArvBuffer> buffer, capture::CSink& sink)
{
    const char* const fault = stream_->Fault(buffer.get());
    ledger_.Underran(stream_->Underran(), sink);
    const auto number = ledger_.Arrived(arv_buffer_get_frame_id(buffer.get()), fault, sink);
    if (!number)
        return stream_->Return(std::move(buffer));
    dev::TFrame<> frame;
    frame.text = plan_.location;
    frame.counter1 = *number;
    frame.time_stamp = Stamp(buffer.get());
    frame.image = stream_->Share(std::move(buffer));
    sink.Offer(frame);
}

void CGenicamSource::Tally(capture::CSink& sink)
{
    ledger_.Underran(stream_->Underran(), sink);
    stream_->CountPackets(sink);
}

ptime CGenicamSource::Stamp(ArvBuffer* buffer)
{
    static const ptime epoch(boost::gregorian::date(1970, 1, 1));
    const auto since_epoch = arv_buffer_get_system_timestamp(buffer) / 1000;
    ptime stamp = epoch + boost::posix_time::microseconds(static_cast<std::int64_t>(since_epoch));
    if (!last_stamp_.is_not_a_date_time())
        stamp = std::max(stamp, last_stamp_ + boost::posix_time::microseconds(1));
    last_stamp_ = stamp;
    return stamp;
}

void CGenicamSource::OpenStream()
{
    const CRoI region = CurrentRegion();
    const TStreamPlan plan = {plan_.format, region.Width(), region.Height(), plan_.buffers, plan_.packet_size};
    access_.With([&](ArvCamera* camera) { stream_.reset(new CStream(camera, plan)); });
    ledger_.Begin(stream_->Underruns());
    if (plan_.packet_size != 0 && stream_->PacketSize() != 0 && stream_->PacketSize() != plan_.packet_size)
        Tell("PACKET SIZE: asked " + std::to_string(plan_.packet_size) + " bytes, the camera took " +
             std::to_string(stream_->PacketSize()));
}

void CGenicamSource::CloseStream(capture::CSink& sink)
{
    if (!stream_)
        return;
    Tally(sink);
    ledger_.End(sink);
    access_.With([this](ArvCamera* camera) {
        if (!gone_)
            stream_->Stop(camera);
        stream_.reset();
    });
}

bool CGenicamSource::Answers()
{
    return access_.With([](ArvCamera* camera) {
        CError error;
        arv_camera_get_integer(camera, "Width", error);
        return !error.Failed();
    });
}

void CGenicamSource::Reconnect(capture::CSink& sink)
{
    const Clock::time_point since = Clock::now();
    sink.Interrupted("camera gone");
    Tell("the camera is gone");
    CloseStream(sink);
    access_.Set(nullptr);
    std::string told;
    for (Clock::duration pause = first_pause; gone_; pause = std::min<Clock::duration>(2 * pause, longest_pause)) {
        if (!Wait(pause, sink))
            return;
        TryToReconnect(&told);
    }
    const auto seconds = std::chrono::duration_cast<std::chrono::seconds>(Clock::now() - since);
    Tell("the camera is back after " + std::to_string(seconds.count()) + " s");
}

/// gone_ is false once the camera delivers again. `told` is the last fault that was told of.
void CGenicamSource::TryToReconnect(std::string* told)
{
    Owned<ArvCamera> camera;
    try {
        camera = Connect(plan_.location);
    } catch (const std::runtime_error&) {
        return;  // as was to be expected
    }
    try {
        CheckControl(camera.get());
        const std::string serial = Identify(camera.get()).serial;
        if (serial != identity_.serial)
            throw std::runtime_error("SERIAL: found the device \"" + serial + "\", wanted \"" + identity_.serial +
                                     "\"");
        const CRoI region = Prepare(camera.get(), CurrentRegion());
        SetCurrentRegion(region);
        lost_ = Watch(camera.get());
        access_.Set(camera.get());
        camera.reset();
        features_->Reapply();
        OpenStream();
        gone_ = false;
    } catch (const std::runtime_error& error) {
        access_.Set(nullptr);
        if (*told != error.what())
            Tell(std::string("the camera cannot be used again: ") + error.what());
        *told = error.what();
    }
}

void CGenicamSource::Stop()
{
    {
        const std::lock_guard<std::mutex> lock(mutex_);
        stopped_ = true;
    }
    called_.notify_all();
}

bool CGenicamSource::IsStopped() const
{
    const std::lock_guard<std::mutex> lock(mutex_);
    return stopped_;
}

/// False, at once, when the source is stopped. Wishes are refused meanwhile, for the camera is gone.
bool CGenicamSource::Wait(Clock::duration pause, capture::CSink& sink)
{
    const Clock::time_point end = Clock::now() + pause;
    std::unique_lock<std::mutex> lock(mutex_);
    while (called_.wait_until(lock, end, [this] { return stopped_ || wish_ != nullptr; }) && !stopped_) {
        lock.unlock();
        Serve(sink);
        lock.lock();
    }
    return !stopped_;
}

boost::optional<CRoI> CGenicamSource::Region() const
{
    return CurrentRegion();
}

CRoI CGenicamSource::CurrentRegion() const
{
    const std::lock_guard<std::mutex> lock(mutex_);
    return region_;
}

void CGenicamSource::SetCurrentRegion(const CRoI& region)
{
    const std::lock_guard<std::mutex> lock(mutex_);
    region_ = region;
}

CRoI CGenicamSource::SetRegion(const CRoI& wanted)
{
    const CRoI legal = ToRegion(sensor_, Geometry(wanted));
    const std::lock_guard<std::mutex> one(callers_);
    std::unique_lock<std::mutex> lock(mutex_);
    if (!running_) {
        lock.unlock();
        const CRoI taken = ChangeRegion(legal);
        SetCurrentRegion(taken);
        return taken;
    }
    TWish wish = {legal, nullptr};
    wish_ = &wish;
    called_.notify_all();
    served_.wait(lock, [this] { return wish_ == nullptr; });
    if (wish.error)
        std::rethrow_exception(wish.error);
    return wish.region;
}

/// Does what another thread waits for, if one does.
void CGenicamSource::Serve(capture::CSink& sink)
{
    TWish* wish = nullptr;
    {
        const std::lock_guard<std::mutex> lock(mutex_);
        wish = wish_;
    }
    if (wish == nullptr)
        return;
    const CRoI old = CurrentRegion();
    try {
        const bool streams = stream_ != nullptr;
        CloseStream(sink);
        try {
            wish->region = ChangeRegion(wish->region);
            SetCurrentRegion(wish->region);
        } catch (...) {
            wish->error = std::current_exception();
        }
        if (streams)
            OpenStream();
    } catch (...) {
        wish->error = std::current_exception();
        SetCurrentRegion(old);  // it comes back with that
        gone_ = true;
    }
    {
        const std::lock_guard<std::mutex> lock(mutex_);
        wish_ = nullptr;
    }
    served_.notify_all();
}

/// The region that the camera took; after an error it has the old one.
CRoI CGenicamSource::ChangeRegion(const CRoI& region)
{
    const CRoI old = CurrentRegion();
    const CRoI taken = access_.With([&](ArvCamera* camera) {
        try {
            return WriteRegion(camera, sensor_, region);
        } catch (const std::runtime_error&) {
            WriteRegion(camera, sensor_, old);
            throw;
        }
    });
    TellOfRegion(region, taken);
    return taken;
}

}  // namespace genicam
