#include "record/recorder.h"

#include <fmt/format.h>
#include <algorithm>
#include <boost/asio/post.hpp>
#include <chrono>
#include <limits>
#include <stdexcept>
#include <system_error>
#include <thread>
#include <utility>

#include "rec/recording.h"
#include "system/console.h"
#include "system/quantities.h"

namespace host {

namespace asio = boost::asio;

const char* const drop_recorder_full = "recorder full";
const char* const drop_disk_low = "disk low";
const char* const drop_write_failed = "write failed";

namespace {

/// What was noted is in the file within a second, also when a tick has to wait for a frame that is being written.
constexpr std::chrono::milliseconds tick_period(500);

const std::array<const char*, 3> reason_names = {drop_recorder_full, drop_disk_low, drop_write_failed};

/// One thread may wait for the disk while the others pack.
std::size_t Threads(std::size_t tracks)
{
    return 1 + std::clamp<std::size_t>(std::thread::hardware_concurrency(), 1, tracks);
}

/// Bytes that the disk of a folder still takes; as many as can be when nobody knows.
std::uint64_t FreeBytes(const std::filesystem::path& folder)
{
    std::error_code error;
    const auto space = std::filesystem::space(folder, error);
    return error ? std::numeric_limits<std::uint64_t>::max() : space.available;
}

}  // namespace

CRecorder::TTrack::TTrack(asio::thread_pool& pool) : strand(asio::make_strand(pool)) {}

CRecorder::CRecorder(TRecorderSetup setup, const Open& open, CConsole& console)
    : setup_(std::move(setup)),
      console_(console),
      events_(setup_.settings),
      pool_(Threads(setup_.tracks.size())),
      told_(setup_.tracks.size()),
      strand_(asio::make_strand(pool_)),
      timer_(strand_),
      running_(setup_.tracks.size())
{
    for (std::size_t i = 0; i < setup_.tracks.size(); ++i)
        tracks_.push_back(std::make_unique<TTrack>(pool_));
    try {
        writer_ = open(events_.Start());
        events_.Open(setup_.folder / rec::events_file);
        events_.Note("start", IsoTime(events_.Start()) + ' ' + setup_.title);
        events_.NoteValues();
        events_.Write();
    } catch (const recording_exists&) {
        throw;
    } catch (const std::exception& error) {
        End(WriteFailed, error.what());
    }
    AwaitTick();
}

CRecorder::~CRecorder()
{
    Join();
}

void CRecorder::Join()
{
    if (!done_)
        Finish("given up", [] {});
    pool_.join();
}

void CRecorder::Offer(std::size_t track, const dev::TFrame<>& frame)
{
    TTrack& to = *tracks_[track];
    ++to.offered;
    Reason reason = ended_;
    if (reason == None && to.under_way >= depth)
        reason = Full;
    if (reason != None) {
        ++to.dropped[reason];
        return;
    }
    ++to.under_way;
    asio::post(to.strand, [this, track, frame] { Pack(track, frame); });
}

bool CRecorder::AwaitRoom(std::size_t track, std::function<void()> wake)
{
    TTrack& of = *tracks_[track];
    const std::lock_guard<std::mutex> lock(of.room_mutex);
    if (of.under_way < depth)
        return true;
    of.wake = std::move(wake);
    return false;
}

/// On the track's strand.
void CRecorder::Pack(std::size_t track, const dev::TFrame<>& frame)
{
    boost::shared_ptr<dev::CWritable> writable;
    std::string fault;
    try {
        if (ended_ == None)
            writable = setup_.tracks[track].pack(frame);
    } catch (const std::exception& error) {
        fault = fmt::format("{}: {}", setup_.tracks[track].name, error.what());
    }
    asio::post(strand_, [this, track, writable, fault] { Store(track, writable, fault); });
}

void CRecorder::Store(std::size_t track, const boost::shared_ptr<dev::CWritable>& writable, const std::string& fault)
{
    TTrack& to = *tracks_[track];
    if (ended_ == None && !fault.empty())
        End(WriteFailed, fault);
    if (ended_ == None)
        Write(track, writable);
    if (ended_ != None)
        ++to.dropped[ended_];
    std::function<void()> wake;
    {
        const std::lock_guard<std::mutex> lock(to.room_mutex);
        --to.under_way;
        wake.swap(to.wake);
    }
    if (wake)
        wake();
}

void CRecorder::Write(std::size_t track, const boost::shared_ptr<dev::CWritable>& writable)
{
    const std::uint64_t size = writable->Size();
    const std::uint64_t free = setup_.min_free > 0 ? FreeBytes(setup_.folder) : 0;
    if (setup_.min_free > 0 && (free < size || free - size < setup_.min_free))
        return End(DiskLow, fmt::format("{}: found {} free on the disk, wanted to leave {}", setup_.folder.string(),
                                        BytesText(free), BytesText(setup_.min_free)));
    try {
        writer_->Write(writable, static_cast<unsigned char>(track));
    } catch (const std::exception& error) {
        return End(WriteFailed, error.what());
    }
    ++tracks_[track]->recorded;
    tracks_[track]->bytes += size;
}

void CRecorder::End(Reason reason, const std::string& text)
{
    ended_ = reason;
    failure_ = text;
    if (writer_)
        writer_->Close();
    writer_.reset();
    console_.Say(fmt::format("the recording ends here, the cameras run on: {}", text));
    events_.Note("error", text);
}

void CRecorder::AwaitTick()
{
    timer_.expires_after(tick_period);
    timer_.async_wait([this](const boost::system::error_code& error) {
        if (error || closed_)
            return;
        try {
            if (writer_ && !writer_->Flush())
                throw std::runtime_error(setup_.folder.string() + ": what was written could not be flushed");
        } catch (const std::exception& fault) {
            End(WriteFailed, fault.what());
        }
        WriteEvents();
        AwaitTick();
    });
}

/// An error here ends the events alone: frames matter more.
void CRecorder::WriteEvents()
{
    try {
        events_.Write();
    } catch (const std::exception& error) {
        events_.Close();
        if (!failure_.empty())
            return;  // told once, and the one is likely to follow from the other
        failure_ = error.what();
        console_.Say(fmt::format("no more events are recorded: {}", failure_));
    }
}

void CRecorder::NoteError(const std::string& where, const std::string& message)
{
    events_.Note("error", where + ": " + message);
}

void CRecorder::NoteDrops(std::size_t track, const Reasons& of_camera)
{
    Reasons all = Report(track).dropped;
    all.insert(of_camera.begin(), of_camera.end());
    for (const auto& [reason, count] : all) {
        std::uint64_t& told = told_[track][reason];
        if (count > told)
            events_.Note("drop", fmt::format("{}: {} {}", setup_.tracks[track].name, reason, count - told));
        told = count;
    }
}

void CRecorder::Finish(const std::string& reason, std::function<void()> done)
{
    stop_reason_ = reason;
    done_ = std::move(done);
    // Behind the last frame of each track.
    for (const auto& track : tracks_)
        asio::post(track->strand, [this] {
            asio::post(strand_, [this] {
                if (--running_ == 0)
                    Close();
            });
        });
}

void CRecorder::Close()
{
    closed_ = true;
    timer_.cancel();
    try {
        if (writer_ && !(writer_->Flush() && writer_->Close()))
            throw std::runtime_error(setup_.folder.string() + ": the recording could not be closed");
    } catch (const std::exception& error) {
        End(WriteFailed, error.what());
    }
    writer_.reset();

    std::string counts;
    for (std::size_t i = 0; i < tracks_.size(); ++i) {
        NoteDrops(i, {});
        const TTrackReport report = Report(i);
        counts += fmt::format("; {}: {} recorded, {} not", setup_.tracks[i].name, report.recorded, Sum(report.dropped));
    }
    events_.Note("stop", stop_reason_ + counts);
    WriteEvents();
    events_.Close();
    done_();
}

TTrackReport CRecorder::Report(std::size_t track) const
{
    const TTrack& from = *tracks_[track];
    TTrackReport report;
    report.offered = from.offered;
    report.recorded = from.recorded;
    report.bytes = from.bytes;
    for (std::size_t reason = 0; reason < from.dropped.size(); ++reason)
        if (from.dropped[reason] > 0)
            report.dropped[reason_names[reason]] = from.dropped[reason];
    return report;
}

}  // namespace host
