#include "run/region.h"

#include "dev/camera.h"
#include "orvo_proc_cimage/image.h"

namespace host {

CRegion::CRegion(const dev::CCamera& camera)
    : roi_(camera.RoI()), pfnc_(cimage::Build(camera.ImageFormat())->Format().pfnc)
{
}

CRegion::ImagePtr CRegion::Of(const ImagePtr& picture) const
{
    if (!picture || picture->Format().pfnc != pfnc_)
        return {};
    if (picture->Width() == roi_.Width() && picture->Height() == roi_.Height())
        return picture;
    if (picture->Width() != static_cast<unsigned int>(roi_.SensorWidth()) ||
        picture->Height() != static_cast<unsigned int>(roi_.SensorHeight()))
        return {};
    const std::size_t offset = static_cast<std::size_t>(roi_.Top()) * picture->Stride() +
                               static_cast<std::size_t>(roi_.Left()) * (picture->Format().bits_per_pixel / 8);
    // Nobody writes through the view: it leaves here as an image to const.
    auto* const first = const_cast<std::uint8_t*>(picture->Data()) + offset;
    const ImagePtr owner = picture;
    return cimage::Wrap(picture->Format(), roi_.Width(), roi_.Height(), picture->Stride(), first, [owner] {});
}

}  // namespace host
