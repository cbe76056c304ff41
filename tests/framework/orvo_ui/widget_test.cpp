#include "orvo_ui/widget.h"

#include <gmock/gmock.h>

#include <boost/make_shared.hpp>
#include <stdexcept>

#include "framework/orvo_ui/text_variable.h"
#include "orvo_ui/panel_manager.h"

using testing::ElementsAre;
using testing::IsEmpty;
using testing::Pair;
using ui::wgt::Widget;

// Ends after main, when everything else has: the platform must still be there.
Widget panel_in_static_storage("panel");
ui::var::Base variable_in_static_storage;

TEST(Widget, CopiesShareTheNode)
{
    Widget original("slider", 7);
    Widget copy = original;
    copy.Label("Gain").Enable(false).HExpand(-1).VExpand(0).Unit("[dB]").Attr("row", 4294967295U);
    copy.Add(Widget("label"));

    EXPECT_EQ(original, copy);
    EXPECT_EQ(original.Kind(), "slider");
    EXPECT_EQ(original.Id(), 7);
    EXPECT_THAT(original.Attributes(),
                ElementsAre(Pair("enabled", "FALSE"), Pair("hexpand", "-1"), Pair("label", "Gain"),
                            Pair("row", "4294967295"), Pair("unit", "[dB]"), Pair("vexpand", "0")));
    EXPECT_EQ(original.Attr("label"), "Gain");
    EXPECT_EQ(original.Attr("never set"), "");
    EXPECT_EQ(original.Children().size(), 1U);
    EXPECT_NE(original, Widget("slider", 7));
}

TEST(Widget, AChildBelongsToTheParentThatAddedItLast)
{
    Widget first("hsizer");
    Widget second("vsizer");
    Widget a("label");
    Widget b("text");

    first.Add(a);
    first.Add(b);
    EXPECT_THAT(first.Children(), ElementsAre(a, b));
    first.Add(a);
    EXPECT_THAT(first.Children(), ElementsAre(b, a));
    second.Add(a);
    EXPECT_THAT(first.Children(), ElementsAre(b));
    EXPECT_THAT(second.Children(), ElementsAre(a));
    a.Detach();
    a.Detach();
    EXPECT_THAT(second.Children(), IsEmpty());
}

TEST(Widget, ATreeNeverClosesIntoARing)
{
    Widget top("panel");
    Widget middle("vsizer");
    Widget bottom("hsizer");
    top.Add(middle);
    middle.Add(bottom);

    EXPECT_THROW(top.Add(top), std::logic_error);
    EXPECT_THROW(bottom.Add(top), std::logic_error);
    EXPECT_THROW(bottom.Add(middle), std::logic_error);
    EXPECT_THAT(top.Children(), ElementsAre(middle));
    EXPECT_THAT(middle.Children(), ElementsAre(bottom));
    EXPECT_THAT(bottom.Children(), IsEmpty());
}

TEST(Widget, AParentKeepsItsChildrenAliveButNoChildItsParent)
{
    Widget child("label");
    {
        Widget parent("panel");
        parent.Add(child);
        parent.Add(Widget("text"));
        EXPECT_EQ(parent.Children().back().Kind(), "text");
    }
    child.Detach();
    Widget next("panel");
    next.Add(child);
    EXPECT_THAT(next.Children(), ElementsAre(child));
}

TEST(Widget, AnEmptyHandleIsRefused)
{
    Widget empty;
    Widget full("panel");
    EXPECT_TRUE(empty.IsNull());
    EXPECT_FALSE(full.IsNull());
    EXPECT_EQ(empty, Widget());
    EXPECT_THROW(empty.Kind(), std::logic_error);
    EXPECT_THROW(empty.Attr("label", "x"), std::logic_error);
    EXPECT_THROW(empty.Detach(), std::logic_error);
    EXPECT_THROW(empty.Add(full), std::logic_error);
    EXPECT_THROW(full.Add(empty), std::logic_error);
}

TEST(Widget, InStaticStorageEndsQuietly)
{
    variable_in_static_storage = ui::var::Base(boost::make_shared<test::TextVariable>());
    panel_in_static_storage.Add(Widget("textbox", variable_in_static_storage.Id()));
    EXPECT_EQ(panel_in_static_storage.Children().size(), 1U);
}
