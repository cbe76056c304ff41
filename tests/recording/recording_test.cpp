// Recordings read back: in both kinds of archive, packed again by others, and by a program in another language.
#include <gmock/gmock.h>

#include <cstdio>
#include <thread>

#include "recording/recording_fixture.h"

namespace recording_test {
namespace {

using testing::HasSubstr;

void ExpectAll(rec::CRecording& recording, const Frames& written)
{
    ASSERT_EQ(recording.Tracks().size(), 2U);
    std::size_t seen[2] = {0, 0};
    for (const TWritten& one : written) {
        const std::size_t track = recording.Find(one.track == 0 ? "left" : "right");
        const std::size_t i = seen[track]++;
        const rec::TBlock block = recording.Block(track, i);
        const dev::TFrame<> read = recording.Read(track, i);
        EXPECT_TRUE(recording.Check(track, i));
        EXPECT_TRUE(SamePixels(*read.image, *one.frame.image));
        EXPECT_EQ(read.image->Grid(), one.frame.image->Grid());
        EXPECT_EQ(read.time_stamp, one.frame.time_stamp);
        EXPECT_EQ(read.counter1, one.frame.counter1);
        EXPECT_EQ(block.time, read.time_stamp);
        EXPECT_EQ(block.sequence, read.counter1);
        EXPECT_THAT(read.text,
                    HasSubstr("#" + recording.Tracks()[track].name + ": byte " + std::to_string(block.offset)));
    }
    EXPECT_EQ(recording.Frames(0) + recording.Frames(1), written.size());
    EXPECT_TRUE(recording.Damage().empty()) << Text(recording.Damage()[0]);
}

std::string ErrorOfOpen(const std::string& path)
{
    try {
        rec::Open(path);
    } catch (const std::runtime_error& error) {
        return error.what();
    }
    return "opened";
}

TEST(Recording, GivesBackWhatWasWritten)
{
    TFolder folder;
    const Frames frames = SomeFrames();
    WriteTar(folder.Path("frames.tar"), frames);
    ExpectAll(*rec::Open(folder.path.string()), frames);
    WriteKta(folder.Path("frames.kta"), {});
    EXPECT_EQ(rec::Open(folder.path.string())->Frames(1), 0U);
    WriteKta(folder.Path("frames.kta"), frames);  // and an archive that was written anew is read anew
    for (const std::string& path : {folder.path.string(), folder.Path("frames.idx")}) {
        const auto recording = rec::Open(path);
        ExpectAll(*recording, frames);
        const rec::TTrack& track = recording->Tracks()[1];
        EXPECT_EQ(track.node + "," + track.source + "," + track.producer + "," + track.description,
                  "Undistort,images:*.jpg,orvo 0.1.0,in front");
        EXPECT_EQ(track.start, frames[0].frame.time_stamp);
        EXPECT_EQ(track.compression, rec::Compression::Zstd);
        EXPECT_EQ(recording->Block(0, 1).compression, rec::Compression::Zstd);
    }
}

TEST(Recording, CanBeReadOnSeveralThreadsAtOnce)
{
    TFolder folder;
    const Frames frames = SomeFrames();
    const std::string path = WriteKta(folder.Path("frames.kta"), frames);
    std::vector<std::thread> threads;
    for (int i = 0; i < 4; ++i)
        threads.emplace_back([&] { ExpectAll(*rec::Open(path), frames); });
    for (std::thread& thread : threads)
        thread.join();
}

TEST(Recording, PackedAgainByOthersIsTheSame)
{
    TFolder folder;
    const Frames frames = SomeFrames();
    WriteTar(folder.Path("ours.tar"), frames);
    const char* const pack_again[] = {
        "mkdir gnu && tar xf ours.tar -C gnu && tar cf theirs.tar -C gnu .",
        "mkdir bsd && bsdtar xf ours.tar -C bsd && bsdtar cf theirs.tar -C bsd right left",
        "mkdir py && " TEST_PYTHON
        " -c \"import tarfile as t; t.open('ours.tar').extractall('py');"
        " a = t.open('theirs.tar', 'w'); a.add('py', '.'); a.close()\""};
    for (const std::string command : pack_again) {
        SCOPED_TRACE(command);
        ASSERT_EQ(std::system(("cd " + folder.path.string() + " && " + command).c_str()), 0);
        ExpectAll(*rec::Open(folder.Path("theirs.tar")), frames);
    }
}

TEST(Recording, IsReadFromItsPageAlone)
{
    TFolder folder;
    const Frames frames = SomeFrames();
    std::string wanted;
    for (const TWritten& one : frames) {
        const rec::TPayload payload = rec::Pack(one.frame.image, one.compression);
        const rec::TPayload pixels = rec::Pack(one.frame.image, rec::Compression::None);
        const rec::TPayload& hashed = payload.compression == rec::Compression::Zstd ? pixels : payload;
        const bool timed = !one.frame.time_stamp.is_special();
        char digest[32];
        std::snprintf(digest, sizeof digest, "%016lx", rec::Checksum(hashed.data, hashed.size));
        wanted += std::string(one.track == 0 ? "left " : "right ") + std::to_string(one.frame.counter1) + " " +
                  (timed ? to_iso_extended_string(one.frame.time_stamp) : "untimed") + " " +
                  one.frame.image->Descriptor() + " " + rec::Name(payload.compression) + " " + digest + "\n";
    }
    const std::string command = TEST_PYTHON " " READ_FRAMES " " + WriteKta(folder.Path("frames.kta"), frames);
    ASSERT_EQ(std::system((command + " > " + folder.Path("out")).c_str()), 0);
    EXPECT_EQ(ReadFile(folder.Path("out")), wanted);
    std::string data = ReadFile(folder.Path("frames.kta"));
    data[40] ^= 1;
    WriteFile(folder.Path("frames.kta"), data);
    EXPECT_NE(std::system((command + " 2> " + folder.Path("out")).c_str()), 0);
}

TEST(Recording, ThatIsNoneIsToldApart)
{
    TFolder folder;
    const std::string kta = WriteKta(folder.Path("a.kta"), SomeFrames());
    WriteFile(folder.Path("b.kta"), ReadFile(kta));
    WriteFile(folder.Path("b.tar"), std::string(5000, 'x'));
    WriteFile(folder.Path("b.txt"), "");
    kta::Track foreign;
    std::memset(foreign.scalars1, 0, sizeof foreign.scalars1);
    std::memset(foreign.scalars2, 0, sizeof foreign.scalars2);
    WriteKta(folder.Path("foreign.kta"), {}, {foreign});
    kta::BlockHeader header;
    std::memset(header.rest, 0, sizeof header.rest);
    std::ofstream(folder.Path("foreign.idx"), std::ios::binary | std::ios::app)
        .write(reinterpret_cast<const char*>(&header), sizeof header);
    const std::string index = ReadFile(folder.Path("a.idx"));
    const auto write_index = [&](const std::string& name, std::size_t at, char byte) {
        std::string changed = index;
        changed[at] = byte;
        WriteFile(folder.Path(name + ".idx"), changed);
        WriteFile(folder.Path(name + ".kta"), "");
    };
    write_index("magic", 0, 'k');
    write_index("version", 4, 2);
    write_index("none", 6, 0);
    write_index("many", 6, 100);

    const std::pair<const char*, const char*> rows[] = {
        {"", "frames.kta: found No such file or directory, wanted"},
        {"nothing", "nothing: found no such file, wanted the folder of a recording"},
        {"nothing.tar", "nothing.tar: found No such file or directory"},
        {"b.kta", "b.idx: found No such file or directory"},
        {"b.tar", "b.tar: found no header of a member, wanted a TAR archive"},
        {"b.txt", "b.txt: found another kind of file, wanted"},
        {"foreign.kta", "foreign.kta: found an archive without the checksums of a recording, wanted"},
        {"magic.kta", "magic.idx: found another beginning, wanted"},
        {"version.kta", "version.idx: found version 2, wanted 1"},
        {"none.kta", "none.idx: found no tracks, wanted"},
        {"many.kta", "wanted a table of 100 tracks, up to byte 616107"}};
    for (const auto& row : rows)
        EXPECT_THAT(ErrorOfOpen(folder.Path(row.first)), HasSubstr(row.second));
    EXPECT_THAT(
        [&] { rec::Open(kta)->Find("middle"); },
        testing::ThrowsMessage<std::runtime_error>(HasSubstr("found no track \"middle\", wanted one of left, right")));
}

TEST(Recording, TrackThatCannotBeStoredIsRefused)
{
    rec::TTrack track;
    const auto expect_refusal = [&track](const char* message) {
        EXPECT_THAT([&track] { rec::MakeTrack(track); },
                    testing::ThrowsMessage<std::invalid_argument>(HasSubstr(message)));
    };
    expect_refusal("start of a track: found no time");
    track.start = MakeFrame(nullptr, 0, 0).time_stamp;
    track.name = std::string(1023, 'n');
    EXPECT_NO_THROW(rec::MakeTrack(track));
    track.description = std::string(1024, 'd');
    expect_refusal("description of a track: found 1024 bytes, wanted less");
    track.description = std::string(1, '\0');
    expect_refusal("found a NUL in it");
}

}  // namespace
}  // namespace recording_test
