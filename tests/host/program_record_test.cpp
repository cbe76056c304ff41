// orvo run --record as a whole: what the test driver delivered is what a reader finds, and nothing stops the cameras.
#include <gmock/gmock.h>
#include <poll.h>
#include <sys/inotify.h>
#include <sys/resource.h>
#include <unistd.h>
#include <csignal>
#include <nlohmann/json.hpp>

#include "host/rig_fixture.h"
#include "host/spawned_program.h"
#include "orvo_proc_cimage/image.h"
#include "rec/recording.h"

namespace {

using host_test::CSpawnedProgram;
using host_test::good_rig;
using host_test::Orvo;
using host_test::TEnded;
using host_test::With;
using nlohmann::json;
using testing::AllOf;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;

/// Files of this process, and of those that it starts, may not grow beyond a size.
class CFileSizeLimit
{
public:
    explicit CFileSizeLimit(rlim_t bytes)
    {
        getrlimit(RLIMIT_FSIZE, &before_);
        const rlimit limit = {bytes, before_.rlim_max};
        setrlimit(RLIMIT_FSIZE, &limit);
    }
    ~CFileSizeLimit() { setrlimit(RLIMIT_FSIZE, &before_); }

private:
    rlimit before_ = {};
};

class ProgramRecordTest : public host_test::RigFixture
{
protected:
    /// A rig of one camera, "cam".
    std::string Rig(const std::string& source, const std::string& format = "Mono8 8x6")
    {
        return Write("rig.ini", "[RIG]\n[cam]\nTYPE = CAMERA\nFB = " + format + "\nSOURCE = test:" + source + '\n');
    }

    std::vector<std::string> Arguments(const std::string& rig, const std::vector<std::string>& more = {}) const
    {
        std::vector<std::string> arguments{"run", rig, "--json", "--record", trip_};
        arguments.insert(arguments.end(), more.begin(), more.end());
        return arguments;
    }

    /// Waits until a file has a size.
    static void AwaitSize(const std::filesystem::path& file, std::uintmax_t size)
    {
        const int notify = inotify_init1(IN_CLOEXEC);
        ASSERT_GE(inotify_add_watch(notify, file.c_str(), IN_MODIFY), 0);
        pollfd ready = {notify, POLLIN, 0};
        char events[4096];
        while (std::filesystem::file_size(file) < size) {
            ASSERT_GT(poll(&ready, 1, 60000), 0) << file << " does not grow";
            ASSERT_GT(read(notify, events, sizeof events), 0);
        }
        close(notify);
    }

    /// Sequence numbers of a track's frames, each of which has the pixels that the test driver gave it.
    std::vector<std::uint64_t> Frames(const std::string& track) const
    {
        const auto recording = rec::Open(trip_);
        const std::size_t number = recording->Find(track);
        std::vector<std::uint64_t> sequences;
        for (std::size_t i = 0; i < recording->Frames(number); ++i) {
            const dev::TFrame<> frame = recording->Read(number, i);
            sequences.push_back(frame.counter1);
            const cimage::CImage& image = *frame.image;
            EXPECT_EQ(image.Format().name, std::string("Mono8"));
            for (unsigned int y = 0; y < image.Height(); ++y)
                for (unsigned int x = 0; x < image.Width(); ++x)
                    EXPECT_EQ(image.Data()[y * image.Stride() + x],
                              static_cast<std::uint8_t>(16 * y + x + frame.counter1));
        }
        return sequences;
    }

    static json Camera(const TEnded& ended, std::size_t number = 0)
    {
        return json::parse(ended.out).at("cameras").at(number);
    }

    const std::string trip_ = folder_ / "a" / "trip";
};

TEST_F(ProgramRecordTest, ReadsBackWhatItRecordedInEveryForm)
{
    const std::vector<std::uint64_t> all = {0, 1, 2, 3};
    const std::vector<std::uint64_t> half = {1, 3};
    const struct
    {
        std::string rig;
        std::vector<std::string> arguments;
        std::vector<std::uint64_t> left;
        int code;
    } rows[] = {
        {good_rig, {}, all, 0},
        {With(good_rig, "RECORD = a", "RECORD = b\nRECORD COMPRESSION = png"), {}, half, 0},
        {good_rig, {"--compress", "zstd", "--min-free", "1K"}, all, 0},
        {good_rig, {"--format", "tar"}, all, 0},
        {good_rig, {"--format", "tar", "--compress", "png"}, all, 0},
        // What throws behind the recorded node costs the run a frame, but not the recording.
        {With(good_rig, "TestPass b a fps_factor=0.5", "TestThrow b a every=2"), {}, all, 3},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(&row - rows);
        std::filesystem::remove_all(trip_);
        const TEnded ended = Orvo(Arguments(Write("rig.ini", row.rig), row.arguments));
        EXPECT_EQ(ended.code, row.code) << ended.talk;
        EXPECT_EQ(Frames("left"), row.left);
        EXPECT_THAT(Frames("right"), ElementsAre(0, 1, 2));
        EXPECT_THAT(rec::Open(trip_)->Damage(), IsEmpty());
        EXPECT_EQ(Read(trip_ + "/rig.ini"), row.rig);
        const json recording = Camera(ended).at("recording");
        EXPECT_EQ(recording.at("offered"), row.left.size());
        EXPECT_EQ(recording.at("recorded"), row.left.size());
        EXPECT_THAT(Read(trip_ + "/events.mef"), HasSubstr("; right: 3 recorded, 0 not\n"));
        EXPECT_EQ(Read(trip_ + "/events.mef").find(" error left: b: out of luck\n") != std::string::npos,
                  row.code == 3);
    }
}

TEST_F(ProgramRecordTest, TakesTheLookupTablesAlongAndTellsOfOneThatAnotherReplaced)
{
    for (const char* const folder : {"data", "deep"})
        std::filesystem::create_directory(folder_ / folder);
    Write("data/table.bin", "123");
    Write("data/same.bin", "abc");
    Write("deep/table.bin", "456");
    const auto text = [](const std::string& a, const std::string& b, const std::string& c) {
        return With(With(good_rig, "DATA DIR = .", "DATA DIR = $INAME/data"), "VENDOR = Acme",
                    "LUT A = " + a + "\nLUT B = " + b + "\nLUT C = " + c);
    };
    const auto rig = Write("rig.ini", text("$DATA_DIR/table.bin", "$INAME/deep/table.bin", "${DATA_DIR}/same.bin"));
    const TEnded ended = Orvo(Arguments(rig));
    EXPECT_EQ(ended.code, 0) << ended.talk;
    EXPECT_EQ(Read(trip_ + "/table.bin"), "456");
    EXPECT_EQ(Read(trip_ + "/same.bin"), "abc");
    EXPECT_EQ(Read(trip_ + "/rig.ini"), text("$INAME/table.bin", "$INAME/table.bin", "$INAME/same.bin"));
    const std::string fault = "left: LUT A: found another file's bytes in " + trip_ + "/table.bin, wanted those of " +
                              (folder_ / "data/table.bin").string();
    EXPECT_THAT(ended.talk, AllOf(HasSubstr(fault), Not(HasSubstr("LUT B")), Not(HasSubstr("LUT C"))));
    EXPECT_THAT(Read(trip_ + "/events.mef"), HasSubstr(" error " + fault + "\n"));
    // Nothing that is there before is replaced, nor is what the recorder writes.
    Write("data/frames.kta", "");
    for (const std::string file : {"table.bin", "frames.kta"}) {
        const auto own = Write("own.ini", With(good_rig, "VENDOR = Acme", "LUT A = $INAME/data/" + file));
        const TEnded refused = Orvo({"run", own, "--record", folder_ / "deep"});
        EXPECT_NE(refused.code, 0);
        EXPECT_THAT(refused.talk, AllOf(HasSubstr(file), HasSubstr("lookup table")));
    }
    EXPECT_EQ(Read(folder_ / "deep/table.bin"), "456");
}

TEST_F(ProgramRecordTest, RefusesWhatItCannotDoBeforeItRuns)
{
    const std::string rig = Rig("push 300");
    const TEnded first = Orvo(Arguments(rig));
    ASSERT_EQ(first.code, 0) << first.talk;  // a source that waits loses nothing
    EXPECT_EQ(Camera(first).at("recording").at("recorded"), 300);
    const std::string before = Read(trip_ + "/frames.kta") + Read(trip_ + "/events.mef");
    const struct
    {
        std::vector<std::string> arguments;
        int code;
        std::string talk;
    } rows[] = {
        {Arguments(rig), 1, "trip: found frames.kta, wanted a folder without a recording; nothing is overwritten"},
        {Arguments(rig, {"--format", "tar", "--compress", "zstd"}), 2, "found the compression zstd for cam"},
        {Arguments(rig, {"--min-free", "-1"}), 2, "wanted a number of bytes"},
        {{"run", rig, "--format", "kta"}, 2, "--record"},
        {{"run", rig, "--record", ""}, 2, "--record: found nothing, wanted a path"},
        {{"check", Write("x.ini", With(good_rig, "RECORD = a", "RECORD COMPRESSION = pmg"))}, 1, ""},
    };
    for (const auto& row : rows) {
        const TEnded ended = Orvo(row.arguments);
        EXPECT_EQ(ended.code, row.code) << ended.talk;
        EXPECT_THAT(ended.talk, HasSubstr(row.talk));
        EXPECT_THAT(ended.talk, testing::Not(HasSubstr("test source runs")));
    }
    EXPECT_EQ(Read(trip_ + "/frames.kta") + Read(trip_ + "/events.mef"), before);
}

TEST_F(ProgramRecordTest, RunsOnWithoutAFolderToWriteTo)
{
    Write("a", "a file");
    const TEnded ended = Orvo(Arguments(Rig("push 4")));
    EXPECT_EQ(ended.code, 3);
    EXPECT_THAT(ended.talk, HasSubstr("the recording ends here, the cameras run on: " + trip_ + ": Not a directory\n"));
    EXPECT_EQ(Camera(ended).at("executed"), 4);
    EXPECT_EQ(Camera(ended).at("recording").at("dropped"), (json{{"write failed", 4}}));
}

TEST_F(ProgramRecordTest, AFileThatMayNotGrowKeepsTheFramesThatItHas)
{
    // 16 KiB: the index of one camera has room for 90 blocks of 113 bytes, the data for four frames of 3600.
    const struct
    {
        std::string format, file;
        std::vector<std::string> arguments;
        std::size_t frames;
    } rows[] = {{"Mono8 8x6", "frames.idx", {}, 90},
                {"Mono8 60x60", "frames.kta", {}, 4},
                {"Mono8 60x60", "frames.tar", {"--format", "tar"}, 3}};
    for (const auto& row : rows) {
        SCOPED_TRACE(row.file);
        std::filesystem::remove_all(trip_);
        std::unique_ptr<CSpawnedProgram> program;
        {
            const CFileSizeLimit limit(16384);
            program = std::make_unique<CSpawnedProgram>(Arguments(Rig("endless", row.format), row.arguments));
        }
        program->AwaitTalk("the recording ends here, the cameras run on: " + trip_ + '/' + row.file +
                           ": File too large\n");
        program->Signal(SIGINT);
        const TEnded ended = program->Wait();
        EXPECT_EQ(ended.code, 3) << ended.talk;
        EXPECT_EQ(Camera(ended).at("recording").at("recorded"), row.frames);
        EXPECT_EQ(Frames("cam").size(), row.frames);
        EXPECT_THAT(rec::Open(trip_)->Damage(), IsEmpty());
    }
}

TEST_F(ProgramRecordTest, AFileThatVanishesIsTold)
{
    CSpawnedProgram program(Arguments(Rig("endless")));
    program.AwaitTalk("test source runs");
    std::filesystem::remove(trip_ + "/frames.idx");
    program.AwaitTalk("frames.idx: found no such file, wanted the file that is being written\n");
    program.Signal(SIGINT);
    EXPECT_EQ(program.Wait().code, 3);
    EXPECT_THAT(Read(trip_ + "/events.mef"), HasSubstr(" stop interrupted; cam: "));
}

TEST_F(ProgramRecordTest, KilledInMidRunLeavesWhatItWrote)
{
    CSpawnedProgram program(Arguments(Rig("endless")));
    program.AwaitTalk("test source runs");
    AwaitSize(trip_ + "/frames.idx", 7 + 6161 + 20 * 113);
    program.Signal(SIGKILL);
    EXPECT_EQ(program.Wait().code, -SIGKILL);
    EXPECT_GE(Frames("cam").size(), 20u);
    EXPECT_THAT(Read(trip_ + "/events.mef"), HasSubstr(" start 20"));
}

}  // namespace
