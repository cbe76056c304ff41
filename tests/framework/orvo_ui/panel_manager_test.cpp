#include "orvo_ui/panel_manager.h"

#include <gmock/gmock.h>

#include <boost/make_shared.hpp>
#include <boost/property_tree/json_parser.hpp>
#include <boost/weak_ptr.hpp>
#include <sstream>
#include <stdexcept>

#include "framework/orvo_ui/text_variable.h"
#include "orvo/base/decimal_comma.h"

using boost::property_tree::ptree;
using test::TextVariable;
using testing::ElementsAre;
using testing::Gt;
using testing::IsEmpty;
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

TEST(PanelManager, GivesEveryVariableAnIdOfItsOwnAndNeverTwice)
{
    const Base none;
    EXPECT_EQ(none.Id(), -1);
    EXPECT_EQ(Base(boost::shared_ptr<TextVariable>()).Id(), -1);

    long gone = 0;
    {
        const Base first(boost::make_shared<TextVariable>());
        const Base copy = first;
        EXPECT_EQ(copy.Id(), first.Id());
        gone = first.Id();
        EXPECT_THAT(gone, Gt(0));
        EXPECT_NE(Manager().Variable(gone), nullptr);
    }
    EXPECT_EQ(Manager().Variable(gone), nullptr);
    const Base second(boost::make_shared<TextVariable>());
    EXPECT_THAT(second.Id(), Gt(gone));
}

TEST(PanelManager, AWidgetKeepsTheVariableThatItNames)
{
    auto adapter = boost::make_shared<TextVariable>("kept");
    const boost::weak_ptr<TextVariable> watch = adapter;
    Widget panel("panel");
    long id = 0;
    {
        const Base handle(adapter);
        adapter.reset();
        id = handle.Id();
        panel.Add(Widget("textbox", id));
    }
    ASSERT_NE(Manager().Variable(id), nullptr);
    std::string text;
    Manager().Variable(id)->Get(text, ui::detail::Access_Label);
    EXPECT_EQ(text, "kept");

    panel.Children().front().Detach();
    EXPECT_TRUE(watch.expired());
    EXPECT_EQ(Manager().Variable(id), nullptr);
}

TEST(PanelManager, FindsTheFirstWidgetOfAVariable)
{
    const Base variable(boost::make_shared<TextVariable>());
    EXPECT_TRUE(Manager().Widget(variable.Id()).IsNull());
    EXPECT_TRUE(Manager().Widget(-1).IsNull());

    Widget first("slider", variable.Id());
    const Widget second("textbox", variable.Id());
    const Widget unbound("label");
    EXPECT_EQ(Manager().Widget(variable.Id()), first);
    first = Widget();
    EXPECT_EQ(Manager().Widget(variable.Id()), second);
    EXPECT_TRUE(Manager().Widget(-1).IsNull());
}

TEST(PanelManager, ListsPanelsInOrderOfCreation)
{
    const std::vector<Widget> before = Manager().Panels();
    Widget a("panel");
    const Widget page("page");
    Widget b("panel");
    Widget c("panel");
    b.Add(a);
    std::vector<Widget> now = Manager().Panels();
    EXPECT_THAT(std::vector<Widget>(now.begin() + static_cast<std::ptrdiff_t>(before.size()), now.end()),
                ElementsAre(a, b, c));

    now.clear();
    b = Widget();
    EXPECT_EQ(Manager().Panels().size(), before.size() + 2);
}

TEST(PanelManager, DescribesATreeAsData)
{
    const auto limited = boost::make_shared<TextVariable>("4");
    limited->limited = true;
    const auto unreadable = boost::make_shared<TextVariable>();
    unreadable->readable = false;
    const auto failing = boost::make_shared<TextVariable>();
    failing->on_read = [] { throw std::runtime_error("no answer"); };
    const Base a(limited);
    const Base b(unreadable);
    const Base c(failing);

    Widget panel("panel");
    panel.Label("Lens").Attr("a.dotted", "name");
    panel.Add(Widget("slider", a.Id()));
    panel.Add(Widget("textbox", b.Id()));
    panel.Add(Widget("label", c.Id()));

    std::ostringstream wanted;
    wanted << R"({"kind":"panel","attributes":{"a.dotted":"name","label":"Lens"},"children":[)"
           << R"({"kind":"slider","id":")" << a.Id()
           << R"(","attributes":"","type":"value<string>","value":"4","limits":{"max":"10"},"children":""},)"
           << R"({"kind":"textbox","id":")" << b.Id() << R"(","attributes":"","type":"value<string>","children":""},)"
           << R"({"kind":"label","id":")" << c.Id()
           << R"(","attributes":"","type":"value<string>","error":"no answer","children":""}]})"
           << "\n";
    EXPECT_EQ(Described(panel), wanted.str());
}

TEST(PanelManager, DescribesIdsTheSameUnderEveryLocale)
{
    const test::CDecimalComma comma;
    ptree tree;
    Manager().Describe(Widget("text", 1234567), tree);
    EXPECT_EQ(tree.get<std::string>("id"), "1234567");
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
    Widget last;
    {
        const Base handle(ending);
        last = Widget("textbox", handle.Id());
    }
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

TEST(PanelManager, TellsEveryObserverWhichValueChanged)
{
    std::vector<long> heard;
    const Base variable(boost::make_shared<TextVariable>());
    const std::size_t first = Manager().Connect([&](long id) { heard.push_back(id); });
    const std::size_t second = Manager().Connect([&](long id) { heard.push_back(-id); });

    variable.Update();
    Base().Update();
    Manager().Disconnect(first);
    Manager().Disconnect(first);
    Manager().NotifyDataChanged(variable.Id());
    Manager().Disconnect(second);
    variable.Update();
    EXPECT_THAT(heard, ElementsAre(variable.Id(), -variable.Id(), -variable.Id()));
}

TEST(PanelManager, RevisionGrowsWithEveryChangeOfATreeAndWithNothingElse)
{
    Widget panel;
    Widget child("label");
    const Base variable(boost::make_shared<TextVariable>());
    const struct
    {
        const char* name;
        boost::function<void()> step;
        bool grows;
    } steps[] = {{"a new panel", [&] { panel = Widget("panel"); }, true},
                 {"a child", [&] { panel.Add(child); }, true},
                 {"an attribute", [&] { child.Enable(false); }, true},
                 {"an empty attribute", [&] { child.Attr("empty", ""); }, true},
                 {"the same again", [&] { child.Enable(false); }, false},
                 {"a value", [&] { variable.Update(); }, false},
                 {"a look", [&] { Described(panel); }, false},
                 {"a child that leaves", [&] { child.Detach(); }, true},
                 {"and is gone already", [&] { child.Detach(); }, false},
                 {"a panel that ends", [&] { panel = Widget(); }, true}};
    for (const auto& row : steps) {
        const std::uint64_t before = Manager().Revision();
        row.step();
        EXPECT_EQ(Manager().Revision() > before, row.grows) << row.name;
    }
}
