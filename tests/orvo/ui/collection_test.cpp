#include "ui/collection.h"

#include <gmock/gmock.h>

#include <functional>
#include <string>

using boost::property_tree::ptree;
using testing::ElementsAre;
using testing::IsEmpty;
using ui::detail::Access_Internal;
using ui::detail::Access_Label;
using ui::detail::AccessMode;
using ui::detail::choice;

using namespace std::string_literals;

namespace {

enum Gear
{
    Slow = 0,
    Fast = 2,
    Parked = 1,
    Broken = 9
};

using GearMap = ui::detail::map<Gear>;

/// What a call throws as std::runtime_error, and what it writes to the two streams of the console.
struct Outcome
{
    std::string error, to_stdout, to_stderr;
};

Outcome Call(const std::function<void()>& call)
{
    Outcome outcome;
    testing::internal::CaptureStdout();
    testing::internal::CaptureStderr();
    try {
        call();
    } catch (const std::runtime_error& error) {
        outcome.error = error.what();
    }
    outcome.to_stdout = testing::internal::GetCapturedStdout();
    outcome.to_stderr = testing::internal::GetCapturedStderr();
    return outcome;
}

class Collections : public testing::Test
{
protected:
    Collections() : names_(&name_), gears_(&gear_)
    {
        names_.SetLabels({"A", "B", "A"});
        gears_.Insert("slow", Slow);
        gears_.Insert("fast", Fast);
        gears_.Insert("parked", Parked);
    }

    static std::string Text(const ui::detail::Serializable& collection, AccessMode mode)
    {
        std::string text = "untouched";
        collection.Get(text, mode);
        return text;
    }

    std::string name_ = "B";
    Gear gear_ = Fast;
    choice<std::string> names_;
    GearMap gears_;
};

}  // namespace

TEST_F(Collections, AreReadAsValueAndAsLabel)
{
    EXPECT_EQ(Text(names_, Access_Internal), "B");
    EXPECT_EQ(Text(names_, Access_Label), "B");
    EXPECT_EQ(Text(gears_, Access_Internal), "2");
    EXPECT_EQ(Text(gears_, Access_Label), "fast");

    boost::any any;
    gears_.Get(any, Access_Internal);
    EXPECT_EQ(boost::any_cast<Gear>(any), Fast);
    gears_.Get(any, Access_Label);
    EXPECT_EQ(boost::any_cast<std::string>(any), "fast");
}

TEST_F(Collections, AreSetByValueWithoutALookAtTheListAndByLabelOnlyFromIt)
{
    names_.Set("Q"s, Access_Internal, 0);
    EXPECT_EQ(name_, "Q");
    names_.Set("A"s, Access_Label, 0);
    EXPECT_EQ(name_, "A");
    EXPECT_EQ(Call([&] { names_.Set("Q"s, Access_Label, 0); }).error,
              "LabelToInternalValue: missing label 'Q' in list");
    EXPECT_EQ(Call([&] { gears_.Set("Fast"s, Access_Label, 0); }).error,
              "LabelToInternalValue: missing label 'Fast' in list");
    EXPECT_EQ(name_, "A");

    gears_.Set("parked"s, Access_Label, 0);
    EXPECT_EQ(gear_, Parked);
    gears_.Set(boost::any(Broken), Access_Internal, 0);
    EXPECT_EQ(gear_, Broken);
    gears_.Set(boost::any(std::string("slow")), Access_Label, 0);
    EXPECT_EQ(gear_, Slow);
    EXPECT_THROW(gears_.Set(boost::any(1), Access_Internal, 0), boost::bad_any_cast);
    EXPECT_THROW(gears_.Set(boost::any(Slow), Access_Label, 0), boost::bad_any_cast);
    EXPECT_THROW(gears_.Set("1"s, Access_Internal, 0), boost::bad_lexical_cast)
        << "an enumeration has no text but its labels";
    EXPECT_EQ(gear_, Slow);
}

TEST_F(Collections, AValueOutsideTheListIsReportedOnBothStreamsAndThrows)
{
    name_ = "Q";
    const Outcome name = Call([&] { Text(names_, Access_Label); });
    EXPECT_EQ(name.error, "InternalValueToLabel: missing value 'Q' in list");
    EXPECT_EQ(name.to_stderr, "(choice) 'Q' not found. Valid values are:\n");
    EXPECT_EQ(name.to_stdout, "A\nB\nA\n");

    gear_ = Broken;
    const Outcome gear = Call([&] { Text(gears_, Access_Label); });
    EXPECT_EQ(gear.error, "InternalValueToLabel: missing value '9' in list");
    EXPECT_EQ(gear.to_stderr, "(map) valid values are:\n");
    EXPECT_EQ(gear.to_stdout, "0\n2\n1\n");
}

TEST_F(Collections, RefuseReservedModesAndIgnoreUnknownOnes)
{
    boost::any any = std::string("A");
    for (const int mode : {1, 2}) {
        const auto reserved = static_cast<AccessMode>(mode);
        EXPECT_EQ(Call([&] { names_.Set("A"s, reserved, 0); }).error, "unimplemented");
        EXPECT_EQ(Call([&] { names_.Set(any, reserved, 0); }).error, "unimplemented");
        EXPECT_EQ(Call([&] { Text(names_, reserved); }).error, "unimplemented");
        EXPECT_EQ(Call([&] { gears_.Get(any, reserved); }).error, "unimplemented");
    }
    for (const int mode : {-1, 4}) {
        const auto unknown = static_cast<AccessMode>(mode);
        names_.Set("A"s, unknown, 0);
        names_.Set(any, unknown, 0);
        EXPECT_EQ(Text(names_, unknown), "untouched");
    }
    EXPECT_EQ(name_, "B");
}

TEST_F(Collections, AreReadAndSetByPosition)
{
    std::vector<int> indices{7, 7};
    gears_.GetByIndex(indices);
    EXPECT_THAT(indices, ElementsAre(1));

    std::vector<Gear> set;
    gears_.ConnectSet([&](Gear gear) { set.push_back(gear); }, 1);
    gears_.SetByIndex({2, 0}, 1);
    gears_.SetByIndex({}, 1);
    EXPECT_THAT(set, ElementsAre(Parked, Slow));
    EXPECT_THROW(gears_.SetByIndex({3}, 1), std::out_of_range);
    EXPECT_THROW(names_.SetByIndex({-1}, 0), std::out_of_range);

    name_ = "A";
    names_.GetByIndex(indices);
    EXPECT_THAT(indices, ElementsAre(0)) << "the first of two equal labels";
    name_ = "Q";
    Call([&] { names_.GetByIndex(indices); });
    EXPECT_THAT(indices, ElementsAre(-1));
}

TEST_F(Collections, DescribeTheirLabelsInOrder)
{
    ptree tree;
    gears_.GetAttribute(tree);
    std::vector<std::string> items;
    for (const auto& item : tree.get_child("item"))
        items.push_back(item.first + '=' + item.second.data());
    EXPECT_THAT(items, ElementsAre("=slow", "=fast", "=parked"));
    EXPECT_EQ(tree.size(), 1U);

    boost::any any;
    names_.GetAttribute(any);
    EXPECT_THAT(boost::any_cast<std::vector<std::string>>(any), ElementsAre("A", "B", "A"));
    EXPECT_TRUE(gears_.HasAttributes());
    EXPECT_EQ(gears_.GetTypeID(), "collection<string>");
    EXPECT_EQ(names_.GetTypeID(), "collection<string>");
}

TEST(Collection, ThatCannotFindItsValuesSaysSo)
{
    class OneWay : public ui::detail::collection_adapter<std::string, int>
    {
    public:
        OneWay() { labels_.assign(1, "ten"); }
        int IndexToInternalValue(int) const override { return 10; }
    } collection;
    int set = 0;
    collection.ConnectSet([&](int value) { set = value; }, 0);
    collection.ConnectGet([] { return 10; });
    collection.Set("ten"s, Access_Label, 0);
    EXPECT_EQ(set, 10);
    std::string text;
    EXPECT_EQ(Call([&] { collection.Get(text, Access_Label); }).error, "choice::InternalValueToIndex unimplemented");
}
