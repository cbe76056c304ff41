// Where the time of a run goes: orvo run --profile and --trace.
#include <gmock/gmock.h>
#include <sys/resource.h>
#include <map>
#include <nlohmann/json.hpp>
#include <utility>

#include "host/rig_fixture.h"
#include "host/spawned_program.h"
#include "run/trace_file.h"

namespace {

using host_test::Orvo;
using nlohmann::json;
using testing::HasSubstr;
using testing::StartsWith;

class ProfileTest : public host_test::RigFixture
{
protected:
    json Events() const { return json::parse(Read(trace_)).at("traceEvents"); }

    const std::filesystem::path trace_ = folder_ / "trace.json";
};

TEST_F(ProfileTest, ATraceIsAWholeDocumentAtAnyTimeWhateverTheNamesAre)
{
    host::CTraceFile trace(trace_, console_);
    EXPECT_EQ(Events().size(), 1u);  // the name of the program
    const unsigned int track = trace.AddTrack("\"left\"\\\n\xff");
    for (int i = 0; i < 2000; ++i)
        trace.Add(track, host::CTraceFile::Quoted("\"a\""), 9007199254740001 + i, 1000 + i);
    EXPECT_GT(Events().size(), 100u);
    EXPECT_TRUE(trace.Close());
    EXPECT_EQ(Events().size(), 2002u);
    EXPECT_EQ(Events().at(1).at("args").at("name"), "\"left\"\\\n\uFFFD");
    EXPECT_NE(Read(trace_).find(R"("\"a\"", "ts": 9007199254740.001, "dur": 1.000})"), std::string::npos);
}

TEST_F(ProfileTest, TellsHowLongEachCameraAndEachNodeTook)
{
    const std::string rig = Write("rig.ini", host_test::good_rig).string();
    const std::string left =
        "[II] ::CProfiler: Report\n  Name   = ..............left (RT Clock)\n    Count = 000004\n    Min   = 00:00:00.";
    EXPECT_THAT(Orvo({"run", rig, "--profile", "--trace", trace_.string()}).out, HasSubstr("\n\n" + left));
    const auto as_json = Orvo({"run", rig, "--profile", "--json"});
    EXPECT_TRUE(json::accept(as_json.out)) << as_json.out;
    EXPECT_THAT(as_json.talk, HasSubstr(left));

    std::map<std::string, int> counts;
    std::map<int, std::string> tracks;
    std::map<int, double> last_ends;
    for (const json& event : Events()) {
        if (event.at("name") == "thread_name")
            tracks[event.at("tid")] = event.at("args").at("name");
        if (event.at("ph") != "X")
            continue;
        const std::string name = event.at("name");
        ++counts[name];
        EXPECT_THAT(name, StartsWith(tracks.at(event.at("tid"))));
        // Nodes follow one another, then the tree ends that they lie within.
        double& last_end = last_ends[event.at("tid")];
        EXPECT_GE(event.at("ts"), name.find('/') != std::string::npos ? last_end : 0.0);
        const double end = event.at("ts").get<double>() + event.at("dur").get<double>();
        EXPECT_GE(end, std::exchange(last_end, end));
    }
    EXPECT_EQ(counts,
              (std::map<std::string, int>{
                  {"left", 4}, {"left/Source", 4}, {"left/a", 4}, {"left/b", 2}, {"right", 3}, {"right/Source", 3}}));
}

TEST_F(ProfileTest, ATraceThatCannotBeWrittenIsToldAndStopsNoCamera)
{
    const std::string rig =
        Write("rig.ini", "[RIG]\n[cam]\nTYPE = CAMERA\nFB = Mono8 8x6\nSOURCE = test:endless\n").string();
    const auto refused = Orvo({"run", rig, "--trace", (folder_ / "none" / "trace.json").string()});
    EXPECT_EQ(refused.code, 1);
    EXPECT_THAT(refused.talk, HasSubstr("none/trace.json: found No such file or directory, wanted a file"));

    rlimit old{};
    getrlimit(RLIMIT_FSIZE, &old);
    const rlimit small{100000, old.rlim_max};
    setrlimit(RLIMIT_FSIZE, &small);
    host_test::CSpawnedProgram program({"run", rig, "--frames", "3000", "--json", "--trace", trace_.string()});
    setrlimit(RLIMIT_FSIZE, &old);
    const auto ended = program.Wait();
    EXPECT_EQ(ended.code, 3);
    EXPECT_EQ(json::parse(ended.out).at("cameras").at(0).at("executed"), 3000);
    EXPECT_THAT(ended.talk,
                HasSubstr("trace.json: found File too large, wanted to go on with the trace; it ends here"));
    EXPECT_EQ(ended.talk.find("trace.json"), ended.talk.rfind("trace.json"));  // once
    EXPECT_GT(Events().size(), 100u);
}

}  // namespace
