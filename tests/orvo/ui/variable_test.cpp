#include "ui/variable.h"

#include <gtest/gtest.h>

#include <boost/property_tree/ptree.hpp>

#include "orvo_ui/panel_manager.h"
#include "ui/collection.h"
#include "ui/range.h"
#include "ui/widgets.h"

using ui::detail::Access_Internal;
using ui::detail::range;
using ui::var::TBase;

using namespace std::string_literals;

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
    ASSERT_NE(ui::PanelManagerInstance().Variable(id), nullptr);
    ui::PanelManagerInstance().Variable(id)->Set("25"s, Access_Internal, 0);
    EXPECT_EQ(field, 25.0);

    boost::property_tree::ptree tree;
    ui::PanelManagerInstance().Describe(slider, tree);
    EXPECT_EQ(tree.get<std::string>("type"), "range<double>");
    EXPECT_EQ(tree.get<std::string>("value"), "25");
    EXPECT_EQ(tree.get<std::string>("limits.max"), "10");

    slider = ui::wgt::Widget();
    EXPECT_EQ(ui::PanelManagerInstance().Variable(id), nullptr);
}

TEST(Variable, ShowsACollectionByItsLabel)
{
    std::string level = "high";
    const TBase<ui::detail::choice<std::string>> variable(&level);
    variable->SetLabels({"low", "high"});
    boost::property_tree::ptree tree;
    ui::PanelManagerInstance().Describe(ui::wgt::Widget("combobox", variable.Id()), tree);
    EXPECT_EQ(tree.get<std::string>("value"), "high");
    EXPECT_EQ(tree.get_child("limits.item").size(), 2U);
}
