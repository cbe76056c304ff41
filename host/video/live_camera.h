// A camera of a rig and the source that it is open on.
#ifndef HOST_VIDEO_LIVE_CAMERA_H
#define HOST_VIDEO_LIVE_CAMERA_H

#include <memory>
#include <vector>

#include "capture/source.h"
#include "rig/rig.h"
#include "video/attributes.h"

namespace dev {
class CCamera;
}

namespace host {

class CModules;

/// While it lives, the camera has the source's video properties, its interface, and of vendor, model and serial number
/// what the rig leaves empty. One thread at a time.
class CLiveCamera
{
public:
    /// Opens the source, applies the keys "VIDEO ..." of the section, unless another source stands in for the rig's,
    /// and gives the camera the region that the device took. The camera is loaded, and it, and what `tell` calls, must
    /// outlive this. Throws std::runtime_error naming the camera and the reason.
    CLiveCamera(const TRig& rig, const TDevice& device, dev::CCamera& camera, CModules& modules, capture::Tell tell);
    ~CLiveCamera();
    CLiveCamera(const CLiveCamera&) = delete;
    CLiveCamera& operator=(const CLiveCamera&) = delete;

    dev::CCamera& Camera() const { return camera_; }
    capture::CSource& Source() const { return *source_; }
    const CVideoAttributes& Settings() const { return settings_; }
    /// Keys that the source refused.
    const std::vector<TFault>& Refused() const { return refused_; }

private:
    void TakeIdentity();
    void TakeRegion();

    dev::CCamera& camera_;
    const std::unique_ptr<capture::CSource> source_;
    const CVideoAttributes settings_;
    std::vector<TFault> refused_;
};

}  // namespace host

#endif
