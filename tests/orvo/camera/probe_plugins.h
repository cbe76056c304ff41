// Plugins that tell what happens to them. Registered as a plugin library would: while the program is loaded.
//
//   Relay      an output image of the input's size under ""; "throw=init|frame" throws std::runtime_error there,
//              "throw=other" throws an int while it is initialised
//   Silent     no output
//   Hollow     its registered constructor function is empty
//   Null       its constructor function makes nothing
#ifndef TESTS_CAMERA_PROBE_PLUGINS_H
#define TESTS_CAMERA_PROBE_PLUGINS_H

#include <string>
#include <vector>

#include "dev/camera/plugin.h"

namespace test {

/// What the probes reported, oldest first: "init NAME", "source NAME", "output NAME", "frame NAME", "gone NAME".
std::vector<std::string>& Journal();

/// The reports since the last call.
std::vector<std::string> TakeJournal();

/// The names that ran a frame since the last call, joined by blanks.
std::string TakeFrames();

class CRelay : public dev::camera::Plugin
{
public:
    ~CRelay() override;

    // Within reach of tests.
    using Plugin::images_;
    using Plugin::source_;

protected:
    void On_Initialization() override;
    void On_Execute(const ImagePtr& image) override;
    void On_Source_Changed() override;
    void On_Output_Change() override;
};

}  // namespace test

#endif
