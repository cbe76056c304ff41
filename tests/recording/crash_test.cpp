// What a crash or a bad disk leaves of a recording: cut at every byte, every byte flipped. Nothing crashes, nothing is
// invented, nothing is passed over in silence, and what was whole before the cut is read.
#include <gtest/gtest.h>

#include <functional>
#include <iostream>

#include "recording/recording_fixture.h"

namespace recording_test {
namespace {

struct TSeen
{
    std::size_t frames = 0;
    std::size_t told = 0;     ///< damages
    std::size_t refused = 0;  ///< as a whole
};

class Crash : public testing::Test
{
protected:
    /// Reads everything that can be read and compares it with what was written.
    TSeen Look(const std::string& path)
    {
        TSeen seen;
        try {
            const auto recording = rec::Open(path);
            seen.told = recording->Damage().size();
            for (std::size_t track = 0; track < recording->Tracks().size(); ++track)
                for (std::size_t i = 0; i < recording->Frames(track); ++i)
                    LookAt(*recording, track, i, seen);
        } catch (const std::runtime_error&) {
            seen.refused = 1;
        }
        return seen;
    }

    void LookAt(rec::CRecording& recording, std::size_t track, std::size_t i, TSeen& seen)
    {
        try {
            const dev::TFrame<> read = recording.Read(track, i);
            ASSERT_LT(read.counter1, frames_.size());
            const dev::TFrame<>& written = frames_[read.counter1].frame;
            EXPECT_TRUE(SamePixels(*read.image, *written.image));
            EXPECT_EQ(read.image->Grid(), written.image->Grid());
            EXPECT_EQ(read.time_stamp, written.time_stamp);
            ++seen.frames;
        } catch (const rec::damaged_frame&) {
            ++seen.told;
        }
    }

    /// Counts what was seen, which is wrong when it is fewer than all frames and nothing was told.
    void Add(const TSeen& seen, bool silent)
    {
        EXPECT_TRUE(seen.frames == frames_.size() || seen.told > 0 || seen.refused > 0 || silent);
        sum_.frames += seen.frames;
        sum_.told += seen.told;
        sum_.refused += seen.refused;
    }

    void Tell(const std::string& what, std::size_t tries)
    {
        std::cout << what << ": " << tries << ", frames read " << sum_.frames << ", damages told " << sum_.told
                  << ", refused as a whole " << sum_.refused << std::endl;
        sum_ = TSeen();
    }

    /// From the whole file down to nothing. `whole_frames` are those that lie wholly before a cut; `silent` is true
    /// where a shorter recording looks the same.
    void CutEverywhere(const std::string& what, const std::string& file, const std::string& archive,
                       const std::function<std::size_t(std::size_t)>& whole_frames,
                       const std::function<bool(std::size_t)>& silent)
    {
        const std::string whole = ReadFile(file);
        for (std::size_t size = whole.size(); size-- > 0;) {
            SCOPED_TRACE(what + " cut at " + std::to_string(size));
            boost::filesystem::resize_file(file, size);
            const TSeen seen = Look(archive);
            EXPECT_EQ(seen.frames, whole_frames(size));
            Add(seen, silent(size));
            if (HasFailure())
                return;
        }
        WriteFile(file, whole);
        Tell(what + " cuts", whole.size());
    }

    void FlipEverywhere(const std::string& what, const std::string& file, const std::string& archive)
    {
        const std::string whole = ReadFile(file);
        std::fstream out(file, std::ios::binary | std::ios::in | std::ios::out);
        const auto put = [&out](std::size_t at, int byte) {
            out.seekp(static_cast<std::streamoff>(at));
            out.put(static_cast<char>(byte)).flush();
        };
        for (std::size_t at = 0; at < whole.size(); ++at) {
            SCOPED_TRACE(what + " flipped at " + std::to_string(at));
            put(at, whole[at] ^ 1 << at % 8);
            const TSeen seen = Look(archive);
            Add(seen, false);
            // One frame at most is lost, but for those behind a wrong number of tracks.
            EXPECT_TRUE(at < 7 || seen.frames + 1 >= frames_.size());
            put(at, whole[at]);
            if (HasFailure())
                return;
        }
        Tell(what + " flips", whole.size());
    }

    TFolder folder_;
    const Frames frames_ = SomeFrames();
    TSeen sum_;
};

TEST_F(Crash, KtaCutAndFlipped)
{
    const std::string data = WriteKta(folder_.Path("frames.kta"), frames_);
    const std::string index = folder_.Path("frames.idx");
    const std::size_t blocks = 7 + 2 * sizeof(kta::Track);
    const auto never = [](std::size_t) { return false; };
    std::vector<std::size_t> ends;
    for (const TWritten& written : frames_)
        ends.push_back((ends.empty() ? 0 : ends.back()) + rec::Pack(written.frame.image, written.compression).size);
    ASSERT_EQ(Look(data).frames, frames_.size());

    CutEverywhere(
        "index", index, data, [&](std::size_t size) { return size < blocks ? 0 : (size - blocks) / 113; }, never);
    CutEverywhere(
        "data", data, data,
        [&](std::size_t size) {
            return static_cast<std::size_t>(std::upper_bound(ends.begin(), ends.end(), size) - ends.begin());
        },
        never);
    FlipEverywhere("index", index, data);
    FlipEverywhere("data", data, data);
}

TEST_F(Crash, TarCutAndFlipped)
{
    const std::string archive = WriteTar(folder_.Path("frames.tar"), frames_);
    std::vector<std::size_t> ends;  // of the data, and of the padding
    std::vector<std::size_t> members;
    for (const TWritten& written : frames_) {
        const std::size_t begin = members.empty() ? 0 : members.back();
        ends.push_back(begin + 512 + rec::MakePicture(written.frame, written.kind).bytes.size());
        members.push_back((ends.back() + 511) / 512 * 512);
    }
    ASSERT_EQ(members.back(), boost::filesystem::file_size(archive));
    ASSERT_EQ(Look(archive).frames, frames_.size());

    CutEverywhere(
        "tar", archive, archive,
        [&](std::size_t size) {
            return static_cast<std::size_t>(std::upper_bound(ends.begin(), ends.end(), size) - ends.begin());
        },
        [&](std::size_t size) { return size == 0 || std::count(members.begin(), members.end(), size) > 0; });
    FlipEverywhere("tar", archive, archive);
}

}  // namespace
}  // namespace recording_test
