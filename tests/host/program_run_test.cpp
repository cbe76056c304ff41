// orvo run as a whole: every frame is accounted for, whatever source, plugins and user do.
#include <gmock/gmock.h>
#include <csignal>
#include <nlohmann/json.hpp>

#include "host/rig_fixture.h"
#include "host/spawned_program.h"

namespace {

using host_test::CSpawnedProgram;
using host_test::good_rig;
using host_test::Orvo;
using host_test::TEnded;
using host_test::With;
using nlohmann::json;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;

class ProgramRunTest : public host_test::RigFixture
{
protected:
    /// A rig of one camera, "cam".
    std::string Rig(const std::string& source, const std::string& keys = {})
    {
        return Write("rig.ini", "[RIG]\n[cam]\nTYPE = CAMERA\nFB = Mono8 8x6\nSOURCE = test:" + source + '\n' + keys)
            .string();
    }

    /// Runs a rig to its end and reads the report of its only camera.
    json RunCamera(const std::vector<std::string>& arguments, int code)
    {
        std::vector<std::string> all{"run", "--json"};
        all.insert(all.end(), arguments.begin(), arguments.end());
        ended_ = Orvo(all);
        EXPECT_EQ(ended_.code, code) << ended_.talk;
        return Camera(ended_);
    }

    static json Camera(const TEnded& ended)
    {
        const json camera = json::parse(ended.out).at("cameras").at(0);
        ExpectBalance(camera);
        return camera;
    }

    static void ExpectBalance(const json& camera)
    {
        std::uint64_t dropped = 0;
        for (const auto& reason : camera.at("dropped").items())
            dropped += reason.value().get<std::uint64_t>();
        EXPECT_EQ(camera.at("frames"),
                  camera.at("executed").get<std::uint64_t>() + camera.at("decimated").get<std::uint64_t>() + dropped);
        for (const json& node : camera.at("nodes"))
            EXPECT_EQ(node.at("frames"), node.at("executed").get<std::uint64_t>() +
                                             node.at("decimated").get<std::uint64_t>() +
                                             node.at("dropped").get<std::uint64_t>());
    }

    static json Counts(const json& node)
    {
        return {node.at("name"), node.at("frames"), node.at("executed"), node.at("decimated"), node.at("dropped")};
    }

    TEnded ended_;
};

TEST_F(ProgramRunTest, TwoCamerasRunToTheirEnds)
{
    const TEnded ended = Orvo({"run", Write("rig.ini", good_rig).string(), "--json"});
    EXPECT_EQ(ended.code, 0);
    EXPECT_THAT(ended.talk, HasSubstr("[II] ::CPreprocessorNode: Adding plugin: TestPass a Source\n"));
    EXPECT_THAT(ended.talk, Not(HasSubstr("\x1b")));  // no live lines in a pipe
    const json report = json::parse(ended.out);
    const json& left = report.at("cameras").at(0);
    const json& right = report.at("cameras").at(1);
    ExpectBalance(left);
    ExpectBalance(right);
    EXPECT_EQ(left.at("executed"), 4);
    EXPECT_EQ(right.at("executed"), 3);
    EXPECT_EQ(Counts(left.at("nodes").at(1)), (json{"a", 4, 4, 0, 0}));
    EXPECT_EQ(Counts(left.at("nodes").at(2)), (json{"b", 4, 2, 2, 0}));
    EXPECT_EQ(report.at("interrupted"), false);
}

TEST_F(ProgramRunTest, ReportsATableForPeople)
{
    const TEnded ended = Orvo({"run", Rig("push 5", "PREPROCESS 1 = TestPass a Source\n")});
    EXPECT_EQ(ended.code, 0);
    EXPECT_THAT(ended.out, HasSubstr("cam: 5 frames in "));
    EXPECT_THAT(ended.out, HasSubstr("\n    a           5         5          0        0 "));
    EXPECT_THAT(ended.out, Not(HasSubstr("[II]")));
}

TEST_F(ProgramRunTest, ASourceThatCannotWaitLosesTheOldestFramesByName)
{
    const json camera = RunCamera({Rig("flood 100", "PREPROCESS 1 = TestGate g Source\n")}, 3);
    EXPECT_EQ(camera.at("frames"), 100);
    EXPECT_EQ(camera.at("executed"), 5);  // the one at work and the four newest
    EXPECT_EQ(camera.at("dropped"), (json{{"queue full", 95}}));
}

TEST_F(ProgramRunTest, APluginThatThrowsLosesItsFramesAndIsToldOnce)
{
    const json camera = RunCamera({Rig("push 10",
                                       "PREPROCESS 1 = TestPass a Source\nPREPROCESS 2 = TestThrow t Source every=3\n"
                                       "PREPROCESS 3 = TestPass c t\n")},
                                  3);
    EXPECT_EQ(camera.at("executed"), 7);
    EXPECT_EQ(camera.at("dropped"), (json{{"error in t", 3}}));
    EXPECT_EQ(camera.at("errors"), (json{{{"where", "t"}, {"message", "out of luck"}, {"count", 3}}}));
    EXPECT_EQ(Counts(camera.at("nodes").at(1)), (json{"a", 10, 10, 0, 0}));
    EXPECT_EQ(Counts(camera.at("nodes").at(2)), (json{"t", 10, 7, 0, 3}));
    EXPECT_EQ(Counts(camera.at("nodes").at(3)), (json{"c", 7, 7, 0, 0}));
    const auto first = ended_.talk.find("cam: t: out of luck\n");
    ASSERT_NE(first, std::string::npos) << ended_.talk;
    EXPECT_EQ(ended_.talk.find("cam: t: out of luck\n", first + 1), std::string::npos);
}

TEST_F(ProgramRunTest, MessagesThatDifferEveryTimeAreKeptInPart)
{
    const json camera = RunCamera({Rig("push 100", "PREPROCESS 1 = TestThrow t Source numbered=1\n")}, 3);
    EXPECT_EQ(camera.at("dropped"), (json{{"error in t", 100}}));
    EXPECT_EQ(camera.at("errors").size(), 17u);
    std::uint64_t sum = 0;
    for (const json& error : camera.at("errors"))
        sum += error.at("count").get<std::uint64_t>();
    EXPECT_EQ(sum, 100u);
}

TEST_F(ProgramRunTest, WhatTheSourceLostIsNotDelivered)
{
    const json camera = RunCamera({Rig("lossy 5")}, 3);
    EXPECT_EQ(camera.at("frames"), 5);
    EXPECT_EQ(camera.at("executed"), 5);
    EXPECT_EQ(camera.at("lost"), (json{{"incomplete", 2}}));
}

TEST_F(ProgramRunTest, PicturesOfTheWrongSizeAreDropped)
{
    const json camera = RunCamera({Rig("wrong 5")}, 3);
    EXPECT_EQ(camera.at("dropped"), (json{{"wrong format", 5}}));
    EXPECT_EQ(camera.at("errors").at(0).at("message"), "found Mono8 3x3, wanted Mono8 8x6 or its region");
}

TEST_F(ProgramRunTest, ASourceThatFailsMidwayKeepsWhatItDelivered)
{
    const json camera = RunCamera({Rig("fail 7")}, 1);
    EXPECT_EQ(camera.at("executed"), 7);
    EXPECT_EQ(camera.at("failure"), "the cable came off");
    EXPECT_THAT(ended_.talk, HasSubstr("cam: the source failed: the cable came off\n"));
}

TEST_F(ProgramRunTest, ASourceThatCannotBeOpenedEndsTheRunBeforeItBegins)
{
    const TEnded ended = Orvo({"run", Write("rig.ini", With(good_rig, "test:push 4", "test:closed")).string()});
    EXPECT_EQ(ended.code, 1);
    EXPECT_THAT(ended.out, IsEmpty());
    EXPECT_THAT(ended.talk, HasSubstr("left: SOURCE \"test:closed\": found a closed door, wanted an open one\n"));
    EXPECT_THAT(ended.talk, Not(HasSubstr("test source runs")));
}

TEST_F(ProgramRunTest, FramesLimitsEachCamera)
{
    const json camera = RunCamera({Rig("endless"), "--frames", "123"}, 0);
    EXPECT_EQ(camera.at("frames"), 123);
    EXPECT_EQ(camera.at("executed"), 123);
    EXPECT_EQ(camera.at("dropped"), json::object());
}

TEST_F(ProgramRunTest, SecondsEndAnEndlessSource)
{
    const json camera = RunCamera({Rig("endless"), "--seconds", "0.05"}, 0);
    EXPECT_EQ(camera.at("dropped"), json::object());
}

TEST_F(ProgramRunTest, RunsTheChosenCamerasAndLetsPluginsFindTheOthers)
{
    const std::string rig =
        Write("rig.ini", With(good_rig, "TestPass b a fps_factor=0.5", "TestOther b a camera=right")).string();
    const json camera = RunCamera({"--cameras", "left,left", rig}, 0);
    EXPECT_EQ(camera.at("name"), "left");
    EXPECT_EQ(json::parse(ended_.out).at("cameras").size(), 1u);
    EXPECT_THAT(ended_.talk, HasSubstr("other camera is right\n"));
}

TEST_F(ProgramRunTest, ACameraThatDoesNotRunNeedNotHaveItsSource)
{
    const std::string rig = Write("rig.ini", With(good_rig, "test:push 3", "test:nothing")).string();
    EXPECT_EQ(Orvo({"run", rig}).code, 1);
    EXPECT_EQ(Orvo({"run", rig, "--cameras", "right"}).code, 1);
    EXPECT_EQ(RunCamera({rig, "--cameras", "left"}, 0).at("executed"), 4);
}

TEST_F(ProgramRunTest, CtrlCEndsItAndAccountsForWhatWaited)
{
    for (const int signal : {SIGINT, SIGTERM}) {
        CSpawnedProgram program({"run", Rig("fill 5", "PREPROCESS 1 = TestGate g Source\n"), "--json"});
        program.AwaitTalk("test source is waiting");
        program.Signal(signal);
        const TEnded ended = program.Wait();
        EXPECT_EQ(ended.code, 0) << ended.talk;
        EXPECT_EQ(json::parse(ended.out).at("interrupted"), true);
        const json camera = Camera(ended);
        EXPECT_EQ(camera.at("frames"), 5);
        EXPECT_EQ(camera.at("executed"), 1);
        EXPECT_EQ(camera.at("dropped"), (json{{"stopped", 4}}));
    }
}

TEST_F(ProgramRunTest, CtrlCEndsAnEndlessRun)
{
    CSpawnedProgram program({"run", Rig("endless"), "--json"});
    program.AwaitTalk("test source runs");
    program.Signal(SIGINT);
    const TEnded ended = program.Wait();
    EXPECT_EQ(ended.code, 0);
    Camera(ended);
}

TEST_F(ProgramRunTest, CtrlCTwiceEndsItAtOnce)
{
    CSpawnedProgram program({"run", Rig("endless", "PREPROCESS 1 = TestStuck s Source\n")});
    program.AwaitTalk("stuck");
    program.Signal(SIGINT);
    program.AwaitTalk("stopping");
    program.Signal(SIGINT);
    EXPECT_EQ(program.Wait().code, 130);
}

}  // namespace
