#include "run/live_lines.h"

#include <gmock/gmock.h>

namespace {

using testing::ElementsAre;

TEST(LiveLines, ShowTheRateSinceTheLastTime)
{
    const auto start = std::chrono::steady_clock::time_point();
    host::CLiveLines lines(start);
    using std::chrono::milliseconds;
    EXPECT_THAT(lines.Next(start + milliseconds(500), {{"left", 12, 10, 2, false}, {"top right", 20, 20, 0, false}}),
                ElementsAre("left          20.0/s        12 frames        10 executed       2 dropped",
                            "top right     40.0/s        20 frames        20 executed       0 dropped"));
    EXPECT_THAT(lines.Next(start + milliseconds(1500), {{"left", 42, 40, 2, false}, {"top right", 20, 20, 0, true}}),
                ElementsAre("left          30.0/s        42 frames        40 executed       2 dropped",
                            "top right       done        20 frames        20 executed       0 dropped"));
}

}  // namespace
