#include "orvo_ui/panel_manager.h"

#include <gmock/gmock.h>

#include <boost/make_shared.hpp>
#include <boost/property_tree/json_parser.hpp>
#include <boost/weak_ptr.hpp>
#include <locale>
#include <sstream>
#include <stdexcept>

#include "framework/orvo_ui/text_variable.h"
#include "orvo/base/decimal_comma.h"

using boost::property_tree::ptree;
using test::TextVariable;
using testing::ElementsAre;
using ui::detail::PanelManager;
using ui::var::Base;
using ui::wgt::Widget;

namespace {

PanelManager& Manager()
{
    return ui::PanelManagerInstance();
}

std::string Described(const Widget& widget)
{
    ptree tree;
    tree.put("left over", "from before");
    Manager().Describe(widget, tree);
    std::ostringstream json;
    write_json(json, tree, false);
    return json.str();
}

}  // namespace

TEST(PanelManager, AVariableLivesAsLongAsHandlesAndWidgetsNameItAndItsIdIsNeverGivenAgain)
{
    EXPECT_EQ(Base().Id(), -1);
    auto adapter = boost::make_shared<TextVariable>();
    const boost::weak_ptr<TextVariable> watch = adapter;
    Widget panel("panel");
    long id = 0;
    {
        const Base handle(adapter);
        const Base copy = handle;
        EXPECT_EQ(copy.Id(), handle.Id());
        id = handle.Id();
        EXPECT_GT(id, 0);
        panel.Add(Widget("textbox", id));
    }
    EXPECT_EQ(Manager().Variable(id), adapter);
    adapter.reset();
    panel.Children().front().Detach();
    EXPECT_TRUE(watch.expired());
    EXPECT_EQ(Manager().Variable(id), nullptr);
    EXPECT_GT(Base(boost::make_shared<TextVariable>()).Id(), id);
}

TEST(PanelManager, DescribesATreeAsData)
{
    const auto limited = boost::make_shared<TextVariable>("4");
    limited->limited = true;
    const auto unreadable = boost::make_shared<TextVariable>();
    unreadable->readable = false;
    const auto failing = boost::make_shared<TextVariable>();
    failing->on_read = [] { throw std::runtime_error("no answer"); };
    const Base a(limited), b(unreadable), c(failing);

    const test::CDecimalComma comma;  // groups digits, too
    Widget panel("panel");
    panel.Label("Lens").Attr("a.dotted", "name");
    panel.Add(Widget("text", 1234567));
    panel.Add(Widget("slider", a.Id()));
    panel.Add(Widget("textbox", b.Id()));
    panel.Add(Widget("label", c.Id()));

    std::ostringstream wanted;
    wanted.imbue(std::locale::classic());
    wanted << R"({"kind":"panel","attributes":{"a.dotted":"name","label":"Lens"},"children":[)"
           << R"({"kind":"text","id":"1234567","attributes":"","children":""},)"
           << R"({"kind":"slider","id":")" << a.Id()
           << R"(","attributes":"","type":"value<string>","value":"4","limits":{"max":"10"},"children":""},)"
           << R"({"kind":"textbox","id":")" << b.Id() << R"(","attributes":"","type":"value<string>","children":""},)"
           << R"({"kind":"label","id":")" << c.Id()
           << R"(","attributes":"","type":"value<string>","error":"no answer","children":""}]})"
           << "\n";
    EXPECT_EQ(Described(panel), wanted.str());
}

TEST(PanelManager, HoldsNoLockWhileItCallsOut)
{
    // Each of these calls back into the platform, and would hang if it came with the lock held.
    Widget panel("panel");
    const auto reading = boost::make_shared<TextVariable>();
    reading->on_read = [panel]() mutable { panel.Attr("read", "TRUE"); };
    const Base read(reading);
    panel.Add(Widget("textbox", read.Id()));
    Described(panel);

    auto ending = boost::make_shared<TextVariable>();
    ending->on_end = [panel]() mutable { panel.Attr("ended", "TRUE"); };
    Widget last("textbox", Base(ending).Id());
    ending.reset();
    last = Widget();

    std::size_t connection = 0;
    connection = Manager().Connect([&](long) {
        panel.Attr("heard", "TRUE");
        Manager().Disconnect(connection);
    });
    read.Update();
    EXPECT_EQ(panel.Attr("read") + panel.Attr("ended") + panel.Attr("heard"), "TRUETRUETRUE");
}

TEST(PanelManager, RevisionGrowsWithEveryChangeOfATreeAndWithNothingElse)
{
    Widget panel;
    Widget child("label");
    const Base variable(boost::make_shared<TextVariable>());
    const std::pair<boost::function<void()>, bool> steps[] = {
        {[&] { panel = Widget("panel"); }, true}, {[&] { panel.Add(child); }, true},
        {[&] { child.Enable(false); }, true},     {[&] { child.Enable(false); }, false},
        {[&] { variable.Update(); }, false},      {[&] { Described(panel); }, false},
        {[&] { child.Detach(); }, true},          {[&] { panel = Widget(); }, true}};
    for (const auto& step : steps) {
        const std::uint64_t before = Manager().Revision();
        step.first();
        EXPECT_EQ(Manager().Revision() > before, step.second) << "step " << &step - steps;
    }
}

// Ends after main, when everything else has: the platform must still be there.
Widget panel_in_static_storage("panel");
Base variable_in_static_storage;

TEST(Widget, AChildBelongsToTheParentThatAddedItLast)
{
    Widget first("hsizer"), second("vsizer"), a("label"), b("text");
    for (const Widget& child : {a, b, a})
        first.Add(child);
    EXPECT_THAT(first.Children(), ElementsAre(b, a));
    second.Add(a);
    EXPECT_THAT(first.Children(), ElementsAre(b));
    EXPECT_THAT(second.Children(), ElementsAre(a));
    second = Widget();
    first.Add(a);
    variable_in_static_storage = Base(boost::make_shared<TextVariable>());
    panel_in_static_storage.Add(Widget("textbox", variable_in_static_storage.Id()));
    EXPECT_THAT(first.Children(), ElementsAre(b, a)) << "a child does not keep its parent, and outlives it";
}

TEST(Widget, ATreeNeverClosesIntoARing)
{
    Widget top("panel"), middle("vsizer"), bottom("hsizer");
    top.Add(middle);
    middle.Add(bottom);
    EXPECT_THROW(top.Add(top), std::logic_error);
    EXPECT_THROW(bottom.Add(top), std::logic_error);
    EXPECT_THROW(bottom.Add(middle), std::logic_error);
    EXPECT_THROW(top.Add(Widget()), std::logic_error);
    EXPECT_THROW(Widget().Add(top), std::logic_error);
    EXPECT_THAT(top.Children(), ElementsAre(middle));
    EXPECT_THAT(bottom.Children(), testing::IsEmpty());
}
