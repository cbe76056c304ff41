// The part of a delivered picture that a camera with a region of interest reads out.
#ifndef HOST_RUN_REGION_H
#define HOST_RUN_REGION_H

#include <boost/shared_ptr.hpp>
#include <cstdint>

#include "dev/camera/roi.h"

namespace dev {
class CCamera;
}
namespace cimage {
class CImage;
}

namespace host {

/// Sources deliver whole pictures or, when the camera itself cuts, the region; a tree is laid out for the region.
class CRegion
{
public:
    using ImagePtr = boost::shared_ptr<const cimage::CImage>;

    /// Of a loaded camera whose region lies within its sensor.
    explicit CRegion(const dev::CCamera& camera);

    /// The region of a picture, as a view that keeps the picture alive and copies nothing; the picture itself where it
    /// is of the region's size; null when it is neither of that size nor of the sensor's, or of another pixel format.
    ImagePtr Of(const ImagePtr& picture) const;

private:
    dev::camera::CRoI roi_;
    std::uint32_t pfnc_;  ///< of the camera's pixel format
};

}  // namespace host

#endif
