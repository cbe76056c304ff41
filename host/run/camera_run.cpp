#include "run/camera_run.h"

#include <fmt/format.h>
#include <boost/asio/post.hpp>

#include "orvo_proc_cimage/image.h"
#include "record/recorder.h"
#include "rig/check_settings.h"
#include "run/digest.h"
#include "run/png_file.h"
#include "run/profile.h"
#include "system/console.h"
#include "video/live_camera.h"

namespace host {

namespace asio = boost::asio;
using Clock = std::chrono::steady_clock;

namespace {

constexpr std::size_t most_messages = 16;  // different errors whose text a camera keeps; the rest is counted

std::string DescriptorOf(const CRegion::ImagePtr& image)
{
    return image ? image->Descriptor() : "no picture";
}

}  // namespace

CCameraRun::CCameraRun(std::string name, const CLiveCamera& live, asio::thread_pool& pool, CConsole& console,
                       TCameraRunOptions options)
    : name_(std::move(name)),
      camera_(live.Camera()),
      source_(live.Source()),
      settings_(live.Settings()),
      console_(console),
      options_(std::move(options)),
      strand_(asio::make_strand(pool)),
      queue_(
          options_.frames, [this] { asio::post(strand_, [this] { Work(); }); },
          [this] { asio::post(strand_, [this] { source_.Stop(); }); }),
      root_(*camera_.Preprocess_Find(dev::camera::CPreprocessorNode::Root)),
      out_node_(*camera_.Preprocess_OutNode()),
      record_node_(*camera_.Preprocess_Find(options_.record_node)),
      region_(camera_),
      nodes_(root_),
      profile_(options_.profile != nullptr ? &options_.profile->AddCamera(name_, root_, nodes_) : nullptr)
{
    if (profile_ != nullptr)
        root_.Observe(profile_);
    else
        root_.Observe(&nodes_);
}

CCameraRun::~CCameraRun()
{
    root_.Observe(nullptr);
}

void CCameraRun::Start()
{
    start_ = Clock::now();
    try {
        thread_ = std::thread([this] { Deliver(); });
    } catch (const std::system_error& error) {
        // The run ends as if the source had failed at once, so that the other cameras end in order.
        failure_ = std::string("no thread for the source: ") + error.what();
        queue_.End();
    }
}

void CCameraRun::Stop(CFrameQueue::Ending ending)
{
    queue_.Close(ending);
    source_.Stop();
}

void CCameraRun::Join()
{
    if (thread_.joinable())
        thread_.join();
}

void CCameraRun::BetweenFrames(std::function<void()> work)
{
    asio::post(strand_, std::move(work));
}

std::string CCameraRun::Region() const
{
    const dev::camera::CRoI& roi = camera_.RoI();
    return fmt::format("{} {} {} {}", roi.Left(), roi.Top(), roi.Right(), roi.Bottom());
}

void CCameraRun::ChangeRegion(const std::string& text)
{
    const auto own = source_.Region();
    dev::camera::CRoI roi = ParseRegion(own ? *own : camera_.RoI(), camera_.ImageFormat(), text);
    if (!own && !whole_pictures_)
        throw std::runtime_error("found a source that delivers its region alone, wanted whole pictures to cut from");
    if (own)
        roi = source_.SetRegion(roi);
    camera_.ChangeRoI(roi);
    region_ = CRegion(camera_);
    // Some may show the new region already: nobody can tell them apart.
    if (own)
        queue_.DropOldRegion();
    if (options_.recorder != nullptr)
        options_.recorder->Note("video", fmt::format("{} ROI = {}", name_, Region()));
}

/// The source's thread.
void CCameraRun::Deliver()
{
    try {
        source_.Run(queue_);
    } catch (const std::exception& error) {
        failure_ = error.what();
        if (failure_.empty())
            failure_ = "an exception without a text";
    } catch (...) {
        failure_ = "unknown exception";
    }
    // Before the end, with which the recording may be over, too.
    if (!failure_.empty() && options_.recorder != nullptr)
        options_.recorder->NoteError(name_, "the source failed: " + failure_);
    // The end before the talk, which may wait for whoever reads it. What failed does not change any more.
    queue_.End();
    if (!failure_.empty())
        console_.Say(fmt::format("{}: the source failed: {}", name_, failure_));
}

/// On the strand, one frame per turn.
void CCameraRun::Work()
{
    // A source that can wait loses nothing to a slow disk: the next frame is taken when the recorder has room.
    if (options_.recorder != nullptr && queue_.SourceWaits() &&
        !options_.recorder->AwaitRoom(options_.track, [this] { asio::post(strand_, [this] { Work(); }); }))
        return;
    switch (queue_.Take(frame_)) {
        case CFrameQueue::Taken::Frame:
            Process();
            frame_.image.reset();  // from here on the tree alone holds it
            asio::post(strand_, [this] { Work(); });
            break;
        case CFrameQueue::Taken::Empty:
            break;
        case CFrameQueue::Taken::End:
            end_ = Clock::now();
            done_ = true;
            options_.on_done();
            break;
    }
}

void CCameraRun::Process()
{
    const CRegion::ImagePtr picture = region_.Of(frame_.image);
    if (!picture)
        return Drop(
            "wrong format", "source",
            fmt::format("found {}, wanted {} or its region", DescriptorOf(frame_.image), camera_.ImageFormat()));
    whole_pictures_ = frame_.image->Width() == static_cast<unsigned int>(camera_.RoI().SensorWidth()) &&
                      frame_.image->Height() == static_cast<unsigned int>(camera_.RoI().SensorHeight());
    frame_.image = picture;
    const std::uint64_t record_executed = nodes_.Of(record_node_).executed;
    TryRun();
    // Also when a node behind it threw. A decimated node still holds the picture of an earlier frame.
    if (options_.recorder != nullptr && nodes_.Of(record_node_).executed != record_executed)
        Record();
}

void CCameraRun::TryRun()
{
    nodes_.ClearFailed();
    std::string message;
    try {
        return Run();
    } catch (const std::exception& error) {
        message = error.what();
    } catch (...) {
        message = "unknown exception";
    }
    const std::string where = nodes_.Failed() != nullptr ? nodes_.Failed()->name : "frame";
    Drop("error in " + where, where, message);
}

/// One frame through the tree. Exceptions of plugins pass.
void CCameraRun::Run()
{
    const std::uint64_t decimated = nodes_.Of(root_).decimated;
    const std::uint64_t out_executed = nodes_.Of(out_node_).executed;
    if (profile_ != nullptr)
        profile_->Start();
    waited_.Record(NanosecondsSince(queue_.Arrived()));
    const auto begin = Clock::now();
    camera_.Notify_Frame_Received_Async(frame_);
    camera_.Preprocess(frame_);
    const std::uint64_t ns = NanosecondsSince(begin);

    if (nodes_.Of(root_).decimated != decimated) {
        ++decimated_;
        return;
    }
    ++executed_;
    time_.Record(ns);
    if (profile_ != nullptr)
        profile_->Stop();
    // A decimated output node still holds the picture of an earlier frame.
    if (nodes_.Of(out_node_).executed != out_executed)
        HandOut();
}

void CCameraRun::Record()
{
    dev::TFrame<> frame = camera_.RecOutFrame();
    if (!frame.image)
        return;
    frame.time_stamp = frame_.time_stamp;
    frame.counter1 = frame_.counter1;
    options_.recorder->Offer(options_.track, frame);
}

void CCameraRun::HandOut()
{
    const auto image = out_node_.Image("");
    if (!image)
        return;
    if (options_.digests)
        digests_.push_back({frame_.counter1, Digest(*image)});
    if (!options_.pictures.empty())
        WritePicture(*image);
}

void CCameraRun::WritePicture(const cimage::CImage& image)
{
    try {
        WritePng(options_.pictures / fmt::format("{:06}.png", frame_.counter1), image);
        ++pictures_;
    } catch (const std::exception& error) {
        ++pictures_failed_;
        NoteError("output", error.what());
    }
}

void CCameraRun::Drop(const std::string& reason, const std::string& where, const std::string& message)
{
    {
        const std::lock_guard<std::mutex> lock(dropped_mutex_);
        ++dropped_[reason];
    }
    ++failed_;
    NoteError(where, message);
}

/// Tells of a new message once and counts its repetitions. Messages that differ from frame to frame must not fill the
/// memory: beyond the first few they share one entry.
void CCameraRun::NoteError(const std::string& where, const std::string& message)
{
    auto entry = errors_.find({where, message});
    if (entry == errors_.end()) {
        const bool keep = errors_.size() < most_messages;
        entry = errors_
                    .insert({keep ? std::pair(where, message)
                                  : std::pair<std::string, std::string>("frame", "other errors"),
                             0})
                    .first;
        if (keep || entry->second == 0) {
            const std::string text = fmt::format("{}: {}", entry->first.first, entry->first.second);
            console_.Say(fmt::format("{}: {}", name_, text));
            if (options_.recorder != nullptr)
                options_.recorder->NoteError(name_, text);
        }
    }
    ++entry->second;
}

TProgress CCameraRun::Progress() const
{
    const CFrameQueue::TCounts counts = queue_.Counts();
    TProgress progress = {name_,
                          counts.delivered,
                          executed_,
                          counts.queue_full + counts.stopped + counts.region_changed + failed_,
                          Sum(counts.lost),
                          Sum(counts.interruptions),
                          done_,
                          {}};
    if (options_.recorder != nullptr)
        progress.recording = options_.recorder->Report(options_.track);
    return progress;
}

Reasons CCameraRun::Dropped(const CFrameQueue::TCounts& counts) const
{
    const std::lock_guard<std::mutex> lock(dropped_mutex_);
    Reasons dropped = dropped_;
    if (counts.queue_full > 0)
        dropped[drop_queue_full] += counts.queue_full;
    if (counts.stopped > 0)
        dropped[drop_stopped] += counts.stopped;
    if (counts.region_changed > 0)
        dropped[drop_region_changed] += counts.region_changed;
    return dropped;
}

Reasons CCameraRun::Losses() const
{
    const CFrameQueue::TCounts counts = queue_.Counts();
    Reasons losses = Dropped(counts);
    for (const auto& [reason, count] : counts.lost)
        losses["lost before delivery: " + reason] = count;
    for (const auto& [reason, count] : counts.interruptions)
        losses["interrupted: " + reason] = count;
    return losses;
}

TCameraReport CCameraRun::Report() const
{
    const CFrameQueue::TCounts counts = queue_.Counts();
    TCameraReport report;
    report.name = name_;
    report.seconds = std::chrono::duration<double>(end_ - start_).count();
    report.frames = counts.delivered;
    report.executed = executed_;
    report.decimated = decimated_;
    report.dropped = Dropped(counts);
    report.lost = counts.lost;
    report.interruptions = counts.interruptions;
    report.counted = counts.counted;
    report.waited = TimesOf(waited_);
    report.time = TimesOf(time_);
    for (const TNodeCounts& node : nodes_.Nodes())
        report.nodes.push_back(
            {node.name, node.level, node.frames, node.executed, node.decimated, node.failed, TimesOf(node.time)});
    for (const auto& [error, count] : errors_)
        report.errors.push_back({error.first, error.second, count});
    report.pictures = pictures_;
    report.pictures_failed = pictures_failed_;
    report.failure = failure_;
    if (options_.recorder != nullptr)
        report.recording = options_.recorder->Report(options_.track);
    report.output = out_node_.Name();
    if (options_.digests)
        report.digests = digests_;
    return report;
}

}  // namespace host
