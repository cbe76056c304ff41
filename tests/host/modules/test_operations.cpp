// Operations for tests, several in one library.
#include <iostream>
#include <stdexcept>

#include "dev/camera.h"
#include "dev/camera/plugin.h"
#include "dev/camera/plugin_factory.h"
#include "dev/camera_map.h"
#include "modules/gate.h"

namespace {

using dev::camera::CPluginRegistration;
using dev::camera::Plugin;

/// Hands the image on; the base of the others.
class CPass : public Plugin
{
protected:
    void On_Output_Change() override { images_[""] = source_; }
    void On_Execute(const ImagePtr& image) override
    {
        ++frame_;
        Work();
        images_[""] = image;
    }
    virtual void Work() {}

    int frame_ = 0;  ///< of the node, from 1
};

/// Throws on every frame whose number is a multiple of "every".
class CThrow : public CPass
{
    void Work() override
    {
        if (frame_ % std::stoi(Option("every", "1")) == 0)
            throw std::runtime_error(Option("numbered", "").empty() ? "out of luck"
                                                                    : "out of luck " + std::to_string(frame_));
    }
};

/// Holds the first frame until the source lets it go.
class CGate : public CPass
{
    void Work() override
    {
        if (frame_ > 1)
            return;
        gate::Open("working");
        gate::Await("released");
    }
};

/// Never comes back.
class CStuck : public CPass
{
    void Work() override
    {
        std::cout << "stuck" << std::endl;
        gate::Await("never");
    }
};

/// Takes no options but "ok".
class CChoosy : public CPass
{
    void On_Initialization() override
    {
        if (Option("ok", "").empty())
            throw std::runtime_error("found no ok, wanted ok=1");
    }
};

/// Needs the camera that the option "camera" names, at the latest for its first frame.
class COther : public CPass
{
    void On_Source_Changed() override
    {
        CPass::On_Source_Changed();
        if (camera_map_ != nullptr)
            (*camera_map_)[Option("camera", "")];
    }
    void Work() override
    {
        if (camera_map_ == nullptr)
            throw std::runtime_error("no camera map");
        std::cout << "other camera is " << (*camera_map_)[Option("camera", "")].Name() << std::endl;
    }
};

const CPluginRegistration<CPass> pass("TestPass", "", "Hands the image on.");
const CPluginRegistration<CThrow> throwing("TestThrow", "[every=N]", "Throws.");
const CPluginRegistration<CGate> gated("TestGate", "", "Waits.");
const CPluginRegistration<CStuck> stuck("TestStuck", "", "Waits for ever.");
const CPluginRegistration<CChoosy> choosy("TestChoosy", "ok=1", "Is hard to please.");
const CPluginRegistration<COther> other("TestOther", "camera=NAME", "Looks at another camera.");

}  // namespace
