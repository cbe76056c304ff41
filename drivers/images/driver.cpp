// The driver "images": picture files as a camera.
#include <dlfcn.h>

#include <boost/filesystem/path.hpp>
#include <boost/noncopyable.hpp>
#include <stdexcept>

#include "capture/faults.h"
#include "capture/source.h"
#include "images/decoder.h"
#include "images/images_source.h"
#include "images/plan.h"

namespace images {

namespace {

/// The decoder of support/, beside this shared object; loaded once, and never unloaded, for the libraries behind it
/// have threads of their own.
CImagesSource::DecodeFunction LoadDecoder()
{
    Dl_info self;
    if (::dladdr(reinterpret_cast<void*>(&orvo_capture_driver_2), &self) == 0)
        throw std::runtime_error("images: found no path of the driver itself, wanted it to find its decoder");
    const boost::filesystem::path path =
        boost::filesystem::path(self.dli_fname).parent_path() / "support" / "images_decoder.so";
    void* const library = ::dlopen(path.c_str(), RTLD_NOW | RTLD_LOCAL);
    void* const function = library == nullptr ? nullptr : ::dlsym(library, "orvo_decode_picture_1");
    if (function == nullptr)
        throw std::runtime_error(std::string("images: found ") + ::dlerror() + ", wanted the picture decoder");
    return reinterpret_cast<CImagesSource::DecodeFunction>(function);
}

class CImagesDriver : public capture::CDriver
{
public:
    std::string Syntax() const override { return "images:GLOB"; }

    std::string Description() const override
    {
        return "Picture files (JPEG, PNG, PGM, PPM, TIFF, BMP, raw) in natural order, 8 or 16 bits.";
    }

    std::vector<std::string> Keys() const override { return {loop_key, fps_key, stamps_key}; }

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
        return std::unique_ptr<capture::CSource>(new CImagesSource(plan, request.format, LoadDecoder()));
    }

    /// As the first picture is.
    capture::TDescription Describe(const capture::TRequest& request) const override
    {
        std::vector<capture::TFault> faults;
        const TPlan plan = ReadPlan(request, &faults);
        capture::ThrowFaults(faults);
        return {{}, FormatOf(plan.files.front(), LoadDecoder())};
    }
};

}  // namespace

}  // namespace images

capture::CDriver* orvo_capture_driver_2()
{
    static images::CImagesDriver driver;
    return &driver;
}
