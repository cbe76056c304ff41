#include "rig/rig.h"

#include <gmock/gmock.h>

#include "host/rig_fixture.h"

namespace {

using testing::ElementsAre;
using testing::IsEmpty;

class RigTest : public host_test::RigFixture
{
protected:
    host::TRig ReadGood(const std::string& text)
    {
        std::vector<host::TFault> faults;
        host::TRig rig = host::ReadRig(Write("two words.ini", text), faults);
        EXPECT_THAT(faults, IsEmpty());
        return rig;
    }
};

TEST_F(RigTest, PathsBeginAtTheFolderOfTheFile)
{
    std::filesystem::create_directory(folder_ / "data");
    const host::TRig rig = ReadGood("[RIG]\nDATA DIR = $INAME/data\n[body]\nTYPE = DEVICE\n");
    const auto folder = std::filesystem::canonical(folder_);
    EXPECT_EQ(rig.name, "two words");
    EXPECT_EQ(rig.data_dir, folder / "data");
    EXPECT_EQ(host::Absolute(rig, "left*.png"), folder_ / "left*.png");
    EXPECT_EQ(host::Absolute(rig, "$DATA_DIR/left*.png"), folder / "data/left*.png");
    EXPECT_EQ(host::Absolute(rig, "${INAME}/x"), folder_ / "x");
    EXPECT_EQ(host::Absolute(rig, "/elsewhere/x"), "/elsewhere/x");
}

TEST_F(RigTest, NodeLinesComeInTheOrderOfTheirNumbers)
{
    const host::TRig rig =
        ReadGood("[RIG]\n[cam]\nTYPE = CAMERA\nPREPROCESS 10 = j\nPREPROCESS 2 = b\nPREPROCESS 1 = a\n");
    std::vector<std::string> texts;
    for (const host::TNodeLine& line : host::NodeLines(rig.devices.at(0)))
        texts.push_back(line.key + ' ' + line.text);
    EXPECT_THAT(texts, ElementsAre("PREPROCESS 1 a", "PREPROCESS 2 b", "PREPROCESS 10 j"));
}

TEST_F(RigTest, ASourceSplitsAtItsFirstColon)
{
    EXPECT_EQ(host::SplitSource("replay:a:b#c")->scheme, "replay");
    EXPECT_EQ(host::SplitSource("replay:a:b#c")->location, "a:b#c");
    EXPECT_EQ(host::SplitSource("genicam:")->location, "");
    for (const char* const none : {"", ":x", "no scheme:x", "../x:y", "x"})
        EXPECT_FALSE(host::SplitSource(none)) << none;
}

}  // namespace
