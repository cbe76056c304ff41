#include "run/rig_run.h"

#include <unistd.h>
#include <algorithm>
#include <boost/asio/io_context.hpp>
#include <boost/asio/post.hpp>
#include <boost/asio/signal_set.hpp>
#include <boost/asio/steady_timer.hpp>
#include <csignal>
#include <cstdlib>
#include <optional>
#include <thread>
#include <utility>

#include "record/recorder.h"
#include "run/camera_run.h"
#include "system/console.h"
#include "system/input_lines.h"
#include "video/tune.h"

namespace host {

namespace {

namespace asio = boost::asio;
using Clock = std::chrono::steady_clock;

constexpr std::chrono::milliseconds live_period(500);
constexpr std::chrono::milliseconds drops_period(1000);
constexpr std::chrono::milliseconds same_signal(100);

/// The main thread's part: signals, timers, and the count of the cameras that still run. The pool does the work.
class CRigRun
{
public:
    CRigRun(const std::string& rig, const std::vector<TReadyCamera>& cameras, const TRunLimits& limits,
            CConsole& console)
        : console_(console),
          recorder_(limits.recorder),
          pool_(std::clamp<std::size_t>(std::thread::hardware_concurrency(), 1,
                                        std::max<std::size_t>(cameras.size(), 1))),
          running_(cameras.size())
    {
        for (const TReadyCamera& camera : cameras) {
            TCameraRunOptions options;
            options.frames = limits.frames;
            options.pictures = limits.pictures.empty() ? limits.pictures : limits.pictures / camera.name;
            options.profile = limits.profile;
            options.digests = limits.digests;
            options.recorder = recorder_;
            options.track = runs_.size();
            options.record_node = camera.record_node;
            options.on_done = [this] { asio::post(control_, [this] { OnCameraDone(); }); };
            runs_.push_back(
                std::make_unique<CCameraRun>(camera.name, *camera.live, pool_, console, std::move(options)));
        }
        if (limits.tune) {
            std::vector<CTunable*> tunables;
            for (const auto& run : runs_)
                tunables.push_back(run.get());
            tune_.emplace(rig, std::move(tunables), console);
        }
        if (limits.seconds > 0.0)
            AwaitEnd(limits.seconds);
    }

    /// After an exception the threads still run, and what they use goes with this object.
    ~CRigRun()
    {
        input_.reset();
        StopAll(CFrameQueue::Ending::Drop);
        for (const auto& run : runs_)
            run->Join();
        pool_.join();
        if (recorder_ != nullptr)
            recorder_->Join();
    }
    CRigRun(const CRigRun&) = delete;
    CRigRun& operator=(const CRigRun&) = delete;

    TRunReport Run()
    {
        AwaitSignal();
        // Live lines would be drawn over what somebody types.
        if (console_.Terminal() && !(tune_ && isatty(STDIN_FILENO) == 1))
            AwaitLive();
        if (recorder_ != nullptr)
            AwaitDrops();
        for (const auto& run : runs_)
            run->Start();
        if (tune_)
            input_.emplace(STDIN_FILENO, [this](const std::string& line) { tune_->Do(line); });
        if (!runs_.empty())
            control_.run();
        input_.reset();  // while the pool can still answer
        for (const auto& run : runs_)
            run->Join();
        pool_.join();
        console_.ShowLive({});

        TRunReport report;
        report.interrupted = interrupted_;
        if (recorder_ != nullptr) {
            report.recording = recorder_->Folder().string();
            report.recording_failure = recorder_->Failure();
        }
        for (const auto& run : runs_)
            report.cameras.push_back(run->Report());
        return report;
    }

private:
    void StopAll(CFrameQueue::Ending ending)
    {
        for (const auto& run : runs_)
            run->Stop(ending);
    }

    void OnCameraDone()
    {
        if (--running_ > 0)
            return;
        if (recorder_ == nullptr)
            return control_.stop();
        // Signals are heard until the last frame is stored.
        NoteDrops();
        drops_timer_.cancel();
        recorder_->Finish(interrupted_ ? "interrupted" : "end of the run", [this] { control_.stop(); });
    }

    void NoteDrops()
    {
        for (std::size_t i = 0; i < runs_.size(); ++i)
            recorder_->NoteDrops(i, runs_[i]->Losses());
    }

    void AwaitDrops()
    {
        drops_timer_.expires_after(drops_period);
        drops_timer_.async_wait([this](const boost::system::error_code& error) {
            if (error || running_ == 0)
                return;
            NoteDrops();
            AwaitDrops();
        });
    }

    void AwaitSignal()
    {
        signals_.async_wait([this](const boost::system::error_code& error, int) {
            if (error)
                return;
            AwaitSignal();
            // Whoever hands a signal to a program and to its group sends one intention twice.
            const auto now = Clock::now();
            if (interrupted_ && now - interrupted_at_ > same_signal)
                std::_Exit(Interrupted);
            if (std::exchange(interrupted_, true))
                return;
            interrupted_at_ = now;
            StopAll(CFrameQueue::Ending::Drop);
            console_.Say("stopping; once more to end at once");
        });
    }

    void AwaitEnd(double seconds)
    {
        end_timer_.expires_after(std::chrono::duration_cast<Clock::duration>(std::chrono::duration<double>(seconds)));
        end_timer_.async_wait([this](const boost::system::error_code& error) {
            if (!error)
                StopAll(CFrameQueue::Ending::Finish);
        });
    }

    void AwaitLive()
    {
        live_timer_.expires_after(live_period);
        live_timer_.async_wait([this](const boost::system::error_code& error) {
            if (error)
                return;
            std::vector<TProgress> progress;
            for (const auto& run : runs_)
                progress.push_back(run->Progress());
            console_.ShowLive(live_.Next(Clock::now(), progress));
            AwaitLive();
        });
    }

    CConsole& console_;
    CRecorder* const recorder_;
    asio::io_context control_{1};
    asio::signal_set signals_{control_, SIGINT, SIGTERM};
    asio::steady_timer end_timer_{control_};
    asio::steady_timer live_timer_{control_};
    asio::steady_timer drops_timer_{control_};
    CLiveLines live_{Clock::now()};
    asio::thread_pool pool_;
    std::vector<std::unique_ptr<CCameraRun>> runs_;
    std::optional<CTune> tune_;
    std::optional<CInputLines> input_;
    std::size_t running_;
    bool interrupted_ = false;
    Clock::time_point interrupted_at_;
};

}  // namespace

TRunReport RunCameras(const std::string& rig, const std::vector<TReadyCamera>& cameras, const TRunLimits& limits,
                      CConsole& console)
{
    TRunReport report = CRigRun(rig, cameras, limits, console).Run();
    report.rig = rig;
    return report;
}

}  // namespace host
