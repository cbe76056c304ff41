// A recording as a camera.
#include <gmock/gmock.h>

#include <future>
#include <thread>

#include "drivers/driver_fixture.h"
#include "recording/recording_fixture.h"

namespace drivers_test {
namespace {

using recording_test::Frames;
using recording_test::MakeFrame;
using recording_test::MakeImage;
using testing::ElementsAre;
using testing::HasSubstr;

constexpr long hour = 3600L * 1000 * 1000;  // microseconds

class Replay : public testing::Test
{
protected:
    /// Of the camera "right" four frames, an hour and more apart, numbered 5, 7, 8 and 9; "left" began a millisecond
    /// before.
    Frames SlowFrames() const
    {
        Frames frames = {{0, MakeFrame(MakeImage("Mono8 4x4"), 0, 0), rec::Compression::None, {}}};
        const char* const images[] = {"RGB8 9x9", "RGB8 4x3", "RGB8 9x9", "RGB8 9x9"};
        for (unsigned int i = 0; i < 4; ++i)
            frames.push_back(
                {1, MakeFrame(MakeImage(images[i]), i == 0 ? 5 : 6 + i, 1000 + i * hour), rec::Compression::None, {}});
        return frames;
    }

    std::unique_ptr<capture::CSource> Open(const std::string& location, const Keys& keys)
    {
        return driver_.Open({location, folder_.Path(""), Settings(keys), "RGB8 9x9"});
    }

    std::vector<std::uint64_t> Numbers() const
    {
        std::vector<std::uint64_t> numbers;
        for (const auto& frame : sink_.frames)
            numbers.push_back(frame.counter1);
        return numbers;
    }

    CFolder folder_;
    CFakeSink sink_;
    const capture::CDriver& driver_ = LoadDriver("replay");
};

TEST_F(Replay, GivesWhatWasRecordedAndGoesOnCountingWhenItBeginsAgain)
{
    recording_test::WriteKta(folder_.Path("a#1.kta"), SlowFrames());
    Open("a#1.kta#right", {{"REPLAY RATE", "MAX"}, {"LOOP", "2"}})->Run(sink_);
    EXPECT_THAT(Numbers(), ElementsAre(5U, 7U, 8U, 9U, 10U, 12U, 13U, 14U));
    for (std::size_t i = 0; i < sink_.frames.size(); ++i) {
        const dev::TFrame<> written = SlowFrames()[1 + i % 4].frame;
        EXPECT_TRUE(recording_test::SamePixels(*sink_.frames[i].image, *written.image));
        EXPECT_EQ(sink_.frames[i].time_stamp, written.time_stamp);
    }
    EXPECT_EQ(sink_.offered, 0U);
}

TEST_F(Replay, CountsDamagedFramesAndGoesOn)
{
    const std::string archive = recording_test::WriteKta(folder_.Path("frames.kta"), SlowFrames());
    std::string data = recording_test::ReadFile(archive);
    data[16 + 9 * 9 * 3] ^= 1;
    folder_.Write("frames.kta", data);
    Open("#right", {{"REPLAY RATE", "MAX"}})->Run(sink_);  // a folder is a recording, too
    EXPECT_THAT(Numbers(), ElementsAre(5U, 8U, 9U));
    EXPECT_EQ(sink_.lost["damaged"], 1U);
}

TEST_F(Replay, StopsWhileItWaitsForTheNextFrame)
{
    recording_test::WriteTar(folder_.Path("frames.tar"), SlowFrames());
    const auto source = Open("frames.tar#right", {{"REPLAY RATE", "0.5"}});
    std::promise<void> first;
    sink_.on_frame = [&first](const dev::TFrame<>&) { return first.set_value(), true; };
    std::thread runner([&] { source->Run(sink_); });
    first.get_future().wait();
    source->Stop();
    runner.join();
    EXPECT_THAT(Numbers(), ElementsAre(5U));
}

TEST_F(Replay, ChecksWhatTheIndexTells)
{
    recording_test::WriteKta(folder_.Path("frames.kta"), SlowFrames());
    struct
    {
        const char* location;
        const char* format;
        Keys keys;
        const char* fault;
    } const rows[] = {
        {"frames.kta#right", "RGB8 9x9", {{"REPLAY RATE", "0.5"}, {"LOOP", "FALSE"}}, ""},
        {"frames.kta#right",
         "RGB8 9x9",
         {{"REPLAY RATE", "0"}},
         "REPLAY RATE: \"0\" / a number from 0.001 to 1000, or MAX"},
        {"frames.kta#right", "RGB8 9x9", {{"LOOP", "0"}}, "LOOP: \"0\" / TRUE, FALSE or"},
        {"frames.kta", "RGB8 9x9", {}, "frames.kta: 2 tracks / one of them named: replay:FILE#left"},
        {"frames.kta#middle", "RGB8 9x9", {}, "frames.kta: no track \"middle\" / one of left, right"},
        {"frames.kta#right", "RGB8 9x8", {}, "frames.kta: RGB8 9x9 in track right / RGB8 9x8 (FB) or a region of it"},
        {"frames.kta#right", "BGR8 9x9", {}, "frames.kta: RGB8 9x9 in track right / BGR8 9x9 (FB) or"},
        {"none.kta#right", "RGB8 9x9", {}, "none.kta: No such file or directory / "}};
    for (const auto& row : rows) {
        SCOPED_TRACE(row.fault);
        std::string faults;
        for (const auto& fault : driver_.Check({row.location, folder_.Path(""), Settings(row.keys), row.format}))
            faults += fault.key + ": " + fault.found + " / " + fault.wanted;
        EXPECT_THAT(faults, HasSubstr(row.fault));
        EXPECT_EQ(faults.empty(), row.fault[0] == '\0');
    }
    recording_test::WriteTar(folder_.Path("frames.tar"), SlowFrames());
    EXPECT_THAT(
        [&] {
            driver_.Open({"frames.tar#right", folder_.Path(""), Settings(), "RGB8 8x8"})->Run(sink_);
        },
        testing::ThrowsMessage<std::runtime_error>(HasSubstr("found RGB8 9x9, wanted RGB8 8x8 (FB) or")));
}

}  // namespace
}  // namespace drivers_test
