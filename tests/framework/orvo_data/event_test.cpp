#include "orvo_data/event.h"

#include <gmock/gmock.h>

#include <limits>

#include "orvo/base/decimal_comma.h"

namespace {

using boost::posix_time::hours;
using boost::posix_time::microseconds;
using boost::posix_time::time_duration;
using data::CEvent;
using testing::AllOf;
using testing::HasSubstr;
using testing::StartsWith;
using testing::ThrowsMessage;

constexpr std::int64_t largest = std::numeric_limits<std::int64_t>::max();

struct TRow
{
    time_duration key;
    const char* id;
    const char* text;
    const char* line;
};

// In the order of their keys.
const TRow rows[] = {
    {boost::date_time::neg_infin, "A", "x", "-infinity A x"},
    {microseconds(-largest), "A", "x", "-2562047788:00:54.775807 A x"},
    {hours(-100), "A", "x", "-100:00:00.000000 A x"},
    {microseconds(-1), "A", " two  blanks\t", "-00:00:00.000001 A  two  blanks\t"},
    {microseconds(0), "\xc3\x96l", "", "00:00:00.000000 \xc3\x96l "},
    {microseconds(1250000), "FRAME", "left, seq 7", "00:00:01.250000 FRAME left, seq 7"},
    {hours(100) - microseconds(1), "A", "x", "99:59:59.999999 A x"},
    {hours(12345), "A", "x", "12345:00:00.000000 A x"},
    {microseconds(largest - 2), "A", "x", "2562047788:00:54.775805 A x"},
    {boost::date_time::not_a_date_time, "A", "x", "not-a-date-time A x"},
    {boost::date_time::pos_infin, "A", "x", "+infinity A x"},
};

TEST(Event, LineIsReadBackUnderAnyLocale)
{
    const test::CDecimalComma comma;
    for (const TRow& row : rows) {
        SCOPED_TRACE(row.line);
        std::string buffer = "used before";
        EXPECT_EQ(CEvent(row.id, row.key, row.text).GetString(buffer), row.line);
        const CEvent read = CEvent::Parse(row.line);
        EXPECT_EQ(read.ID(), row.id);
        EXPECT_EQ(read.Key().ticks(), row.key.ticks());
        EXPECT_EQ(read.Text(), row.text);
        EXPECT_EQ(&read.GetString(buffer), &buffer);
        EXPECT_EQ(buffer, row.line);
    }
}

TEST(Event, OrderIsByKeyAlone)
{
    for (const TRow& a : rows)
        for (const TRow& b : rows)
            EXPECT_EQ(CEvent("Z", a.key, "z") < CEvent("A", b.key, "a"), &a < &b) << a.line << " < " << b.line;
}

TEST(Event, RefusesWhatIsNoLineOfItsForm)
{
    const std::pair<const char*, std::vector<const char*>> refusals[] = {
        {"wanted a time",
         {" A x", "1:00:00.000000 A x", "000:00:00.000000 A x", "00:60:00.000000 A x", "00:00:60.000000 A x",
          "00:00:00.0000000 A x", "00:00:00,000000 A x", "00:00:00 A x", "-00:00:00.000000 A x", "+00:00:00.000000 A x",
          "infinity A x", "2562047788:00:54.775806 A x", "5124095576:01:49.551616 A x"}},
        {"wanted '<key> <id> <text>'", {"", "00:00:00.000000", "00:00:00.000000 A"}},
        {"wanted an event identifier", {"00:00:00.000000  x", "00:00:00.000000 A\tb x", "00:00:00.000000 A\x7f x"}},
        {"wanted an event text", {"00:00:00.000000 A x\r", "00:00:00.000000 A x\ny"}},
    };
    for (const auto& refusal : refusals)
        for (const char* line : refusal.second)
            EXPECT_THAT([line] { CEvent::Parse(line); },
                        ThrowsMessage<std::invalid_argument>(AllOf(StartsWith("found '"), HasSubstr(refusal.first))))
                << line;
}

}  // namespace
