#include "ui/variable.h"

#include <gtest/gtest.h>

#include <boost/property_tree/ptree.hpp>

#include "orvo_ui/panel_manager.h"
#include "ui/collection.h"
#include "ui/range.h"
#include "ui/widgets.h"

using ui::detail::Access_Internal;
using ui::detail::range;
using ui::detail::Serializable;
using ui::var::TBase;

using namespace std::string_literals;

namespace {

boost::shared_ptr<Serializable> Variable(long id)
{
    return ui::PanelManagerInstance().Variable(id);
}

}  // namespace

TEST(Variable, LivesOnInItsWidgetWhenTheHandleHasGone)
{
    double field = 1.0;
    ui::wgt::Widget slider;
    {
        TBase<range<double>> variable(&field);
        variable->attributes.max = 10.0;
        slider = ui::wgt::Slider(variable.Id(), "X");
    }
    const long id = slider.Id();
    ASSERT_NE(Variable(id), nullptr);
    Variable(id)->Set("25"s, Access_Internal, 0);
    EXPECT_EQ(field, 25.0);

    boost::property_tree::ptree tree;
    ui::PanelManagerInstance().Describe(slider, tree);
    EXPECT_EQ(tree.get<std::string>("type"), "range<double>");
    EXPECT_EQ(tree.get<std::string>("value"), "25");
    EXPECT_EQ(tree.get<std::string>("limits.max"), "10");

    slider = ui::wgt::Widget();
    EXPECT_EQ(Variable(id), nullptr);
}

TEST(Variable, CopiesShareTheAdapter)
{
    const TBase<ui::detail::choice<std::string>> original;
    const TBase<ui::detail::choice<std::string>> copy = original;
    copy->SetLabels({"A"});
    EXPECT_EQ(original->Labels().size(), 1U);
    EXPECT_EQ(original.Id(), copy.Id());
}

TEST(Variable, ShowsACollectionByItsLabel)
{
    enum Level
    {
        Low,
        High
    } level = High;
    const TBase<ui::detail::map<Level>> variable(&level);
    variable->Insert("low", Low);
    variable->Insert("high", High);
    boost::property_tree::ptree tree;
    ui::PanelManagerInstance().Describe(ui::wgt::Widget("combobox", variable.Id()), tree);
    EXPECT_EQ(tree.get<std::string>("value"), "high");
    EXPECT_EQ(tree.get_child("limits.item").size(), 2U);
}
