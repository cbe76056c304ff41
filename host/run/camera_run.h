// One camera of a running rig: its source on a thread of its own, its tree on a strand of the pool.
#ifndef HOST_RUN_CAMERA_RUN_H
#define HOST_RUN_CAMERA_RUN_H

#include <atomic>
#include <boost/asio/strand.hpp>
#include <boost/asio/thread_pool.hpp>
#include <chrono>
#include <filesystem>
#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "capture/source.h"
#include "dev/camera.h"
#include "run/frame_queue.h"
#include "run/live_lines.h"
#include "run/region.h"
#include "run/report.h"
#include "run/tree_counts.h"
#include "video/tune.h"

namespace host {

class CCameraProfile;
class CConsole;
class CLiveCamera;
class CProfile;
class CRecorder;

struct TCameraRunOptions
{
    std::uint64_t frames = 0;        ///< frames to take from the source; 0: all
    std::filesystem::path pictures;  ///< folder for this camera's output pictures; empty: none are written
    CProfile* profile = nullptr;     ///< hears what takes how long, and outlives the run; null: nobody does
    bool digests = false;            ///< take one of every output picture
    CRecorder* recorder = nullptr;   ///< gets the images of the recording-output node; null: nobody does
    std::size_t track = 0;           ///< of the recorder
    std::string record_node;         ///< name of the recording-output node
    std::function<void()> on_done;   ///< called once, on the strand, after the last frame
};

/// The driver's thread does nothing but fill the queue; the strand takes one frame at a time out of it, and between two
/// frames other cameras have their turn. The camera's tree is touched on the strand alone.
///
/// The life of a run: constructed, Start, on_done, Join, Report. Stop may come at any time after Start, from any
/// thread.
class CCameraRun : public CTunable
{
public:
    /// The camera is loaded, with its tree, and open on its source; they and the pool must outlive the run.
    CCameraRun(std::string name, const CLiveCamera& live, boost::asio::thread_pool& pool, CConsole& console,
               TCameraRunOptions options);
    ~CCameraRun() override;
    CCameraRun(const CCameraRun&) = delete;
    CCameraRun& operator=(const CCameraRun&) = delete;

    void Start();
    /// Ends the source; the frames that wait are still run, or dropped as "stopped".
    void Stop(CFrameQueue::Ending ending);
    /// Waits for the source's thread; after on_done that is no wait.
    void Join();

    const std::string& Name() const override { return name_; }
    const CVideoAttributes& Settings() const override { return settings_; }
    void BetweenFrames(std::function<void()> work) override;
    std::string Region() const override;
    /// Of a device that cuts its region itself, the frames that wait are dropped as drop_region_changed.
    void ChangeRegion(const std::string& text) override;

    /// On any thread.
    TProgress Progress() const;
    /// Frames that were dropped or lost until now, by reason; on any thread.
    Reasons Losses() const;
    /// After Join.
    TCameraReport Report() const;

private:
    void Deliver();
    void Work();
    void Process();
    void TryRun();
    void Run();
    void Record();
    void HandOut();
    void WritePicture(const cimage::CImage& image);
    void Drop(const std::string& reason, const std::string& where, const std::string& message);
    void NoteError(const std::string& where, const std::string& message);
    Reasons Dropped(const CFrameQueue::TCounts& counts) const;

    const std::string name_;
    dev::CCamera& camera_;
    capture::CSource& source_;
    const CVideoAttributes& settings_;
    CConsole& console_;
    const TCameraRunOptions options_;
    boost::asio::strand<boost::asio::thread_pool::executor_type> strand_;
    CFrameQueue queue_;
    std::thread thread_;
    std::string failure_;  ///< written by the source's thread before it ends the queue

    // Of the strand.
    dev::camera::CPreprocessorNode& root_;
    const dev::camera::CPreprocessorNode& out_node_;
    const dev::camera::CPreprocessorNode& record_node_;
    CRegion region_;
    bool whole_pictures_ = true;  ///< the last one was, out of which the host cuts the region
    CTreeCounts nodes_;
    CCameraProfile* const profile_;  ///< null: there is none
    dev::TFrame<> frame_;            ///< the one at work
    std::uint64_t decimated_ = 0;
    mutable std::mutex dropped_mutex_;
    Reasons dropped_;  ///< others may read it
    CHistogram waited_;
    CHistogram time_;
    std::map<std::pair<std::string, std::string>, std::uint64_t> errors_;  ///< by where and message
    std::uint64_t pictures_ = 0;
    std::uint64_t pictures_failed_ = 0;
    std::vector<TOutputDigest> digests_;
    std::chrono::steady_clock::time_point start_;
    std::chrono::steady_clock::time_point end_;

    // For Progress.
    std::atomic<std::uint64_t> executed_{0};
    std::atomic<std::uint64_t> failed_{0};
    std::atomic<bool> done_{false};
};

}  // namespace host

#endif
