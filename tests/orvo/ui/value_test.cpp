#include "ui/value.h"

#include <gmock/gmock.h>

#include <boost/property_tree/ptree.hpp>
#include <limits>

#include "ui/range.h"

using ui::detail::Access_Internal;
using ui::detail::range;

using namespace std::string_literals;

TEST(Value, ReadsThroughTheGetterAndWritesThroughTheChannelAskedFor)
{
    ui::detail::value<double> adapter;
    std::string text;
    EXPECT_THROW(adapter.Get(text, Access_Internal), boost::bad_function_call);
    adapter.Set("7"s, Access_Internal, 0);  // nobody listens

    std::vector<std::pair<int, double>> set;
    adapter.ConnectGet([] { return 7.5; });
    for (const int channel : {0, 1, 2})
        adapter.ConnectSet([&set, channel](double value) { set.emplace_back(channel, value); }, channel);
    adapter.Get(text, Access_Internal);
    EXPECT_EQ(text, "7.5");
    adapter.Set("42"s, Access_Internal, 0);
    adapter.Set("-1"s, ui::detail::Access_Label, 1);
    adapter.Set(boost::any(1.25), static_cast<ui::detail::AccessMode>(2), 2);
    EXPECT_THROW(adapter.Set("1"s, Access_Internal, 3), std::out_of_range);
    EXPECT_THROW(adapter.Set("1.5x"s, Access_Internal, 0), boost::bad_lexical_cast);
    EXPECT_THROW(adapter.Set(boost::any(1.0F), Access_Internal, 0), boost::bad_any_cast);
    EXPECT_THAT(set, testing::ElementsAre(std::make_pair(0, 42.0), std::make_pair(1, -1.0), std::make_pair(2, 1.25)));
}

TEST(Range, DescribesItsLimitsAndNeverAppliesThem)
{
    double field = 1.5;
    range<double> lengths(&field);
    lengths.attributes.min = -10.0;
    lengths.attributes.max = std::numeric_limits<double>::infinity();
    lengths.attributes.step = 0.001;
    lengths.Set("-25"s, Access_Internal, 0);
    EXPECT_EQ(field, -25.0);
    lengths.Set("3.5"s, Access_Internal, 1);
    EXPECT_EQ(field, -25.0) << "only channel 0 writes the field";

    boost::property_tree::ptree tree;
    lengths.GetAttribute(tree);
    const auto get = [&tree](const char* key) { return tree.get<std::string>(key); };
    EXPECT_EQ(get("min") + ' ' + get("max") + ' ' + get("step") + ' ' + get("type"), "-10 inf 0.001 range<double>");
    EXPECT_EQ(tree.size(), 4U);
}
