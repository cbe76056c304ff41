#include "ui/widgets.h"

#include <gmock/gmock.h>

using testing::ElementsAre;
using testing::IsEmpty;
using ui::wgt::Widget;

namespace {

using Attributes = std::map<std::string, std::string>;

}  // namespace

TEST(Widgets, BuildersGiveExactlyTheirAttributes)
{
    const Attributes editor{{"label", "Gain"}, {"enabled", "TRUE"}, {"hexpand", "1"}, {"vexpand", "0"}};
    const struct
    {
        Widget widget;
        std::string kind;
        long id;
        Attributes attributes;
    } rows[] = {
        {ui::wgt::Slider(7, "Gain"), "slider", 7, editor},
        {ui::wgt::Text("Gain"), "text", -1, editor},
        // The flag changes nothing, on purpose.
        {ui::wgt::TextBox(8, "Gain", false), "textbox", 8, editor},
        {ui::wgt::Expanding("vsizer"), "vsizer", -1, {{"hexpand", "1"}, {"vexpand", "1"}}},
        {ui::wgt::GridSizer(), "gridsizer", -1, {{"hgap", "0"}, {"vgap", "0"}}},
        {ui::wgt::Page("Debayer"), "page", -1, {{"label", "Debayer"}}},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.kind);
        EXPECT_EQ(row.widget.Kind(), row.kind);
        EXPECT_EQ(row.widget.Id(), row.id);
        EXPECT_EQ(row.widget.Attributes(), row.attributes);
    }
}

TEST(Widgets, AGridPutsEachWidgetIntoACell)
{
    ui::wgt::GridSizer grid(3, 4);
    const Widget widget("label");
    grid.Add(widget, 5, 6, -1, 2, 7, 4294967295U);

    ASSERT_EQ(grid.Children().size(), 1U);
    const Widget cell = grid.Children().front();
    EXPECT_EQ(cell.Kind(), "szcell");
    EXPECT_EQ(cell.Attributes(), (Attributes{{"row", "5"},
                                             {"column", "6"},
                                             {"hexpand", "-1"},
                                             {"vexpand", "2"},
                                             {"row_span", "7"},
                                             {"column_span", "4294967295"}}));
    EXPECT_THAT(cell.Children(), ElementsAre(widget));
    EXPECT_EQ(grid.Attr("hgap") + grid.Attr("vgap"), "34");
}

TEST(Widgets, APanelIsHiddenAndEmptyOnceItsOwnerHasGone)
{
    Widget kept;
    {
        ui::wgt::Panel panel("Camera");
        EXPECT_EQ(panel.Attributes(), (Attributes{{"label", "Camera"}, {"visible", "FALSE"}}));
        panel.Add(Widget("vsizer"));
        kept = panel;
        EXPECT_EQ(kept.Children().size(), 1U);
    }
    EXPECT_THAT(kept.Children(), IsEmpty());
}
