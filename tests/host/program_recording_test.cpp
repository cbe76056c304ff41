// What the program does with a recording: info, verify, replay and export, on one that it has made itself.
#include <gmock/gmock.h>
#include <sys/resource.h>
#include <boost/make_shared.hpp>
#include <cstdlib>
#include <fstream>
#include <functional>
#include <nlohmann/json.hpp>

#include "host/rig_fixture.h"
#include "host/spawned_program.h"
#include "orvo_proc_cimage/image.h"
#include "record/frame_writable.h"
#include "record/picture_writer.h"
#include "system/progress.h"
#include "system/quantities.h"

namespace {

namespace fs = std::filesystem;
using host_test::good_rig;
using host_test::Orvo;
using host_test::TEnded;
using host_test::With;
using nlohmann::json;
using testing::AllOf;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;

class ProgramRecordingTest : public host_test::RigFixture
{
protected:
    /// Two cameras with 4 and 3 frames of 48 bytes, recorded without compression.
    std::string Record(const std::string& rig = good_rig)
    {
        const std::string folder = Path("a trip to $HOME");
        const TEnded ended = Orvo({"run", Write("rig.ini", rig).string(), "--record", folder});
        EXPECT_EQ(ended.code, 0) << ended.talk;
        return folder;
    }

    std::string Path(const std::string& name) const { return (folder_ / name).string(); }

    static void Flip(const std::string& file, std::uintmax_t offset)
    {
        std::fstream stream(file, std::ios::binary | std::ios::in | std::ios::out);
        stream.seekg(static_cast<std::streamoff>(offset));
        const int byte = stream.get();
        stream.seekp(static_cast<std::streamoff>(offset));
        stream.put(static_cast<char>(byte ^ 0x10));
    }

    static void Cut(const std::string& file, std::uintmax_t bytes)
    {
        fs::resize_file(file, fs::file_size(file) - bytes);
    }

    /// Runs the command, expects the exit code, and reads what it wrote.
    json Result(std::vector<std::string> arguments, int code)
    {
        arguments.push_back("--json");
        ended_ = Orvo(arguments);
        EXPECT_EQ(ended_.code, code) << testing::PrintToString(arguments) << ended_.talk;
        return json::parse(ended_.out, nullptr, false);
    }

    std::string Digests(std::vector<std::string> arguments)
    {
        arguments.insert(arguments.begin(), "replay");
        arguments.insert(arguments.end(), {"--digest", "--max"});
        ended_ = Orvo(arguments);
        EXPECT_EQ(ended_.code, 0) << ended_.talk;
        return ended_.out;
    }

    TEnded ended_;
};

TEST_F(ProgramRecordingTest, InfoTellsWhatARecordingHolds)
{
    const std::string trip = Record();
    const json info = Result({"info", trip}, 0);
    const json& left = info.at("tracks").at(0);
    EXPECT_EQ((json{left.at("camera"), left.at("node"), left.at("frames"), left.at("formats"), left.at("raw_bytes"),
                    left.at("stored_bytes"), left.at("last_sequence"), left.at("gaps").at("missing")}),
              (json{"left", "a", 4, {"Mono8 8x6"}, 192, 192, 3, 0}));
    EXPECT_EQ(info.at("events").at("counts").at("start"), 1);
    EXPECT_EQ(info.at("damage"), json::array());
    for (const char* const file : {"", "/frames.kta", "/frames.idx"})
        EXPECT_THAT(Orvo({"info", trip + file}).out,
                    AllOf(HasSubstr("/frames.kta: 2 cameras, 7 frames"), HasSubstr("\nright: 3 frames\n")))
            << file;
    EXPECT_THAT(Orvo({"info", trip + "/events.mef"}).out, testing::StartsWith(trip + "/events.mef: "));

    // Frames that are not there, and any TAR archive.
    const std::string lossy = With(good_rig, "TestPass a Source", "TestThrow a Source every=2");
    fs::remove_all(trip);
    Orvo({"run", Write("rig.ini", lossy).string(), "--record", trip, "--format", "tar"});
    const json gaps = Result({"info", trip}, 0).at("tracks").at(0).at("gaps");
    EXPECT_EQ((json{gaps.at("usual_step"), gaps.at("missing")}), (json{2, 0}));
    Write("notes.txt", "hello");
    ASSERT_EQ(std::system(("cd " + folder_.string() + " && tar -cf any.tar notes.txt").c_str()), 0);
    EXPECT_EQ(Result({"info", Path("any.tar")}, 0).at("other_members"), (json{{{"name", "notes.txt"}, {"bytes", 5}}}));
}

TEST_F(ProgramRecordingTest, VerifyNamesEachDamageAndJudges)
{
    const std::string trip = Record();
    const std::string copy = Path("copy");
    const struct
    {
        const char* name;
        std::function<void()> damage;
        std::string what;  ///< below "copy"
        int code;
        std::string text;
    } rows[] = {
        {"whole", [] {}, "", 0, "copy: 7 frames checked, 0 damaged, "},
        {"a pixel", [&] { Flip(copy + "/frames.kta", 50); }, "", 3, "7 frames checked, 1 damaged"},
        {"the last header", [&] { Cut(copy + "/frames.idx", 10); }, "", 3, "frames.idx"},
        {"an event", [&] { Flip(copy + "/events.mef", 15); }, "", 3, "events.mef: byte 14: "},
        {"the last event's end", [&] { Cut(copy + "/events.mef", 1); }, "", 3, "wanted a whole line"},
        {"no index", [&] { fs::remove(copy + "/frames.idx"); }, "", 3, "1 file unreadable"},
        {"no index, frames alone", [&] { fs::remove(copy + "/frames.idx"); }, "/frames.kta", 1, "1 file unreadable"},
        {"an empty folder", [&] { fs::remove_all(copy), fs::create_directory(copy); }, "", 1, "1 file unreadable"},
        {"something else", [] {}, "/rig.ini", 1, "1 file unreadable"},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        fs::remove_all(copy);
        fs::copy(trip, copy);
        row.damage();
        const TEnded ended = Orvo({"verify", copy + row.what});
        EXPECT_EQ(ended.code, row.code) << ended.talk;
        EXPECT_THAT(ended.out, HasSubstr(row.text));
        EXPECT_EQ(Result({"verify", copy + row.what}, row.code).at("verdict"), row.code == 0   ? "clean"
                                                                               : row.code == 1 ? "unreadable"
                                                                                               : "damaged");
    }
}

TEST_F(ProgramRecordingTest, ReplayIsExactAndFollowsTheTree)
{
    // Neither the sources of the rig nor its data need be there any more.
    fs::create_directory(folder_ / "data");
    const std::string rig =
        With(With(good_rig, "DATA DIR = .", "DATA DIR = data"), "test:push 3", "test:push 3\nLOOP = 7\nTEST KEY = on");
    const std::string trip = Record(With(rig, "LOOP = 7\n", ""));
    fs::remove(folder_ / "data");
    const std::string digests = Digests({trip});
    EXPECT_EQ(std::count(digests.begin(), digests.end(), '\n'), 2 + 3);  // every second of left
    EXPECT_THAT(digests, AllOf(testing::StartsWith("left 1 b "), HasSubstr("\nright 0 Source 226f3d77625e12ac\n")));
    EXPECT_EQ(Digests({trip}), digests);
    EXPECT_THAT(ended_.talk,
                AllOf(HasSubstr("DATA DIR"), HasSubstr("left: 4 frames"), HasSubstr("what its node \"a\" made")));
    EXPECT_EQ(Digests({trip, "--cameras", "right"}), digests.substr(digests.find("right")));

    // Another tree, and a camera that was not recorded.
    const std::string other =
        Write("other.ini", With(With(rig, "TestPass b a", "TestPass b Source"), "[body]",
                                "[rear]\nTYPE = CAMERA\nFB = Mono8 8x6\nSOURCE = test:nothing\n[body]"))
            .string();
    const std::string same = Digests({trip, other});
    EXPECT_EQ(same, digests);
    EXPECT_THAT(ended_.talk, HasSubstr("rear: has no track in the recording and does not run"));
    const std::string changed =
        Digests({trip, Write("other.ini", With(rig, "ROI = 0 0 7 5", "ROI = 0 0 7 4")).string()});
    EXPECT_NE(changed, digests);
    const json report = Result({"replay", trip, "--digest", "--max", "--frames", "2"}, 0);
    EXPECT_EQ(report.at("cameras").at(0).at("digests").size(), 1u);
    EXPECT_EQ(report.at("cameras").at(1).at("frames"), 2);
}

TEST_F(ProgramRecordingTest, ExportKeepsEveryFrameThroughEveryForm)
{
    const std::string trip = Record();
    const std::string digests = Digests({trip});
    const std::string tar = Path("as tar");
    EXPECT_THAT(Orvo({"export", trip, "--to", "tar", "--output", tar}).out, HasSubstr(": 7 frames in, 7 out"));
    const std::string kta = Path("again");
    EXPECT_EQ(Orvo({"export", tar, "--to", "kta", "--output", kta, "--compress", "zstd"}).code, 0);
    EXPECT_EQ(Digests({tar}), digests);
    EXPECT_EQ(Digests({kta}), digests);
    EXPECT_EQ(Read(kta + "/events.mef"), Read(trip + "/events.mef"));
    fs::create_directory(Path("pictures"));
    const json done = Result({"export", kta, "--to", "images", "--output", Path("pictures"), "--cameras", "right"}, 0);
    EXPECT_EQ(done.at("cameras"), (json{{{"camera", "right"}, {"frames_in", 3}, {"frames_out", 3}}}));
    EXPECT_EQ(std::distance(fs::directory_iterator(Path("pictures/right")), {}), 3);

    // Archives alone, which take no rig with them.
    const std::string alone = Path("alone.kta");
    EXPECT_EQ(Orvo({"export", kta + "/frames.kta", "--to", "kta", "--output", alone}).code, 0);
    EXPECT_EQ(Digests({alone, Path("rig.ini")}), digests);
    EXPECT_EQ(Orvo({"export", kta, "--to", "tar", "--output", Path("alone.tar")}).code, 0);  // beside alone.idx
    EXPECT_EQ(Orvo({"replay", alone}).code, 2);

    // What was damaged is left out; whatever fails leaves nothing.
    Flip(trip + "/frames.kta", 50);
    ended_ = Orvo({"export", trip, "--to", "tar", "--output", Path("rest.tar")});
    EXPECT_EQ(ended_.code, 3);
    EXPECT_THAT(ended_.out, AllOf(HasSubstr("frames.kta"), HasSubstr(": 7 frames in, 6 out")));
    const auto before = std::distance(fs::directory_iterator(folder_), {});
    const struct
    {
        std::vector<std::string> options;
        int code;
        std::string talk;
    } rows[] = {
        {{"--to", "kta", "--output", tar}, 1, "found a folder with files, wanted a path that is free"},
        {{"--to", "kta", "--output", alone}, 1, "found a file, wanted a path that is free"},
        {{"--to", "images", "--output", Path("x"), "--compress", "zstd"}, 2, "found zstd, wanted none or png"},
        {{"--to", "images", "--output", Path("x"), "--cameras", "rihgt"}, 2, "did you mean \"right\"?"},
        {{"--to", "paper", "--output", Path("x")}, 2, "paper"},
        {{"--to", "tar", "--output", "/proc/x"}, 1, "/proc/x"},
    };
    for (const auto& row : rows) {
        std::vector<std::string> arguments{"export", trip};
        arguments.insert(arguments.end(), row.options.begin(), row.options.end());
        ended_ = Orvo(arguments);
        EXPECT_EQ(ended_.code, row.code) << testing::PrintToString(arguments) << ended_.talk;
        EXPECT_THAT(ended_.talk, HasSubstr(row.talk));
        EXPECT_THAT(ended_.out, IsEmpty());
    }
    rlimit limit{};
    getrlimit(RLIMIT_FSIZE, &limit);
    const rlimit small{2000, limit.rlim_max};
    setrlimit(RLIMIT_FSIZE, &small);
    ended_ = Orvo({"export", trip, "--to", "tar", "--output", Path("x")});
    setrlimit(RLIMIT_FSIZE, &limit);
    EXPECT_EQ(ended_.code, 1);
    EXPECT_THAT(ended_.talk, HasSubstr("frames.tar: File too large"));
    EXPECT_EQ(std::distance(fs::directory_iterator(folder_), {}), before);
}

TEST_F(ProgramRecordingTest, PicturesStayInTheirFolderAndReplaceNone)
{
    dev::TFrame<> frame;
    frame.image = cimage::Build("Mono8 2x2");
    host::CPictureWriter writer(folder_ / "pictures");
    const auto write = [&](const std::string& camera) {
        writer.Write(boost::make_shared<host::CFrameWritable>(0, camera, frame, rec::PictureKind::Pnm), 0);
    };
    write("left");
    for (const std::string camera : {"left", "../left", "a/../../left", "/left"})
        EXPECT_THROW(write(camera), std::runtime_error) << camera;
    EXPECT_EQ(std::distance(fs::recursive_directory_iterator(folder_), {}), 3);
}

TEST(QuantitiesTest, ReadWell)
{
    const std::pair<std::string, std::string> rows[] = {
        {host::BytesText(999), "999 bytes"},
        {host::BytesText(1000), "1.00 kB"},
        {host::BytesText(99949), "99.9 kB"},
        {host::BytesText(999499), "999 kB"},
        {host::BytesText(999500), "1.00 MB"},
        {host::BytesText(UINT64_MAX), "18.4 EB"},
        {host::DurationText(0.4), "0.40 s"},
        {host::DurationText(59.96), "1 min 00 s"},
        {host::DurationText(3599.6), "1 h 00 min"},
        {host::ProgressText("x", 0, 0, 1.0), "x  100 %, 0 bytes of 0 bytes"},
        {host::ProgressText("x", 1000, 4000, 2.0), "x  25 %, 1.00 kB of 4.00 kB, 500 bytes/s, 6 s left"},
    };
    for (const auto& [text, wanted] : rows)
        EXPECT_EQ(text, wanted);
}

}  // namespace
