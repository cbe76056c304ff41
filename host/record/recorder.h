// Stores what the cameras of a running rig hand it, on threads of its own.
//
//   a camera's thread --Offer--> a strand per camera: pack, checksum --> one strand for all: write, look at the disk
//
// At most `depth` frames of a camera are between Offer and the disk. One more is dropped and counted, so that a slow
// disk costs frames, never a camera's time and never memory. Frames of a camera are stored in the order of their
// Offers.
//
// The first error ends the storing: it is told once, with its path and reason, what was stored is kept, and what is
// offered from then on is counted under the reason. The cameras do not notice.
#ifndef HOST_RECORD_RECORDER_H
#define HOST_RECORD_RECORDER_H

#include <array>
#include <atomic>
#include <boost/asio/steady_timer.hpp>
#include <boost/asio/strand.hpp>
#include <boost/asio/thread_pool.hpp>
#include <boost/shared_ptr.hpp>
#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <functional>
#include <memory>
#include <mutex>
#include <stdexcept>
#include <string>
#include <vector>

#include "dev/disk_writer.h"
#include "dev/frame.h"
#include "dev/writable.h"
#include "record/event_log.h"
#include "run/report.h"

namespace host {

class CConsole;

/// The names under which frames that were not recorded are reported.
extern const char* const drop_recorder_full;  ///< as many of the camera's frames as may were still under way
extern const char* const drop_disk_low;       ///< the disk was nearly full
extern const char* const drop_write_failed;   ///< an error ended the recording

struct TRecorderTrack
{
    std::string name;  ///< the camera's
    /// Makes what is written of a frame; called on the recorder's threads, for one frame of a track at a time.
    std::function<boost::shared_ptr<dev::CWritable>(const dev::TFrame<>&)> pack;
};

struct TRecorderSetup
{
    std::filesystem::path folder;        ///< gets events.mef; its disk is the one that fills up
    std::string title;                   ///< what is recorded, for the event "start"
    std::vector<TRecorderTrack> tracks;  ///< one at least, 255 at most
    std::uint64_t min_free = 0;          ///< bytes that are left free on the disk; 0: none
    CEventLog::Names settings = {};      ///< whose values and changes are events "video"
};

/// The folder of a recording holds one already.
class recording_exists : public std::runtime_error
{
public:
    using std::runtime_error::runtime_error;
};

/// The life of a recorder: constructed, Offer, Finish, its `done`, Report and Failure.
class CRecorder
{
public:
    static constexpr unsigned int depth = 8;

    /// Makes the folder and the archive; `start` is the recording's time 0, UTC.
    using Open = std::function<std::unique_ptr<dev::CDiskWriter>(const boost::posix_time::ptime& start)>;

    /// Opens the recording, on this thread. When that fails, it is told, and all frames are counted as not recorded;
    /// but a recording_exists passes. The console must outlive the recorder.
    CRecorder(TRecorderSetup setup, const Open& open, CConsole& console);
    ~CRecorder();  ///< what Join does
    CRecorder(const CRecorder&) = delete;
    CRecorder& operator=(const CRecorder&) = delete;

    const std::filesystem::path& Folder() const { return setup_.folder; }

    /// The next frame of a track, with its image. Never blocks. Any thread; for one track one at a time.
    void Offer(std::size_t track, const dev::TFrame<>& frame);

    /// True when an Offer would not be dropped as drop_recorder_full. If false, `wake` is called, once, on a thread of
    /// the recorder's, as soon as there is room; for whoever would rather wait with the next frame than lose it. To be
    /// called as Offer.
    bool AwaitRoom(std::size_t track, std::function<void()> wake);

    /// An event; `id` is one word. Any thread.
    void Note(const std::string& id, const std::string& text) { events_.Note(id, text); }
    /// An event "error". Any thread.
    void NoteError(const std::string& where, const std::string& message);

    /// Events "drop", one per reason whose count has grown since the last call: of the camera's counts until now, by
    /// reason, and of the recorder's. One thread at a time, until Finish.
    void NoteDrops(std::size_t track, const Reasons& of_camera);

    /// No frame is offered any more: writes those under way, then ends the recording and calls `done` on a thread of
    /// the recorder's. `reason` is for the event "stop".
    void Finish(const std::string& reason, std::function<void()> done);

    /// Waits for the end that Finish began, or begins one itself. `done` has returned then.
    void Join();

    /// The counts until now, on any thread; their sum closes once `done` was called.
    TTrackReport Report(std::size_t track) const;

    /// What ended the storing early, or else kept something from being recorded. Empty: nothing. Once `done` was
    /// called.
    const std::string& Failure() const { return failure_; }

private:
    enum Reason : std::size_t
    {
        Full,
        DiskLow,
        WriteFailed,
        None
    };

    using Strand = boost::asio::strand<boost::asio::thread_pool::executor_type>;

    struct TTrack
    {
        explicit TTrack(boost::asio::thread_pool& pool);

        Strand strand;
        std::mutex room_mutex;
        std::atomic<unsigned int> under_way{0};  ///< lessened under the mutex
        std::function<void()> wake;              ///< empty when nobody waits
        std::atomic<std::uint64_t> offered{0};
        std::atomic<std::uint64_t> recorded{0};
        std::atomic<std::uint64_t> bytes{0};
        std::array<std::atomic<std::uint64_t>, None> dropped{};
    };

    void Pack(std::size_t track, const dev::TFrame<>& frame);
    void Store(std::size_t track, const boost::shared_ptr<dev::CWritable>& writable, const std::string& fault);
    void Write(std::size_t track, const boost::shared_ptr<dev::CWritable>& writable);
    void End(Reason reason, const std::string& text);
    void AwaitTick();
    void WriteEvents();
    void Close();

    const TRecorderSetup setup_;
    CConsole& console_;
    CEventLog events_;
    boost::asio::thread_pool pool_;
    std::vector<std::unique_ptr<TTrack>> tracks_;
    std::atomic<Reason> ended_{None};
    std::vector<Reasons> told_;  ///< by track: drops that events tell of

    // Of the strand that writes.
    Strand strand_;
    boost::asio::steady_timer timer_;
    std::unique_ptr<dev::CDiskWriter> writer_;  ///< null once the storing has ended
    std::string failure_;
    std::size_t running_;  ///< tracks of which there may come a frame yet
    bool closed_ = false;

    // Set by Finish.
    std::string stop_reason_;
    std::function<void()> done_;
};

}  // namespace host

#endif
