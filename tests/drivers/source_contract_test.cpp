// What every capture driver keeps to, whatever it captures from.
#include <gmock/gmock.h>

#include <algorithm>
#include <thread>

#include "drivers/driver_fixture.h"

namespace drivers_test {
namespace {

using testing::AnyOf;
using testing::HasSubstr;

/// A driver, and how to get sources out of it.
struct TDriverCase
{
    const char* driver;
    const char* format;
    /// A location in the folder with so many frames in it.
    std::function<std::string(const CFolder& folder, unsigned int frames)> make_location;
    /// Keys that make the source begin again for ever.
    std::vector<std::pair<std::string, std::string>> endless;
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

const TDriverCase all_drivers[] = {{"images", "Mono8 6x4", MakePictures, {{"LOOP", "TRUE"}}, "/nowhere/at/all/*.pgm"}};

class SourceContract : public testing::TestWithParam<TDriverCase>
{
protected:
    std::unique_ptr<capture::CSource> Open(unsigned int frames, const kt::ini::INIFile& settings)
    {
        return driver_.Open({GetParam().make_location(folder_, frames), "", settings, GetParam().format});
    }

    CFolder folder_;
    const capture::CDriver& driver_ = LoadDriver(GetParam().driver);
    const kt::ini::INIFile plain_ = Settings({});
    const kt::ini::INIFile endless_ = Settings(GetParam().endless);
};

TEST_P(SourceContract, TellsItsSchemeAndWhatItReads)
{
    EXPECT_EQ(driver_.Syntax().find(std::string(GetParam().driver) + ":"), 0U);
    EXPECT_FALSE(driver_.Description().empty());
    for (const auto& key : GetParam().endless)
        EXPECT_THAT(driver_.Keys(), testing::Contains(key.first));
}

TEST_P(SourceContract, DeliversEveryFrameInOrderInTheWantedFormat)
{
    CFakeSink sink;
    Open(5, plain_)->Run(sink);
    ASSERT_EQ(sink.frames.size(), 5U);
    for (std::size_t i = 0; i < sink.frames.size(); ++i) {
        EXPECT_EQ(sink.frames[i].counter1, i);
        ASSERT_TRUE(sink.frames[i].image);
        EXPECT_EQ(sink.frames[i].image->Descriptor(), GetParam().format);
        EXPECT_FALSE(sink.frames[i].time_stamp.is_not_a_date_time());
        EXPECT_FALSE(sink.frames[i].text.empty());
    }
}

TEST_P(SourceContract, StopBeforeRunMakesItReturnAtOnce)
{
    const auto source = Open(3, endless_);
    source->Stop();
    CFakeSink sink;
    source->Run(sink);
    EXPECT_LE(sink.frames.size(), 1U);
    source->Stop();
}

TEST_P(SourceContract, StopFromAnotherThreadEndsAnEndlessRun)
{
    const auto source = Open(3, endless_);
    CFakeSink sink;
    std::thread stopper;
    sink.on_frame = [&](const dev::TFrame<>& frame) {
        if (frame.counter1 == 7)
            stopper = std::thread([&] { source->Stop(); });
        return true;
    };
    source->Run(sink);
    stopper.join();
    EXPECT_GE(sink.frames.size(), 8U);
}

TEST_P(SourceContract, EndsWhenTheHostTakesNoMore)
{
    CFakeSink sink;
    sink.on_frame = [](const dev::TFrame<>& frame) { return frame.counter1 < 4; };
    Open(3, endless_)->Run(sink);
    EXPECT_EQ(sink.frames.size(), 5U);
}

TEST_P(SourceContract, StopsWhileItWaitsForTheHost)
{
    const auto source = Open(3, endless_);
    CFullSink sink;
    std::thread runner([&] { source->Run(sink); });
    sink.AwaitPush();
    source->Stop();
    sink.Close();
    runner.join();
}

TEST_P(SourceContract, CheckPassesWhatOpenOpens)
{
    const std::string location = GetParam().make_location(folder_, 1);
    EXPECT_TRUE(driver_.Check({location, "", endless_, GetParam().format}).empty());
}

TEST_P(SourceContract, CheckAndOpenRefuseABadLocation)
{
    const auto faults = driver_.Check({GetParam().bad_location, "", plain_, GetParam().format});
    ASSERT_EQ(faults.size(), 1U);
    EXPECT_EQ(faults[0].key, "SOURCE");
    EXPECT_FALSE(faults[0].found.empty());
    EXPECT_FALSE(faults[0].wanted.empty());
    try {
        driver_.Open({GetParam().bad_location, "", plain_, GetParam().format});
        ADD_FAILURE() << "opened";
    } catch (const std::runtime_error& error) {
        EXPECT_THAT(error.what(), AllOf(HasSubstr("found "), HasSubstr(", wanted ")));
    }
}

INSTANTIATE_TEST_SUITE_P(Drivers, SourceContract, testing::ValuesIn(all_drivers),
                         [](const testing::TestParamInfo<TDriverCase>& row) { return row.param.driver; });

}  // namespace
}  // namespace drivers_test
