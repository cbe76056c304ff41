// Settings of live cameras: keys "VIDEO ...", lines that tune, and what is kept in the rig file; with the test driver's
// camera, whose exposure time can be set in manual mode alone and limits its frame rate.
#include <fcntl.h>
#include <gmock/gmock.h>
#include <unistd.h>
#include <csignal>
#include <future>
#include <nlohmann/json.hpp>

#include "host/rig_fixture.h"
#include "host/spawned_program.h"
#include "orvo_proc_cimage/image.h"
#include "rec/recording.h"
#include "system/input_lines.h"

namespace {

using host_test::CSpawnedProgram;
using host_test::Orvo;
using host_test::TEnded;
using nlohmann::json;
using testing::AllOf;
using testing::HasSubstr;
using testing::Not;

class VideoTest : public host_test::RigFixture
{
protected:
    /// A rig of one camera, "my cam"; its keys begin on line 7.
    std::string Rig(const std::string& source, const std::string& keys = {})
    {
        text_ = "[RIG]\n[my cam]\nTYPE = CAMERA\nFB = Mono8 8x6\nOPTICAL CENTER = 3, 2\nSOURCE = test:" + source +
                '\n' + keys;
        return Write("rig.ini", text_).string();
    }

    std::string text_;
    const std::string trip_ = folder_ / "trip";
    std::string Events() const { return Read(folder_ / "trip" / "events.mef"); }
};

TEST_F(VideoTest, KeysAreAppliedInAnOrderThatWorksAndEachRefusalIsTold)
{
    // The rate wants the shorter exposure, and that the manual mode.
    const std::string rig = Rig("camera 2",
                                "VIDEO Frame Rate.Value = 400\nVIDEO Exposure.Time = 2005\nVIDEO Exposure.Mode = Auto\n"
                                "VIDEO Exposure.Tmie = 1\nVIDEO Device.Temperature = 3\nVIDEO Device.Light = maybe\n"
                                "VIDEO Exposure.Mode2 = Auto\n");
    EXPECT_EQ(Orvo({"check", rig}).code, 0);
    const TEnded ended = Orvo({"run", rig, "--json", "--record", trip_});
    EXPECT_EQ(ended.code, 3) << ended.talk;
    const json camera = json::parse(ended.out).at("cameras").at(0);
    EXPECT_EQ(camera.at("interruptions"), (json{{"camera gone", 1}}));
    EXPECT_EQ(camera.at("counted"), (json{{"missing packets", 3}}));
    EXPECT_GT(camera.at("waited_ms").at("max"), 0.0);
    for (const std::string line :
         {"my cam: is open\n", "my cam: Exposure.Time: took 2000\n", "rig.ini:10: [my cam] VIDEO Exposure.Tmie: found ",
          "did you mean \"Exposure.Time\"?\n", "rig.ini:11: [my cam] VIDEO Device.Temperature: found \"3\", wanted no ",
          "rig.ini:12: [my cam] VIDEO Device.Light: found \"maybe\", wanted TRUE or FALSE\n", "rig.ini:13: "})
        EXPECT_THAT(ended.talk, HasSubstr(line));
    EXPECT_THAT(ended.talk, AllOf(Not(HasSubstr("rig.ini:7: ")), Not(HasSubstr("rig.ini:8: "))));
    for (const std::string event :
         {" camera my cam: is open\n", "VIDEO Device.Light: found \"maybe\"", " video my cam Exposure.Time = 2000\n",
          " video my cam Exposure.Mode = Auto\n", " video my cam Frame Rate.Value = 400\n",
          " video my cam Device.Temperature = 45\n", " drop my cam: interrupted: camera gone 1\n"})
        EXPECT_THAT(Events(), HasSubstr(event));
    // What stands in for the camera has none of its settings.
    EXPECT_THAT(Orvo({"replay", trip_, "--max"}).talk, Not(HasSubstr("VIDEO")));
    EXPECT_THAT(Orvo({"check", Rig("camera 2", "VIDEO Light = 1\n")}).out,
                HasSubstr("rig.ini:7: [my cam] VIDEO Light"));
}

TEST_F(VideoTest, SavingRewritesWhatChangedAndNoOtherByte)
{
    const std::string before = "; mine\r\nVIDEO Device.Light = TRUE\r\n\r\nVIDEO Frame Rate.Value = 3e1 \n; end";
    const std::string rig = Rig("camera 4", before);
    // The exposure time is governed by the mode, 30 is 30, and the camera's light is off until the key is applied.
    const std::string saved = text_.substr(0, text_.find("TRUE")) + "FALSE" + text_.substr(text_.find("TRUE") + 4);
    const std::string added = "VIDEO Exposure.Mode = Auto\n; end";
    TEnded ended = Orvo({"save", rig, "--json"});
    EXPECT_EQ(ended.code, 0) << ended.talk;
    EXPECT_EQ(Read(rig), saved.substr(0, saved.find("; end")) + added);
    const json result = json::parse(ended.out);
    EXPECT_EQ(result.at("unchanged"), 1);
    EXPECT_EQ(result.at("changes").at(1),
              (json{{"camera", "my cam"}, {"key", "VIDEO Device.Light"}, {"before", "TRUE"}, {"after", "FALSE"}}));

    const auto time = std::filesystem::last_write_time(rig);
    ended = Orvo({"save", rig});
    EXPECT_THAT(ended.out, HasSubstr("nothing changed, 3 settings"));
    EXPECT_EQ(std::filesystem::last_write_time(rig), time);
    EXPECT_EQ(json::parse(Orvo({"save", rig, "--cameras", "mycam", "--json"}).out).at("faults").size(), 1u);
}

TEST_F(VideoTest, LinesTuneARunningCameraAndSaveKeepsEditsOfOthers)
{
    const std::string rig = Rig("camera", "VIDEO Exposure.Mode = Manual\n");
    CSpawnedProgram program({"run", rig, "--tune", "--save", "--json", "--record", trip_});
    const struct
    {
        const char *line, *answer;
    } rows[] = {
        {"my cam Exposure.Time = 2000\n", "ok: my cam Exposure.Time = 2000\n"},
        {"my cam Exposure.Time = -1\n# nothing\n",
         "error: my cam Exposure.Time = -1: found something else, wanted 10 "},
        {"my cam Exposure.Time = nan\r\n", "= nan: found \"nan\", wanted a number from 10 to 100000 us\n"},
        {"my cam Exposure.Mode = Autp\n", "wanted one of Manual, Auto; did you mean \"Auto\"?\n"},
        {"your cam\n", "error: your cam: found no camera, wanted "},
        {"my cam\n", "\n  Exposure.Time = 2000 us (10 to 100000, step 10)\n"},
        {"my cam Exposure\n", "ok: my cam Exposure\n  Exposure.Mode = "},
        {"my cam ROI = 3 3\n", "error: my cam ROI = 3 3: found \"3 3\", wanted a region within the 8x6 pixels"},
        {"my cam ROI = 4 2 7 5\n", "ok: my cam ROI = 4 2 7 5\n"},
    };
    for (const auto& row : rows) {
        program.Type(row.line);
        program.AwaitTalk(row.answer);
    }
    Write("rig.ini", text_ + "DESCRIPTION = an edit\n");
    program.Type("save\n");
    program.AwaitTalk("[my cam] VIDEO Exposure.Time: nothing -> 2000\n");
    program.Type("my cam Exposure.Time = 50");  // its end is that of the input
    program.Signal(SIGINT);
    const TEnded ended = program.Wait();
    EXPECT_THAT(Read(rig), AllOf(HasSubstr("DESCRIPTION = an edit\n"), HasSubstr("VIDEO Exposure.Time = 2000\n")));
    EXPECT_THAT(ended.talk, HasSubstr("nothing changed, 4 settings"));
    const json camera = json::parse(ended.out).at("cameras").at(0);
    EXPECT_EQ(camera.at("dropped").count("wrong format"), 0u) << ended.out;
    EXPECT_THAT(Events(),
                AllOf(HasSubstr(" video my cam Exposure.Time = 2000\n"), HasSubstr(" video my cam ROI = 4 2 7 5\n")));
}

TEST_F(VideoTest, TheHostCutsTheRegionOfASourceThatHasNoneBetweenTwoFrames)
{
    CSpawnedProgram program({"run", Rig("endless"), "--tune", "--json", "--record", trip_});
    program.Type("my cam ROI = 2 1 5 4\n");
    program.AwaitTalk("ok: my cam ROI = 2 1 5 4\n");
    program.Type("my cam Exposure.Time = 1\n");
    program.AwaitTalk("found a source without settings, wanted one that can be adjusted\n");
    program.Signal(SIGINT);
    EXPECT_EQ(program.Wait().code, 0);
    const auto recording = rec::Open(trip_);
    const dev::TFrame<> frame = recording->Read(0, recording->Frames(0) - 1);
    EXPECT_EQ(frame.image->Descriptor(), "Mono8 4x4");
    EXPECT_EQ(frame.image->Data()[0], static_cast<std::uint8_t>(16 * 1 + 2 + frame.counter1));
}

TEST_F(VideoTest, InputLinesComeFromFilesPipesAndNothing)
{
    const auto file = Write("lines", "one\n\ntwo");
    int pipe_ends[2];
    ASSERT_EQ(pipe(pipe_ends), 0);
    ASSERT_EQ(write(pipe_ends[1], "one\n\ntwo", 8), 8);
    const int flags = fcntl(pipe_ends[0], F_GETFL);
    const int closed = dup(0);
    close(closed);
    const std::vector<std::string> all = {"one", "", "two"};
    const std::vector<std::string> whole = {"one", ""};  // of a pipe that stays open, the last line may still grow
    const std::pair<int, std::vector<std::string>> rows[] = {
        {open(file.c_str(), O_RDONLY), all}, {pipe_ends[0], whole}, {closed, {}}};
    for (const auto& row : rows) {
        const std::vector<std::string>& wanted = row.second;
        std::vector<std::string> lines;
        std::promise<void> done;
        {
            const host::CInputLines reader(row.first, [&](const std::string& line) {
                lines.push_back(line);
                if (lines.size() == wanted.size())
                    done.set_value();
            });
            if (!wanted.empty())
                done.get_future().wait();
        }
        EXPECT_EQ(lines, wanted);
    }
    EXPECT_EQ(fcntl(pipe_ends[0], F_GETFL), flags);
    for (const int each : {rows[0].first, pipe_ends[0], pipe_ends[1]})
        close(each);
}

TEST_F(VideoTest, ARunThatDoesNotBeginTellsItsFaultsAsJson)
{
    const TEnded ended = Orvo({"run", Rig("closed"), "--json"});
    EXPECT_EQ(ended.code, 1);
    EXPECT_THAT(json::parse(ended.out).at("faults").at(0).at("found"), HasSubstr("a closed door"));
    EXPECT_EQ(json::parse(Orvo({"replay", Rig("closed"), "--json"}).out).at("faults").size(), 1u);
    EXPECT_EQ(json::parse(Orvo({"run", Rig("push"), "--cameras", "x", "--json"}).out).at("faults").size(), 1u);
}

}  // namespace
