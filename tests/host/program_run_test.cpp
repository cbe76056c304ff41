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

TEST_F(ProgramRunTest, AccountsForEveryFrameWhateverTheSourceDoes)
{
    const struct
    {
        std::string source, node;
        std::vector<std::string> arguments;
        int code, frames, executed;
        json dropped;
        std::string talk;
    } rows[] = {
        {"endless", "", {"--frames", "123"}, 0, 123, 123, json::object(), ""},
        // The one at work and the four newest.
        {"flood 100", "PREPROCESS 1 = TestGate g Source\n", {}, 3, 100, 5, {{"queue full", 95}}, ""},
        {"push 99",
         "PREPROCESS 1 = TestThrow t Source numbered=1\n",
         {},
         3,
         99,
         0,
         {{"error in t", 99}},
         "out of luck 1\n"},
        {"lossy 5", "", {}, 3, 5, 5, json::object(), ""},
        {"wrong 5", "", {}, 3, 5, 0, {{"wrong format", 5}}, "found Mono8 3x3, wanted Mono8 8x6 or its region"},
        {"fail 7", "", {}, 1, 7, 7, json::object(), "cam: the source failed: the cable came off\n"},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.source);
        std::vector<std::string> arguments{Rig(row.source, row.node)};
        arguments.insert(arguments.end(), row.arguments.begin(), row.arguments.end());
        const json camera = RunCamera(arguments, row.code);
        EXPECT_EQ(camera.at("frames"), row.frames);
        EXPECT_EQ(camera.at("executed"), row.executed);
        EXPECT_EQ(camera.at("dropped"), row.dropped);
        EXPECT_EQ(camera.at("lost").value("incomplete", 0), row.source == "lossy 5" ? 2 : 0);
        EXPECT_LE(camera.at("errors").size(), 17u);  // messages that differ every time are kept in part
        EXPECT_THAT(ended_.talk, HasSubstr(row.talk));
    }
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

TEST_F(ProgramRunTest, ASourceThatCannotBeOpenedEndsTheRunBeforeItBegins)
{
    const TEnded ended = Orvo({"run", Write("rig.ini", With(good_rig, "test:push 4", "test:closed")).string()});
    EXPECT_EQ(ended.code, 1);
    EXPECT_THAT(ended.out, IsEmpty());
    EXPECT_THAT(ended.talk, HasSubstr("left: SOURCE \"test:closed\": found a closed door, wanted an open one\n"));
    EXPECT_THAT(ended.talk, Not(HasSubstr("test source runs")));
}

TEST_F(ProgramRunTest, RunsTheChosenCamerasAndLetsPluginsFindTheOthers)
{
    // A camera that does not run need not have its source.
    const auto text = With(good_rig, "TestPass b a fps_factor=0.5", "TestOther b a camera=right fps_factor=0.5");
    const std::string rig = Write("rig.ini", With(text, "test:push 3", "test:nothing")).string();
    EXPECT_EQ(Orvo({"run", rig}).code, 1);
    const json camera = RunCamera({"--cameras", "left,left", rig, "--verbose"}, 0);
    EXPECT_EQ(json::parse(ended_.out).at("cameras").size(), 1u);
    EXPECT_EQ(camera.at("name"), "left");
    EXPECT_EQ(Counts(camera.at("nodes").at(1)), (json{"a", 4, 4, 0, 0}));
    EXPECT_EQ(Counts(camera.at("nodes").at(2)), (json{"b", 4, 2, 2, 0}));
    EXPECT_THAT(ended_.talk, HasSubstr("other camera is right\n"));
    EXPECT_THAT(ended_.talk, HasSubstr("[II] ::CPreprocessorNode: Adding plugin: TestPass a Source\n"));
    EXPECT_THAT(ended_.talk, Not(HasSubstr("\x1b")));                                 // no live lines in a pipe
    EXPECT_THAT(Orvo({"run", rig, "--cameras", "left"}).talk, Not(HasSubstr("::")));  // of the library
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

TEST_F(ProgramRunTest, CtrlCTwiceEndsItAtOnce)
{
    CSpawnedProgram program({"run", Rig("endless", "PREPROCESS 1 = TestStuck s Source\n")});
    program.AwaitTalk("stuck");
    program.Signal(SIGINT);
    program.AwaitTalk("stopping");
    program.SignalToTheEnd(SIGINT);
    EXPECT_EQ(program.Wait().code, 130);
}

}  // namespace
