// What every capture driver keeps to, whatever it captures from.
#include <gmock/gmock.h>

#include <future>
#include <thread>

#include "drivers/driver_fixture.h"
#include "recording/recording_fixture.h"

namespace drivers_test {
namespace {

using testing::AllOf;
using testing::HasSubstr;

/// A driver, and how to get sources out of it.
struct TDriverCase
{
    const char* driver;
    const char* format;
    /// A location in the folder with so many frames in it, whose pixels hold their number.
    std::function<std::string(const CFolder& folder, unsigned int frames)> make_location;
    /// Keys that make the source begin again for ever.
    Keys endless;
    /// A location that cannot be opened.
    std::string bad_location;
};

/// Test lists show it, and must show the same in every run.
void PrintTo(const TDriverCase& row, std::ostream* stream)
{
    *stream << row.driver;
}

std::string MakePictures(const CFolder& folder, unsigned int frames)
{
    for (unsigned int i = 0; i < frames; ++i)
        folder.WritePgm("picture" + std::to_string(i) + ".pgm", 6, 4, static_cast<char>(i));
    return folder.Path("picture*.pgm");
}

/// A millisecond from frame to frame.
std::string MakeRecording(const CFolder& folder, unsigned int frames)
{
    recording_test::Frames written;
    for (unsigned int i = 0; i < frames; ++i) {
        const auto image = cimage::Build("Mono8 6x4");
        std::memset(image->Data(), static_cast<int>(i), 24);
        written.push_back({1, recording_test::MakeFrame(image, i, 1000L * i), rec::Compression::Zstd, {}});
    }
    return recording_test::WriteKta(folder.Path("frames.kta"), written) + "#right";
}

const TDriverCase all_drivers[] = {
    {"images", "Mono8 6x4", MakePictures, {{"LOOP", "TRUE"}}, "/nowhere/at/all/*.pgm"},
    {"replay", "Mono8 6x4", MakeRecording, {{"LOOP", "TRUE"}}, "/nowhere/at/all.kta#left"}};

class SourceContract : public testing::TestWithParam<TDriverCase>
{
protected:
    std::unique_ptr<capture::CSource> Open(unsigned int frames, const Keys& keys)
    {
        return driver_.Open({GetParam().make_location(folder_, frames), "", Settings(keys), GetParam().format});
    }

    CFolder folder_;
    CFakeSink sink_;
    const capture::CDriver& driver_ = LoadDriver(GetParam().driver);
};

TEST_P(SourceContract, DeliversEveryFrameInOrderInTheWantedFormat)
{
    Open(5, {})->Run(sink_);
    ASSERT_EQ(sink_.frames.size(), 5U);
    for (std::size_t i = 0; i < sink_.frames.size(); ++i) {
        EXPECT_EQ(sink_.frames[i].counter1, i);
        ASSERT_TRUE(sink_.frames[i].image);
        EXPECT_EQ(sink_.frames[i].image->Descriptor(), GetParam().format);
        EXPECT_EQ(*sink_.frames[i].image->Data(), i);  // and no later frame wrote over it
        EXPECT_FALSE(sink_.frames[i].time_stamp.is_not_a_date_time());
        EXPECT_FALSE(sink_.frames[i].text.empty());
    }
}

TEST_P(SourceContract, StopBeforeRunMakesItReturnAtOnce)
{
    const auto source = Open(3, GetParam().endless);
    source->Stop();
    source->Run(sink_);
    EXPECT_LE(sink_.frames.size(), 1U);
    source->Stop();
}

TEST_P(SourceContract, StopFromAnotherThreadReturnsWhileTheHostIsFullAndEndsAnEndlessRun)
{
    const auto source = Open(3, GetParam().endless);
    std::promise<void> full;
    std::promise<void> closed;
    sink_.on_frame = [&](const dev::TFrame<>& frame) {
        if (frame.counter1 == 7) {
            full.set_value();
            closed.get_future().wait();
        }
        return true;
    };
    std::thread runner([&] { source->Run(sink_); });
    full.get_future().wait();
    source->Stop();
    closed.set_value();
    runner.join();
    EXPECT_GE(sink_.frames.size(), 8U);
}

TEST_P(SourceContract, EndsWhenTheHostTakesNoMore)
{
    sink_.on_frame = [](const dev::TFrame<>& frame) { return frame.counter1 < 4; };
    Open(3, GetParam().endless)->Run(sink_);
    EXPECT_EQ(sink_.frames.size(), 5U);
}

TEST_P(SourceContract, CheckAndOpenAgreeOnALocation)
{
    const auto& row = GetParam();
    EXPECT_TRUE(driver_.Check({row.make_location(folder_, 1), "", Settings(row.endless), row.format}).empty());
    const auto faults = driver_.Check({row.bad_location, "", Settings(), row.format});
    ASSERT_EQ(faults.size(), 1U);
    EXPECT_EQ(faults[0].key, "SOURCE");
    EXPECT_FALSE(faults[0].found.empty() || faults[0].wanted.empty());
    try {
        driver_.Open({row.bad_location, "", Settings(), row.format});
        ADD_FAILURE() << "opened";
    } catch (const std::runtime_error& error) {
        EXPECT_THAT(error.what(), AllOf(HasSubstr("found "), HasSubstr(", wanted ")));
    }
}

INSTANTIATE_TEST_SUITE_P(Drivers, SourceContract, testing::ValuesIn(all_drivers),
                         [](const testing::TestParamInfo<TDriverCase>& row) { return row.param.driver; });

}  // namespace
}  // namespace drivers_test
