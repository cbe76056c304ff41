// Somebody else's program: brings an operation of its own, loads a camera from a settings file and runs a frame.
#include <boost/filesystem/fstream.hpp>
#include <boost/filesystem/operations.hpp>
#include <iostream>
#include <stdexcept>

#include "dev/camera.h"
#include "dev/camera/plugin.h"
#include "dev/camera/plugin_factory.h"
#include "orvo_inifiles/inifile.h"
#include "orvo_proc_cimage/image.h"
#include "orvo_var_replacer/var_replacer.h"

namespace {

/// The first pixel turned from dark to bright and back; the rest of the image is of no interest here.
class Invert : public dev::camera::Plugin
{
protected:
    void On_Execute(const ImagePtr& image) override
    {
        const boost::shared_ptr<cimage::CImage> output = image->New(image->Width(), image->Height());
        output->Data()[0] = static_cast<std::uint8_t>(255 - image->Data()[0]);
        images_[""] = output;
    }
};

const dev::camera::CPluginRegistration<Invert> registration("Invert", "", "Turns dark to bright.");

void Demand(bool fulfilled, const char* what)
{
    if (!fulfilled)
        throw std::runtime_error(what);
}

void Run(const boost::filesystem::path& file)
{
    {
        boost::filesystem::ofstream text(file);
        text << "[front]\nFB = Mono8 64x48\nROI = 32, 24\nCAMERA MODEL = PINHOLE\nPIXEL FOCAL LENGTH = 50, 60\n";
    }
    dev::CCamera camera;
    camera.LoadParams(kt::ini::INIFile(file, "front"), hws::Version::V1_1);
    camera.On_Initialization();
    Demand(camera.RoI().StrRect() == "(16, 12, 47, 35)", "the region is not the one of the file");
    Demand(camera.FocalLength() == dev::CCamera::Pair(50, 60), "the focal length is not the one of the file");

    Demand(camera.Preprocess_Add("Invert negative Source") != nullptr, "the node could not be added");
    camera.SetAsOut("negative");

    const boost::shared_ptr<cimage::CImage> image = cimage::Build("Mono8 32x24");
    image->Data()[0] = 55;
    dev::TFrame<> frame;
    frame.image = image;
    camera.Preprocess(frame);
    Demand(camera.Preprocess_OutNode()->Image("")->Data()[0] == 200, "the node did not run on the frame");
    camera.On_ShutDown();
}

}  // namespace

int main()
{
    std::string name = "$DATA_DIR/%%%%%%%%.ini";
    kt::CVarReplacer(boost::filesystem::temp_directory_path(), "").Replace(name, kt::CVarReplacer::All);
    const boost::filesystem::path file = boost::filesystem::unique_path(name);
    int code = 0;
    try {
        Run(file);
    } catch (const std::exception& error) {
        std::cerr << error.what() << '\n';
        code = 1;
    }
    boost::filesystem::remove(file);
    return code;
}
