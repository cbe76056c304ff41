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
        ReadPlan(request, &faults);
        return faults;
    }

    std::unique_ptr<capture::CSource> Open(const capture::TRequest& request) const override
    {
        std::vector<capture::TFault> faults;
        TPlan plan = ReadPlan(request, &faults);
        capture::ThrowFaults(faults);
        for (const rec::TDamage& damage : plan.recording->Damage())
            base::Log(base::Severity::Warning, BOOST_CURRENT_FUNCTION,
                      plan.recording->File() + ": " + rec::Text(damage));
        return std::unique_ptr<capture::CSource>(new CReplaySource(std::move(plan), request.format));
    }
};

}  // namespace

}  // namespace replay

capture::CDriver* orvo_capture_driver_1()
{
    static replay::CReplayDriver driver;
    return &driver;
}
