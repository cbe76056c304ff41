// A GenICam camera as a source of frames.
#ifndef GENICAM_GENICAM_SOURCE_H
#define GENICAM_GENICAM_SOURCE_H

#include <atomic>
#include <boost/date_time/posix_time/posix_time_types.hpp>
#include <boost/shared_ptr.hpp>
#include <chrono>
#include <condition_variable>
#include <exception>
#include <memory>
#include <mutex>
#include <string>

#include "capture/source.h"
#include "genicam/access.h"
#include "genicam/features.h"
#include "genicam/frame_ledger.h"
#include "genicam/owned.h"
#include "genicam/plan.h"
#include "genicam/sensor.h"
#include "genicam/stream.h"

namespace genicam {

/// Frames are Offer()ed as they come, with the location as text. Their time stamp is when the first packet of the frame
/// reached this machine, UTC in microseconds, or, where the clock was set back or two frames came within one, a
/// microsecond more than the last one: stamps always rise. counter1 follows the ids that the camera gives its frames,
/// so that a gap in it is frames lost (see CFrameLedger).
///
/// Lost() counts frames under "missing", "underrun" (no buffer was free, because images hold them all), and the name of
/// what was wrong with one that came ("incomplete", "timed out", …); Count() counts packets.
///
/// A camera that is gone, because its control channel has ended, is told and counted once as Interrupted("camera
/// gone"). The source then tries to connect again, first after half a second, then after twice the time of the last try
/// up to eight seconds, until the same camera is back with its pixel format, region and features as they were. On GigE
/// Vision it takes some five seconds to notice, and each access to a camera that is gone takes 2.5, which Run() waits
/// for before it ends. A camera that merely sends no frames is asked now and then, and left alone when it answers.
class CGenicamSource : public capture::CSource
{
public:
    /// Connects and sets the camera up; throws std::runtime_error for another serial number before anything is written.
    CGenicamSource(const TPlan& plan, const capture::TRequest& request);
    ~CGenicamSource() override;

    void Run(capture::CSink& sink) override;
    void Stop() override;

    capture::TIdentity Identity() const override { return identity_; }
    VideoProperties Properties() override { return features_->Properties(); }
    boost::optional<dev::camera::CRoI> Region() const override;
    dev::camera::CRoI SetRegion(const dev::camera::CRoI& wanted) override;

private:
    using Clock = std::chrono::steady_clock;

    /// A region that another thread asks Run() for.
    struct TWish
    {
        dev::camera::CRoI region;  ///< asked for, and then taken
        std::exception_ptr error;
    };

    dev::camera::CRoI Prepare(ArvCamera* camera, const dev::camera::CRoI& region) const;
    void Tell(const std::string& sentence) const;
    void TellOfRegion(const dev::camera::CRoI& asked, const dev::camera::CRoI& taken) const;

    void Capture(capture::CSink& sink);
    void Deliver(capture::CSink& sink);
    void Take(Owned<ArvBuffer> buffer, capture::CSink& sink);
    void Tally(capture::CSink& sink);
    boost::posix_time::ptime Stamp(ArvBuffer* buffer);

    void OpenStream();
    void CloseStream(capture::CSink& sink);
    bool Answers();
    void Reconnect(capture::CSink& sink);
    void TryToReconnect(std::string* told);

    bool IsStopped() const;
    bool Wait(Clock::duration pause, capture::CSink& sink);
    void Serve(capture::CSink& sink);
    dev::camera::CRoI ChangeRegion(const dev::camera::CRoI& region);
    dev::camera::CRoI CurrentRegion() const;
    void SetCurrentRegion(const dev::camera::CRoI& region);

    const TPlan plan_;
    const capture::Tell tell_;
    CAccess access_;
    boost::shared_ptr<std::atomic<bool>>
        lost_;  ///< set by Aravis, on a thread of its own, when the control channel has ended
    capture::TIdentity identity_;
    TSensor sensor_;
    std::unique_ptr<CFeatures> features_;

    // Run()'s alone, while it runs.
    std::unique_ptr<CStream> stream_;
    CFrameLedger ledger_;
    boost::posix_time::ptime last_stamp_;
    bool gone_ = false;

    std::mutex callers_;  ///< held by the one caller of SetRegion(), and as Run() begins

    mutable std::mutex mutex_;  ///< guards what follows
    std::condition_variable called_;
    std::condition_variable served_;
    bool stopped_ = false;
    bool running_ = false;
    TWish* wish_ = nullptr;
    dev::camera::CRoI region_;
};

}  // namespace genicam

#endif
