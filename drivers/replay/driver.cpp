// The driver "replay": a track of a recording as a camera.

#include "base/log.h"
#include "capture/faults.h"
#include "capture/source.h"
#include "replay/plan.h"
#include "replay/replay_source.h"

namespace replay {

namespace {

class CReplayDriver : public capture::CDriver
{
public:
    std::string Syntax() const override { return "replay:FILE#TRACK"; }

    std::string Description() const override
    {
        return "A camera's frames out of a recording (folder, .kta, .tar), at the times at which they were recorded.";
    }

    std::vector<std::string> Keys() const override { return {rate_key, loop_key}; }

    std::vector<capture::TFault> Check(const capture::TRequest& request) const override
    {
        std::vector<capture::TFault> faults;
        ReadPlan(request, true, &faults);
        return faults;
    }

    std::unique_ptr<capture::CSource> Open(const capture::TRequest& request) const override
    {
        std::vector<capture::TFault> faults;
        TPlan plan = ReadPlan(request, true, &faults);
        capture::ThrowFaults(faults);
        for (const rec::TDamage& damage : plan.recording->Damage())
            base::Log(base::Severity::Warning, BOOST_CURRENT_FUNCTION,
                      plan.recording->File() + ": " + rec::Text(damage));
        return std::unique_ptr<capture::CSource>(new CReplaySource(std::move(plan), request.format));
    }

    /// As the first frame is that can be read.
    capture::TDescription Describe(const capture::TRequest& request) const override
    {
        std::vector<capture::TFault> faults;
        const TPlan plan = ReadPlan(request, false, &faults);
        capture::ThrowFaults(faults);
        for (std::size_t i = 0; i < plan.recording->Frames(plan.track); ++i) {
            try {
                return {{}, plan.recording->Read(plan.track, i).image->Descriptor()};
            } catch (const rec::damaged_frame&) {
                // the next one may be whole
            }
        }
        throw std::runtime_error(plan.recording->File() + ": found no whole frame, wanted one");
    }
};

}  // namespace

}  // namespace replay

capture::CDriver* orvo_capture_driver_2()
{
    static replay::CReplayDriver driver;
    return &driver;
}
