#include "video/live_camera.h"

#include <fmt/format.h>
#include <stdexcept>
#include <utility>

#include "dev/camera.h"
#include "rig/source.h"
#include "video/video_keys.h"

namespace host {

CLiveCamera::CLiveCamera(const TRig& rig, const TDevice& device, dev::CCamera& camera, CModules& modules,
                         capture::Tell tell)
    : camera_(camera), source_(OpenSource(rig, device, modules, std::move(tell))), settings_(*source_)
{
    // What stands in for a camera, a recording, has none of its settings.
    if (device.replaced_source.empty())
        refused_ = ApplyVideoKeys(device, settings_);
    try {
        TakeRegion();
    } catch (const std::exception& error) {
        throw std::runtime_error(fmt::format("{}: the region of its source: {}", device.name, error.what()));
    }
    TakeIdentity();
    for (const auto& property : source_->Properties())
        camera_.AddVideoProperty(property);
}

CLiveCamera::~CLiveCamera()
{
    camera_.ClearVideoProperties();
}

void CLiveCamera::TakeIdentity()
{
    const capture::TIdentity identity = source_->Identity();
    camera_.SetInterface(identity.interface);
    if (camera_.Vendor().empty())
        camera_.SetVendor(identity.vendor);
    if (camera_.Model().empty())
        camera_.SetModel(identity.model);
    if (camera_.Serial().empty())
        camera_.SetSerial(identity.serial);
}

/// The region first: the rig's may break the device's increments.
void CLiveCamera::TakeRegion()
{
    const auto region = source_->Region();
    if (!region)
        return;
    if (*region != camera_.RoI())
        camera_.ChangeRoI(*region);
    camera_.SetRoIIncrements(region->PositionIncrementH(), region->PositionIncrementV(), region->SizeIncrementH(),
                             region->SizeIncrementV());
}

}  // namespace host
