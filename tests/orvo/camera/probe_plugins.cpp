#include "orvo/camera/probe_plugins.h"

#include <stdexcept>

#include "dev/camera/plugin_factory.h"

namespace test {
namespace {

using dev::camera::CPluginRegistration;
using dev::camera::Plugin;
using dev::camera::PluginSingleton;

class CSilent : public Plugin
{
    void On_Execute(const ImagePtr&) override { Journal().push_back("frame " + Name()); }
};

const CPluginRegistration<CRelay> relay("Relay", "[throw=init|frame|other]", "Hands an empty image on.");
const CPluginRegistration<CSilent> silent("Silent", "", "Has no output.");
const bool hollow = PluginSingleton::Instance().Register("Hollow", boost::function<Plugin*()>());
const bool null = PluginSingleton::Instance().Register("Null", [] { return static_cast<Plugin*>(nullptr); });

}  // namespace

std::vector<std::string>& Journal()
{
    static std::vector<std::string> journal;
    return journal;
}

std::vector<std::string> TakeJournal()
{
    std::vector<std::string> reports;
    reports.swap(Journal());
    return reports;
}

std::string TakeFrames()
{
    std::string names;
    for (const std::string& report : TakeJournal())
        if (report.compare(0, 6, "frame ") == 0)
            names += (names.empty() ? "" : " ") + report.substr(6);
    return names;
}

CRelay::~CRelay()
{
    Journal().push_back("gone " + Name());
}

void CRelay::On_Initialization()
{
    Journal().push_back("init " + Name());
    if (Option("throw", "") == "init")
        throw std::runtime_error("no way to begin");
    if (Option("throw", "") == "other")
        throw 42;
}

void CRelay::On_Execute(const ImagePtr&)
{
    Journal().push_back("frame " + Name());
    if (Option("throw", "") == "frame")
        throw std::runtime_error("no way to go on");
}

void CRelay::On_Source_Changed()
{
    Journal().push_back("source " + Name());
    ResizeDefaultWnd();
}

void CRelay::On_Output_Change()
{
    Journal().push_back("output " + Name());
    images_[""] = source_->New(source_->Width(), source_->Height());
}

}  // namespace test
