#include "orvo_ui/window.h"

#include <gmock/gmock.h>

#include "orvo_proc_cimage/image.h"

using testing::ElementsAre;
using ui::win::CWindow;

TEST(Window, ShowsWhatWasDrawnOnlyFromTheNextRefreshOn)
{
    CWindow window(320, 240);
    const auto first = cimage::Build("Mono8 4x4"), second = cimage::Build("Mono8 4x4");
    std::vector<std::uint64_t> heard;
    const std::size_t connection = window.Connect([&] { heard.push_back(window.Generation()); });

    window.DrawImage(first);
    EXPECT_EQ(window.Picture(), nullptr);
    window.Refresh(false);
    window.Clear();
    EXPECT_EQ(window.Picture(), first);
    window.DrawImage(first);
    window.DrawImage(second);
    window.Refresh(true);
    EXPECT_EQ(window.Picture(), second);
    window.Disconnect(connection);
    window.Refresh(true);
    EXPECT_EQ(window.Picture(), second) << "drawn once, shown until it is cleared";
    window.Clear();
    window.Refresh(false);
    EXPECT_EQ(window.Picture(), nullptr);
    EXPECT_THAT(heard, ElementsAre(2U));
    EXPECT_EQ(first.use_count(), 1) << "the window let it go";
}
