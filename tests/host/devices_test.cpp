// orvo devices: the list, what is pasted from it into a rig file, and the checks of a source.
#include <gmock/gmock.h>
#include <stdlib.h>
#include <nlohmann/json.hpp>

#include "commands/devices.h"
#include "host/rig_fixture.h"
#include "host/spawned_program.h"
#include "rig/check.h"
#include "system/modules.h"

namespace {

using host_test::Orvo;
using nlohmann::json;
using testing::HasSubstr;

class DevicesTest : public host_test::RigFixture
{
protected:
    /// In this process, which has no drivers beside it: so no real device can answer.
    std::string List(bool in_json)
    {
        setenv("ORVO_MODULE_PATH", BAD_MODULES ":" TEST_MODULES, 1);
        testing::internal::CaptureStdout();
        const auto code = host::Devices({{}, false, {}, {}, in_json}, console_);
        unsetenv("ORVO_MODULE_PATH");
        EXPECT_EQ(code, host::Failed) << "one driver is none";
        return testing::internal::GetCapturedStdout();
    }
};

TEST_F(DevicesTest, ListsWhatAnswersWhateverTheOthersDo)
{
    const json list = json::parse(List(true));
    EXPECT_THAT(list.at("faults").at(0).get<std::string>(), HasSubstr("empty.so is no capture driver"));
    EXPECT_EQ(list.at("devices").at(0).at("section"), (json{{"TYPE", "CAMERA"},
                                                            {"SOURCE", "test:camera 0"},
                                                            {"VENDOR", "Test"},
                                                            {"MODEL", "One"},
                                                            {"SERIAL", "007"},
                                                            {"FB", "Mono8 8x6"}}));
    EXPECT_EQ(list.at("devices").at(1).at("fault"), "found a closed door,; wanted an open one");
    EXPECT_EQ(list.at("devices").at(1).at("section"), nullptr);

    const std::string text = List(false);
    host::CModules modules({TEST_MODULES});
    const auto check = host::CheckRig(Write("rig.ini", "[RIG]\n" + text.substr(text.find("\n["))), &modules);
    EXPECT_EQ(check.faults.size(), 0U) << text;
}

TEST_F(DevicesTest, DescribesAndTestsOneSource)
{
    for (const char* const name : {"1.pgm", "2.pgm"})
        Write(name, "P5\n4 2\n255\n12345678");
    const std::string pictures = "images:" + (folder_ / "*.pgm").string();
    const std::string rig = Write("rig.ini", "[RIG]\n[cam]\nTYPE = CAMERA\nFB = Mono8 4x4\n");
    const struct
    {
        std::vector<std::string> arguments;
        int code;
        std::string out;
        std::string talk;
    } rows[] = {
        {{pictures}, 0, "FB = Mono8 4x2\n", ""},
        {{"test:closed"}, 1, "", "test:closed: found a closed door,; wanted an open one"},
        {{"tset:closed"}, 1, "", "wanted one of"},
        {{"tset:closed", "--json"}, 1, "\"faults\": [", "wanted one of"},
        {{"closed"}, 2, "", "wanted \"SCHEME:LOCATION\""},
        {{"--test"}, 2, "", "found nothing"},
        {{"--test", pictures}, 0, "passed   frames      2 frames of Mono8 4x2, 0 lost\n", "put them back"},
        {{"--test", pictures}, 0, ": passed: 7 checks passed, 0 failed, 3 skipped\n", ""},
        {{"--test", pictures, "--rig", rig, "--camera", "cam"}, 1, "found Mono8 4x2, wanted Mono8 4x4", ""},
        {{"--test", pictures, "--rig", rig, "--camera", "can"}, 2, "", "found \"can\", wanted one of cam"},
        {{"--test", pictures, "--rig", rig}, 2, "", "--camera"},
        {{"--test", "test:push 5", "--json"}, 1, "\"verdict\": \"failed\"", ""},
    };
    for (auto row : rows) {
        row.arguments.insert(row.arguments.begin(), "devices");
        const auto ended = Orvo(row.arguments);
        EXPECT_EQ(ended.code, row.code) << testing::PrintToString(row.arguments) << ended.out << ended.talk;
        EXPECT_THAT(ended.out, HasSubstr(row.out));
        EXPECT_THAT(ended.talk, HasSubstr(row.talk));
    }
}

}  // namespace
