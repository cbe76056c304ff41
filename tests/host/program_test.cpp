// The program as a whole: what goes to standard output and what to standard error, exit codes, JSON.
#include <gmock/gmock.h>
#include <filesystem>
#include <nlohmann/json.hpp>

#include "host/rig_fixture.h"
#include "host/spawned_program.h"

namespace {

using host_test::good_rig;
using host_test::Orvo;
using host_test::TEnded;
using host_test::With;
using nlohmann::json;
using testing::AllOf;
using testing::EndsWith;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;
using testing::StartsWith;

class ProgramTest : public host_test::RigFixture
{
protected:
    std::string Rig(const std::string& text) { return Write("rig.ini", text).string(); }
};

TEST_F(ProgramTest, ArgumentsThatMeanNothingAreTwo)
{
    const std::string rig = Rig(good_rig);
    const std::vector<std::vector<std::string>> rows = {{},
                                                        {"paint"},
                                                        {"check"},
                                                        {"check", "/nowhere/rig.ini"},
                                                        {"show", folder_.string()},  // a folder
                                                        {"check", rig, "--colour"},
                                                        {"run", rig, "--frames", "0"},
                                                        {"run", rig, "--frames", "many"},
                                                        {"run", rig, "--seconds", "-1"},
                                                        {"run", rig, "--seconds", "nan"},
                                                        {"run", rig, "--cameras", "left,rihgt"},
                                                        {"run", rig, "--cameras", "body"}};
    for (const auto& arguments : rows) {
        const TEnded ended = Orvo(arguments);
        EXPECT_EQ(ended.code, 2) << testing::PrintToString(arguments);
        EXPECT_THAT(ended.out, IsEmpty()) << testing::PrintToString(arguments);
        EXPECT_THAT(ended.talk, Not(IsEmpty())) << testing::PrintToString(arguments);
    }
    EXPECT_THAT(Orvo({"run", rig, "--cameras", "rihgt"}).talk,
                HasSubstr("--cameras: found \"rihgt\", wanted one of left, right; did you mean \"right\"?"));
}

TEST_F(ProgramTest, HelpIsAResult)
{
    for (const std::vector<std::string>& arguments :
         {std::vector<std::string>{"--help"}, {"run", "--help"}, {"--version"}}) {
        const TEnded ended = Orvo(arguments);
        EXPECT_EQ(ended.code, 0);
        EXPECT_THAT(ended.out, Not(IsEmpty()));
        EXPECT_THAT(ended.talk, IsEmpty());
    }
}

TEST_F(ProgramTest, CheckWritesItsFaultsAndCountsThem)
{
    const std::string good = Rig(good_rig);
    TEnded ended = Orvo({"check", good});
    EXPECT_EQ(ended.code, 0);
    EXPECT_THAT(ended.out, IsEmpty());
    EXPECT_EQ(ended.talk, good + ": 2 cameras, 1 sensor, 0 devices: no faults\n");

    const std::string bad = Rig(With(With(good_rig, "TYPE = SENSOR", "TYPE = RADAR"), "OUTPUT = b", "OUTPUT = c"));
    ended = Orvo({"check", bad});
    EXPECT_EQ(ended.code, 1);
    EXPECT_EQ(ended.out, bad + ":7: [body] TYPE: found \"RADAR\", wanted CAMERA, SENSOR or DEVICE\n" + bad +
                             ":27: [left] OUTPUT: found the node \"c\", wanted \"Source\" or a node of the PREPROCESS "
                             "lines; did you mean \"a\"?\n");
    EXPECT_THAT(ended.talk, EndsWith(": 2 cameras, 0 sensors, 0 devices: 2 faults\n"));
}

TEST_F(ProgramTest, CheckAsJson)
{
    // A value that is no UTF-8 must not spoil the output.
    const std::string bad = Rig(With(good_rig, "OUTPUT = b", "OUTPUT = \xff"));
    const TEnded ended = Orvo({"check", bad, "--json"});
    EXPECT_EQ(ended.code, 1);
    const json faults = json::parse(ended.out).at("faults");
    ASSERT_EQ(faults.size(), 1u);
    EXPECT_EQ(faults[0].at("file"), bad);
    EXPECT_EQ(faults[0].at("line"), 27);
    EXPECT_EQ(faults[0].at("section"), "left");
    EXPECT_EQ(faults[0].at("key"), "OUTPUT");
    EXPECT_EQ(faults[0].at("found"), "the node \"\xEF\xBF\xBD\"");

    EXPECT_EQ(json::parse(Orvo({"check", Rig(good_rig), "--json"}).out).at("faults"), json::array());
}

TEST_F(ProgramTest, RunAndShowRefuseARigWithFaults)
{
    const std::string bad = Rig(With(good_rig, "POSITION = 0.5, 0, 1", "POSITION = 0.5"));
    for (const char* const command : {"run", "show"}) {
        const TEnded ended = Orvo({command, bad});
        EXPECT_EQ(ended.code, 1) << command;
        EXPECT_THAT(ended.out, IsEmpty()) << command;
        EXPECT_THAT(ended.talk, StartsWith(bad + ":8: [body] POSITION: found \"0.5\"")) << command;
    }
}

TEST_F(ProgramTest, NeverWritesTheRigFile)
{
    const std::string rig = Rig(good_rig);  // leaves out keys whose defaults loading records
    for (const char* const command : {"check", "show", "run"})
        EXPECT_EQ(Orvo({command, rig}).code, 0) << command;
    EXPECT_EQ(Read(rig), good_rig);
    EXPECT_EQ(std::distance(std::filesystem::directory_iterator(folder_), {}), 1);
}

TEST_F(ProgramTest, ShowForPeople)
{
    const TEnded ended = Orvo({"show", Rig(good_rig)});
    EXPECT_EQ(ended.code, 0);
    EXPECT_THAT(ended.talk, IsEmpty());
    EXPECT_THAT(ended.out, HasSubstr("\nbody (SENSOR)\n"
                                     "  identity        not given\n"
                                     "  pose            position (0.5, 0, 1), yaw 0, pitch 0, roll 0 rad\n"));
    EXPECT_THAT(ended.out, HasSubstr("  relative to     body: position (0, 0.1, 0), yaw 0, pitch 0, roll 0 rad\n"));
    EXPECT_THAT(ended.out, HasSubstr("  field of view   90.00 x 90.00 deg"));
    EXPECT_THAT(ended.out, HasSubstr("  tree            Source\n"
                                     "                  └─ a: TestPass a Source  <- record\n"
                                     "                     └─ b: TestPass b a fps_factor=0.5  <- output\n"));
}

TEST_F(ProgramTest, ShowAsJson)
{
    const json rig = json::parse(Orvo({"show", Rig(good_rig), "--json"}).out);
    EXPECT_EQ(rig.at("name"), "pair");
    EXPECT_EQ(rig.at("devices").size(), 3u);
    const json& left = rig.at("devices").at(1);
    EXPECT_EQ(left.at("type"), "CAMERA");
    EXPECT_EQ(left.at("vendor"), "Acme");
    EXPECT_EQ(left.at("relative_pose").at("to"), "body");
    EXPECT_EQ(left.at("relative_pose").at("position"), (json{0.0, 0.1, 0.0}));
    const json& camera = left.at("camera");
    EXPECT_EQ(camera.at("distortion_k"), (json{-0.2, 0.1, 0.0, 0.0}));
    EXPECT_EQ(camera.at("region"), (json{0, 0, 7, 5}));
    EXPECT_NEAR(camera.at("field_of_view_deg").at("horizontal").get<double>(), 90.0, 1e-9);
    EXPECT_EQ(camera.at("tree").at("children").at(0).at("children").at(0).at("line"), "TestPass b a fps_factor=0.5");
    EXPECT_EQ(rig.at("devices").at(2).at("camera").at("field_of_view_deg"), nullptr);
}

TEST_F(ProgramTest, PluginsListsOperationsAndDrivers)
{
    TEnded ended = Orvo({"plugins"});
    EXPECT_EQ(ended.code, 0);
    EXPECT_THAT(ended.out, AllOf(HasSubstr("TestChoosy"), HasSubstr("ok=1"), HasSubstr("Is hard to please.")));
    EXPECT_THAT(ended.out, AllOf(HasSubstr("test:KIND COUNT"), HasSubstr("keys: TEST KEY")));

    const json list = json::parse(Orvo({"plugins", "--json"}).out);
    bool found = false;
    for (const json& operation : list.at("operations"))
        found = found || (operation.at("name") == "TestThrow" && operation.at("syntax") == "[every=N]");
    EXPECT_TRUE(found);

    ended = Orvo({"plugins"}, BAD_MODULES ":" TEST_MODULES);
    EXPECT_EQ(ended.code, 1);
    EXPECT_THAT(ended.out, HasSubstr("TestChoosy"));
    EXPECT_THAT(ended.talk, AllOf(HasSubstr("drivers/empty.so is no capture driver"),
                                  HasSubstr("plugins/Empty.so registers no new operation")));
}

}  // namespace
