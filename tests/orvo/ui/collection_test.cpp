#include "ui/collection.h"

#include <gmock/gmock.h>

#include <functional>
#include <string>

using testing::ElementsAre;
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

/// What a call throws as std::runtime_error, and behind it what it writes to standard error and to standard output.
std::string Call(const std::function<void()>& call)
{
    std::string outcome;
    testing::internal::CaptureStdout();
    testing::internal::CaptureStderr();
    try {
        call();
    } catch (const std::runtime_error& error) {
        outcome = error.what();
    }
    outcome += testing::internal::GetCapturedStderr();
    return outcome + testing::internal::GetCapturedStdout();
}

class Collections : public testing::Test
{
protected:
    Collections() : names_(&name_), gears_(&gear_)
    {
        names_.SetLabels({"A", "B", "A"});
        for (const auto& gear :
             {std::make_pair("slow", Slow), std::make_pair("fast", Fast), std::make_pair("parked", Parked)})
            gears_.Insert(gear.first, gear.second);
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
    ui::detail::map<Gear> gears_;
};

}  // namespace

TEST_F(Collections, AreReadAndSetAsValueWithoutALookAtTheListAndAsLabelOnlyFromIt)
{
    EXPECT_EQ(Text(names_, Access_Internal) + Text(names_, Access_Label), "BB");
    EXPECT_EQ(Text(gears_, Access_Internal) + Text(gears_, Access_Label), "2fast");
    boost::any any;
    gears_.Get(any, Access_Internal);
    EXPECT_EQ(boost::any_cast<Gear>(any), Fast);
    gears_.Get(any, Access_Label);
    EXPECT_EQ(boost::any_cast<std::string>(any), "fast");

    names_.Set("Q"s, Access_Internal, 0);
    EXPECT_EQ(name_, "Q");
    names_.Set("A"s, Access_Label, 0);
    EXPECT_EQ(Call([&] { names_.Set("Q"s, Access_Label, 0); }), "LabelToInternalValue: missing label 'Q' in list");
    EXPECT_EQ(name_, "A");
    gears_.Set("parked"s, Access_Label, 0);
    EXPECT_EQ(gear_, Parked);
    gears_.Set(boost::any(Broken), Access_Internal, 0);
    EXPECT_EQ(gear_, Broken);
    gears_.Set(boost::any("slow"s), Access_Label, 0);
    EXPECT_THROW(gears_.Set(boost::any(1), Access_Internal, 0), boost::bad_any_cast);
    EXPECT_THROW(gears_.Set("1"s, Access_Internal, 0), boost::bad_lexical_cast)
        << "an enumeration has no text but its labels";
    EXPECT_EQ(gear_, Slow);
}

TEST_F(Collections, AValueOutsideTheListIsReportedOnBothStreamsAndThrows)
{
    name_ = "Q";
    EXPECT_EQ(Call([&] { Text(names_, Access_Label); }),
              "InternalValueToLabel: missing value 'Q' in list"
              "(choice) 'Q' not found. Valid values are:\nA\nB\nA\n");
    gear_ = Broken;
    EXPECT_EQ(Call([&] { Text(gears_, Access_Label); }),
              "InternalValueToLabel: missing value '9' in list"
              "(map) valid values are:\n0\n2\n1\n");
}

TEST_F(Collections, RefuseReservedModesAndIgnoreUnknownOnes)
{
    boost::any any = std::string("A");
    for (const int mode : {1, 2}) {
        const auto reserved = static_cast<AccessMode>(mode);
        EXPECT_EQ(Call([&] { names_.Set("A"s, reserved, 0); }), "unimplemented");
        EXPECT_EQ(Call([&] { gears_.Get(any, reserved); }), "unimplemented");
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
    gears_.SetByIndex({2}, 0);
    EXPECT_EQ(gear_, Parked);
    EXPECT_THROW(gears_.SetByIndex({3}, 0), std::out_of_range);
    EXPECT_THROW(names_.SetByIndex({-1}, 0), std::out_of_range);
    name_ = "A";
    names_.GetByIndex(indices);
    EXPECT_THAT(indices, ElementsAre(0)) << "the first of two equal labels";
    name_ = "Q";
    Call([&] { names_.GetByIndex(indices); });
    EXPECT_THAT(indices, ElementsAre(-1));
}
