// Whatever a settings file holds: either it is told what is wrong, or it loads and runs. Neither the program nor the
// library may stop over it.
#include <gtest/gtest.h>
#include <boost/algorithm/string/split.hpp>
#include <random>

#include "dev/camera.h"
#include "host/rig_fixture.h"
#include "orvo_proc_cimage/image.h"
#include "rig/check.h"
#include "rig/describe.h"
#include "rig/load.h"
#include "system/console.h"
#include "system/modules.h"

namespace {

using host_test::good_rig;

/// Split at '|'.
const std::string nasty_values =
    "| |0|-1|1|1, 2|1, 2, 3|1, 2, 3, 4|1 2 3 4 5|nan, inf, 0|1e999, 0, 0|,,,|x|4294967295, 4294967295|-1 -1|"
    "0 0 4294967295 4294967295|2147483647 0 2147483648 5|0 0 65536 65536|Mono8 0x0|Mono8 65535x65535|Mono8 2x2|RGB8 "
    "8x6|"
    "BayerRG12 8x6|YUV422_8 8x6|Mono8 99999999999x1|MEI|KANNALA_BRANDT|DIVISION|BEV|left|right|body|RIG|Source|"
    "Identity a Source|Identity Source Source|TestPass a a|TestPass Source Source|"
    "TestPass a Source 1 2 3 4 5 6 7 8 9 10 11|TestPass z Source fps_factor=0 fps_factor=x|"
    "TestPass z Source fps_factor=1e400|TestPass z Source = == =;;|test:|test:push|:|test:push 0|CAMERA|SENSOR|DEVICE|"
    "1.0|1.1|$DATA_DIR|${}|$|\x80\xff|%s%n|[left]|;|#|=|a=b";
const std::string keys =
    "TYPE|POSITION|ORIENTATION|RELATIVE TO|RELATIVE ORIENTATION|FB|ROI|CAMERA MODEL|DISTORTION MODEL|DISTORTION CENTER|"
    "DISTORTION K|DISTORTION K RATIO|OPTICAL CENTER|ANGULAR FOV|PIXEL FOCAL LENGTH|PIXEL ASPECT RATIO|SOURCE|OUTPUT|"
    "RECORD|PREPROCESS 1|PREPROCESS 2|PREPROCESS 3|PREPROCESS 4294967296|LUT";

class CheckMutations : public host_test::RigFixture
{
protected:
    std::string OneOf(const std::string& list)
    {
        std::vector<std::string> texts;
        boost::split(texts, list, [](char c) { return c == '|'; });
        return texts[Below(texts.size())];
    }

    std::size_t Below(std::size_t limit) { return random_() % limit; }

    void Mutate(std::string& text)
    {
        const std::size_t line = text.rfind('\n', Below(text.size())) + 1;  // npos + 1 is the first line
        const std::size_t end = std::min(text.find('\n', line), text.size());
        const std::size_t equals = text.find('=', line);
        const std::size_t kind = Below(8);
        if (kind < 2 && equals < end)
            text.replace(equals + 1, end - equals - 1, OneOf(nasty_values));
        else if (kind == 2)
            text.insert(line, OneOf(keys) + " = " + OneOf(nasty_values) + '\n');
        else if (kind == 3)
            text.erase(line, end - line);
        else if (kind == 4)
            text.insert(line, text.substr(line, end - line) + '\n');
        else if (kind == 5)
            text[Below(text.size())] = static_cast<char>(Below(256));
        else if (kind == 6)
            text.erase(Below(text.size()), Below(20));
        else if (kind == 7)
            text.insert(Below(text.size()), OneOf(nasty_values));
        if (text.empty())
            text.push_back('\n');
    }

    /// Whether check finds nothing; then run and show must get along with the rig.
    bool IsClean(const std::string& text)
    {
        SCOPED_TRACE(text);
        host::TRig rig;
        const bool clean = host::CheckRig(Write("rig", text), &modules_, &rig).faults.empty();
        if (clean) {
            EXPECT_NO_THROW(LoadAndRun(rig));
        }
        return clean;
    }

    void LoadAndRun(const host::TRig& rig)
    {
        host::Describe(rig);
        for (const host::TDevice& device : rig.devices) {
            if (device.type != host::DeviceType::Camera)
                continue;
            dev::CCamera camera;
            host::LoadDevice(camera, device, rig);
            host::AddNodes(camera, rig, device, modules_);
            dev::TFrame<> frame;
            // A large image that nobody touches costs nothing.
            frame.image = cimage::Build(camera.ImageFormat());
            camera.Preprocess(frame);
            camera.On_ShutDown();
        }
    }

    std::mt19937 random_{20240607};
    host::CModules modules_{{TEST_MODULES}};
};

TEST_F(CheckMutations, EitherFaultsOrLoads)
{
    const host::CConsole::CCapture quiet;
    int clean = 0;
    int faulty = 0;
    for (int round = 0; round < 1500; ++round) {
        std::string text = good_rig;
        for (std::size_t count = Below(2) == 0 ? 1 : 1 + Below(3); count > 0; --count)
            Mutate(text);
        ++(IsClean(text) ? clean : faulty);
    }
    // Both ways out were really taken.
    EXPECT_GT(clean, 100);
    EXPECT_GT(faulty, 500);
}

TEST_F(CheckMutations, EveryBeginningOfAFile)
{
    const host::CConsole::CCapture quiet;
    for (std::size_t length = 0; length <= good_rig.size(); length += 3)
        IsClean(good_rig.substr(0, length));
}

}  // namespace
