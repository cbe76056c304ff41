#include "ui/value.h"

#include <gmock/gmock.h>

#include <boost/property_tree/ptree.hpp>
#include <cmath>
#include <limits>

#include "ui/range.h"

using boost::property_tree::ptree;
using testing::ElementsAre;
using testing::IsEmpty;
using ui::detail::Access_Internal;
using ui::detail::Access_Label;
using ui::detail::AccessMode;
using ui::detail::range;
using ui::detail::value;

using namespace std::string_literals;

namespace {

/// A variable whose owner keeps what its setter was given.
template <typename Adapter>
struct Owner
{
    using T = typename Adapter::value_type;

    Owner()
    {
        adapter.ConnectGet([this] { return current; });
        for (int channel = 0; channel < 3; ++channel)
            adapter.ConnectSet([this, channel](T set) { received[channel].push_back(set); }, channel);
    }

    std::string Text() const
    {
        std::string result;
        adapter.Get(result, Access_Internal);
        return result;
    }

    T current{};
    std::vector<T> received[3];
    Adapter adapter;
};

}  // namespace

TEST(Value, ReadsThroughTheGetterAndWritesThroughTheChannelAskedFor)
{
    Owner<value<int>> owner;
    owner.current = 7;
    owner.adapter.Set("42"s, Access_Internal, 0);
    owner.adapter.Set("-1"s, Access_Label, 1);
    owner.adapter.Set(boost::any(5), static_cast<AccessMode>(2), 2);

    EXPECT_EQ(owner.Text(), "7");
    EXPECT_THAT(owner.received[0], ElementsAre(42));
    EXPECT_THAT(owner.received[1], ElementsAre(-1));
    EXPECT_THAT(owner.received[2], ElementsAre(5));
    EXPECT_THROW(owner.adapter.Set("1"s, Access_Internal, 3), std::out_of_range);
    EXPECT_THROW(owner.adapter.Set("1"s, Access_Internal, -1), std::out_of_range);
}

TEST(Value, BoundByAddressIsTheOwnersField)
{
    double field = 1.5;
    value<double> adapter(&field);
    std::string text;
    adapter.Get(text, Access_Internal);
    EXPECT_EQ(text, "1.5");
    adapter.Set("2.5"s, Access_Internal, 0);
    EXPECT_EQ(field, 2.5);
    adapter.Set("3.5"s, Access_Internal, 1);
    EXPECT_EQ(field, 2.5) << "only channel 0 writes the field";
}

TEST(Value, SetsNothingThatDoesNotConvert)
{
    Owner<value<double>> owner;
    EXPECT_THROW(owner.adapter.Set("1.5x"s, Access_Internal, 0), boost::bad_lexical_cast);
    EXPECT_THROW(owner.adapter.Set(boost::any(1), Access_Internal, 0), boost::bad_any_cast);
    EXPECT_THROW(owner.adapter.Set(boost::any(1.0F), Access_Internal, 0), boost::bad_any_cast);
    EXPECT_THROW(owner.adapter.Set(boost::any(), Access_Internal, 0), boost::bad_any_cast);
    EXPECT_THAT(owner.received[0], IsEmpty());
    owner.adapter.Set(boost::any(1.25), Access_Internal, 0);
    EXPECT_THAT(owner.received[0], ElementsAre(1.25));
}

TEST(Value, WithoutAGetterHasNoValue)
{
    value<std::string> adapter;
    std::string text;
    boost::any any;
    EXPECT_FALSE(adapter.HasValue());
    EXPECT_THROW(adapter.Get(text, Access_Internal), boost::bad_function_call);
    EXPECT_THROW(adapter.Get(any, Access_Internal), boost::bad_function_call);
    adapter.Set("nobody listens"s, Access_Internal, 0);
    adapter.ConnectGet([] { return std::string("here"); });
    EXPECT_TRUE(adapter.HasValue());
}

TEST(Range, NeverLimitsWhatIsSet)
{
    Owner<range<double>> owner;
    owner.adapter.attributes.min = -10.0;
    owner.adapter.attributes.max = 10.0;
    owner.adapter.Set("25"s, Access_Internal, 0);
    EXPECT_THAT(owner.received[0], ElementsAre(25.0));
}

TEST(Range, DescribesItsLimits)
{
    range<double> lengths;
    lengths.attributes.min = -10.0;
    lengths.attributes.max = std::numeric_limits<double>::infinity();
    lengths.attributes.step = 0.001;
    range<unsigned char> bytes;
    bytes.attributes.max = 255;
    range<float> unknown;
    unknown.attributes.step = std::numeric_limits<float>::quiet_NaN();
    unknown.attributes.min = -std::numeric_limits<float>::infinity();

    const struct
    {
        const ui::detail::Serializable& adapter;
        std::string min, max, step, type;
    } rows[] = {{lengths, "-10", "inf", "0.001", "range<double>"},
                {bytes, "0", "255", "0", "range<uint8>"},
                {unknown, "-inf", "0", "nan", "range<float>"}};
    for (const auto& row : rows) {
        SCOPED_TRACE(row.type);
        ptree tree;
        row.adapter.GetAttribute(tree);
        EXPECT_TRUE(row.adapter.HasAttributes());
        EXPECT_EQ(row.adapter.GetTypeID(), row.type);
        EXPECT_EQ(tree.get<std::string>("min"), row.min);
        EXPECT_EQ(tree.get<std::string>("max"), row.max);
        EXPECT_EQ(tree.get<std::string>("step"), row.step);
        EXPECT_EQ(tree.get<std::string>("type"), row.type);
        EXPECT_EQ(tree.size(), 4U);
    }

    boost::any any;
    bytes.GetAttribute(any);
    EXPECT_EQ(boost::any_cast<ui::var::types::range<unsigned char>::attributes_type>(any).max, 255);
}
