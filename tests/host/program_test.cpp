// The program as a whole: what goes to standard output and what to standard error, exit codes, JSON.
#include <gmock/gmock.h>
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
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;

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
                                                        {"check", "/nowhere/rig.ini"},
                                                        {"show", folder_.string()},
                                                        {"check", rig, "--colour"},
                                                        {"run", rig, "--frames", "0"},
                                                        {"run", rig, "--seconds", "nan"},
                                                        {"run", rig, "--cameras", "body"},
                                                        {"run", rig, "--cameras", "left,rihgt"}};
    TEnded ended;
    for (const auto& arguments : rows) {
        ended = Orvo(arguments);
        EXPECT_EQ(ended.code, 2) << testing::PrintToString(arguments);
        EXPECT_THAT(ended.out, IsEmpty()) << testing::PrintToString(arguments);
        EXPECT_THAT(ended.talk, Not(IsEmpty())) << testing::PrintToString(arguments);
    }
    EXPECT_THAT(ended.talk,
                HasSubstr("--cameras: found \"rihgt\", wanted one of left, right; did you mean \"right\"?"));
    ended = Orvo({"run", "--help"});
    EXPECT_EQ(ended.code, 0);
    EXPECT_THAT(ended.out, Not(IsEmpty()));
    EXPECT_THAT(ended.talk, IsEmpty());
}

TEST_F(ProgramTest, CheckWritesItsFaultsAndCountsThem)
{
    const std::string rig = Rig(good_rig);
    TEnded ended = Orvo({"check", rig});
    EXPECT_EQ(ended.code, 0);
    EXPECT_THAT(ended.out, IsEmpty());
    EXPECT_EQ(ended.talk, rig + ": 2 cameras, 1 sensor, 0 devices: no faults\n");

    // A value that is no UTF-8 must not spoil the JSON.
    Rig(With(With(good_rig, "TYPE = SENSOR", "TYPE = RADAR"), "OUTPUT = b", "OUTPUT = \xff"));
    ended = Orvo({"check", rig});
    EXPECT_EQ(ended.code, 1);
    EXPECT_THAT(ended.out, AllOf(HasSubstr(rig + ":7: [body] TYPE: found \"RADAR\", wanted CAMERA, SENSOR or DEVICE\n"),
                                 HasSubstr(rig + ":27: [left] OUTPUT: found the node ")));
    EXPECT_THAT(ended.talk, testing::EndsWith(": 2 cameras, 0 sensors, 0 devices: 2 faults\n"));

    ended = Orvo({"check", rig, "--json"});
    EXPECT_EQ(ended.code, 1);
    const json fault = json::parse(ended.out).at("faults").at(1);
    EXPECT_EQ((json{fault.at("file"), fault.at("line"), fault.at("section"), fault.at("key"), fault.at("found")}),
              (json{rig, 27, "left", "OUTPUT", "the node \"\xEF\xBF\xBD\""}));

    for (const char* const command : {"run", "show"}) {
        ended = Orvo({command, rig});
        EXPECT_EQ(ended.code, 1) << command;
        EXPECT_THAT(ended.out, IsEmpty()) << command;
        EXPECT_THAT(ended.talk, testing::StartsWith(rig + ":7: [body] TYPE: found \"RADAR\"")) << command;
    }
}

TEST_F(ProgramTest, ShowForPeopleAndPrograms)
{
    const TEnded ended = Orvo({"show", Rig(With(good_rig, "RECORD = a", "RECORD = a\nLUT A = $INAME/a.lut"))});
    EXPECT_EQ(ended.code, 0);
    EXPECT_THAT(ended.talk, IsEmpty());
    EXPECT_THAT(ended.out, HasSubstr("\nbody (SENSOR)\n"
                                     "  identity        not given\n"
                                     "  pose            position (0.5, 0, 1), yaw 0, pitch 0, roll 0 rad\n"));
    EXPECT_THAT(ended.out, HasSubstr("  field of view   90.00 x 90.00 deg"));
    EXPECT_THAT(ended.out, HasSubstr("  lookup table    LUT A: $INAME/a.lut (" + (folder_ / "a.lut").string() +
                                     ", missing)\n  compression     none, when recorded\n"));
    EXPECT_THAT(ended.out, HasSubstr("  tree            Source\n"
                                     "                  └─ a: TestPass a Source  <- record\n"
                                     "                     └─ b: TestPass b a fps_factor=0.5  <- output\n"));
    const json devices = json::parse(Orvo({"show", Rig(good_rig), "--json"}).out).at("devices");
    EXPECT_EQ(devices.at(1).at("vendor"), "Acme");
    EXPECT_EQ(devices.at(1).at("relative_pose").at("position"), (json{0.0, 0.1, 0.0}));
    const json& camera = devices.at(1).at("camera");
    EXPECT_EQ(camera.at("distortion_k"), (json{-0.2, 0.1, 0.0, 0.0}));
    EXPECT_EQ(camera.at("region"), (json{0, 0, 7, 5}));
    EXPECT_EQ(camera.at("tree").at("children").at(0).at("children").at(0).at("line"), "TestPass b a fps_factor=0.5");
    EXPECT_EQ(devices.at(2).at("camera").at("field_of_view_deg"), nullptr);
    // The file is never written, not even with the defaults that loading records.
    EXPECT_EQ(Orvo({"run", Rig(good_rig)}).code, 0);
    EXPECT_EQ(Read(folder_ / "rig.ini"), good_rig);
    EXPECT_EQ(std::distance(std::filesystem::directory_iterator(folder_), {}), 1);
}

TEST_F(ProgramTest, PluginsListsOperationsAndDrivers)
{
    const TEnded ended = Orvo({"plugins"}, BAD_MODULES ":" TEST_MODULES);
    EXPECT_EQ(ended.code, 1);
    EXPECT_THAT(ended.out, AllOf(HasSubstr("TestChoosy"), HasSubstr("ok=1"), HasSubstr("Is hard to please.")));
    EXPECT_THAT(ended.out, AllOf(HasSubstr("test:KIND COUNT"), HasSubstr("keys: TEST KEY")));
    EXPECT_THAT(ended.talk, AllOf(HasSubstr("drivers/empty.so is no capture driver"),
                                  HasSubstr("plugins/Empty.so registers no new operation")));
    EXPECT_EQ(Orvo({"plugins", "--json"}).code, 0);
}

}  // namespace
