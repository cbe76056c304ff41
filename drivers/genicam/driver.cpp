// The driver "genicam": GigE Vision and USB3 Vision cameras by way of Aravis.
#include "capture/faults.h"
#include "capture/source.h"
#include "genicam/devices.h"
#include "genicam/genicam_source.h"
#include "genicam/plan.h"
#include "genicam/sensor.h"

namespace genicam {

namespace {

class CGenicamDriver : public capture::CDriver
{
public:
    std::string Syntax() const override { return "genicam:CAMERA"; }

    std::string Description() const override
    {
        return "GigE Vision and USB3 Vision cameras, by IP address, serial number or device id; Fake_1 needs no "
               "hardware.";
    }

    std::vector<std::string> Keys() const override { return {buffers_key, packet_size_key}; }

    std::vector<capture::TFault> Check(const capture::TRequest& request) const override
    {
        std::vector<capture::TFault> faults;
        ReadPlan(request, &faults);
        return faults;
    }

    std::unique_ptr<capture::CSource> Open(const capture::TRequest& request) const override
    {
        std::vector<capture::TFault> faults;
        const TPlan plan = ReadPlan(request, &faults);
        capture::ThrowFaults(faults);
        return std::unique_ptr<capture::CSource>(new CGenicamSource(plan, request));
    }

    std::vector<std::string> Locations() const override { return DeviceIds(); }

    capture::TDescription Describe(const capture::TRequest& request) const override
    {
        const Owned<ArvCamera> camera = Connect(request.location);
        return {Identify(camera.get()), ReadFormat(camera.get())};
    }
};

}  // namespace

}  // namespace genicam

capture::CDriver* orvo_capture_driver_2()
{
    static genicam::CGenicamDriver driver;
    return &driver;
}
