#include "orvo_ui/window.h"

#include <gmock/gmock.h>

#include "orvo_proc_cimage/image.h"

using testing::ElementsAre;
using testing::IsEmpty;
using ui::win::CWindow;
using ui::win::WindowsMap;

namespace {

boost::shared_ptr<const cimage::CImage> Image()
{
    return cimage::Build("Mono8 4x4");
}

}  // namespace

TEST(Window, ShowsWhatWasDrawnOnlyFromTheNextRefreshOn)
{
    CWindow window(320, 240);
    const auto first = Image();
    const auto second = Image();
    EXPECT_EQ(window.Picture(), nullptr);

    window.DrawImage(first);
    EXPECT_EQ(window.Picture(), nullptr);
    window.Refresh(false);
    EXPECT_EQ(window.Picture(), first);

    window.Clear();
    EXPECT_EQ(window.Picture(), first);
    window.DrawImage(first);
    window.DrawImage(second);
    window.Refresh(false);
    EXPECT_EQ(window.Picture(), second);
    window.Refresh(false);
    EXPECT_EQ(window.Picture(), second);

    window.Clear();
    window.Refresh(false);
    EXPECT_EQ(window.Picture(), nullptr);
    EXPECT_EQ(window.Generation(), 4U);
    EXPECT_EQ(first.use_count(), 1) << "the window let it go";
}

TEST(Window, TellsObserversOfARefreshOnlyWhenAsked)
{
    CWindow window(4, 4);
    std::vector<std::uint64_t> heard;
    const std::size_t connection = window.Connect([&] { heard.push_back(window.Generation()); });
    window.Refresh(false);
    window.Refresh(true);
    window.Disconnect(connection);
    window.Refresh(true);
    EXPECT_THAT(heard, ElementsAre(2U));
}

TEST(Window, IsVisibleAsFrontEndsSayAndAsTheCallerThinksUntilThen)
{
    CWindow window(4, 4);
    EXPECT_TRUE(window.IsVisible(true));
    EXPECT_FALSE(window.IsVisible(false));
    window.Show(true);
    EXPECT_TRUE(window.IsVisible(false));
    window.Show(false);
    EXPECT_FALSE(window.IsVisible(true));
}

TEST(WindowsMap, MakesWindowsOnDemandAndKeepsThem)
{
    WindowsMap windows;
    EXPECT_THAT(windows.Windows(), IsEmpty());
    windows.Insert("result", 1280, 960);
    windows.Insert("result", 4, 4);
    EXPECT_EQ(windows.Window("result").Width(), 1280U);
    EXPECT_EQ(windows.Wnd("").Width(), 320U);
    EXPECT_EQ(windows.Wnd("").Height(), 240U);
    EXPECT_EQ(&windows.Wnd(""), &windows.Window(""));
    EXPECT_THAT(windows.Windows(), ElementsAre("", "result"));

    WindowsMap copy = windows;
    copy.Insert("later", 4, 4);
    EXPECT_THAT(windows.Windows(), ElementsAre("", "later", "result"));
    EXPECT_EQ(&copy.Window("later"), &windows.Window("later"));
}
