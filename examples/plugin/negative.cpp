// An operation of your own: the negative of an 8-bit grey image.
#include <stdexcept>

#include "dev/camera/plugin.h"
#include "dev/camera/plugin_factory.h"
#include "orvo_proc_cimage/image.h"

namespace {

class Negative : public dev::camera::Plugin
{
protected:
    /// Once per geometry of the input: refuse what does not fit, and lay out the result, so that nodes below know it.
    void On_Source_Changed() override
    {
        if (source_->Format().name != std::string("Mono8"))
            throw std::runtime_error("Negative: found " + source_->Descriptor() + ", wanted Mono8");
        ResizeDefaultWnd();
        images_[""] = source_->New(source_->Width(), source_->Height());
    }

    /// Once per frame. The image belongs to others as well: read it, and write to a new one.
    void On_Execute(const ImagePtr& image) override
    {
        const boost::shared_ptr<cimage::CImage> result = image->New(image->Width(), image->Height());
        for (unsigned int y = 0; y < image->Height(); ++y) {
            const std::uint8_t* const from = image->Data() + y * image->Stride();
            std::uint8_t* const to = result->Data() + y * result->Stride();
            for (unsigned int x = 0; x < image->Width(); ++x)
                to[x] = static_cast<std::uint8_t>(255 - from[x]);
        }
        images_[""] = result;
        DrawImageOnDefaultWindow();
    }
};

const dev::camera::CPluginRegistration<Negative> registration("Negative", "",
                                                              "Turns dark to bright and bright to dark.");

}  // namespace
