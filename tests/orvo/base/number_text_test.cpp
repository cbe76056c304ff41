#include "base/number_text.h"

#include <gtest/gtest.h>

#include <boost/lexical_cast.hpp>
#include <cmath>
#include <cstdint>
#include <cstring>
#include <limits>
#include <random>
#include <sstream>
#include <string>
#include <vector>

#include "orvo/base/decimal_comma.h"

namespace {

const char* const texts[] = {
    "",
    "0",
    "-0",
    "+0",
    "1",
    "-1",
    "+1",
    "--1",
    "+-1",
    "-",
    "+",
    " 1",
    "1 ",
    "\t1",
    "1\n",
    "1.5",
    "1,5",
    ".5",
    "5.",
    ".",
    "-.5",
    "1.2.3",
    "1e3",
    "1E3",
    "1e+3",
    "1e-3",
    "1e",
    "1e+",
    "1e-",
    "e3",
    "1e3.5",
    "1ee3",
    "1d3",
    "0x10",
    "0x1p3",
    "010",
    "1_000",
    "1.000",
    "1,000",
    "1'000",
    "1.234.567",
    "1e400",
    "-1e400",
    "1e-400",
    "1e39",
    "1e-50",
    "1.7976931348623157e308",
    "1.8e308",
    "5e-324",
    "2e-324",
    "inf",
    "INF",
    "-Inf",
    "+inf",
    "infinity",
    "-INFINITY",
    "infinit",
    "infinityx",
    "inf ",
    "nan",
    "NaN",
    "-nan",
    "+NAN",
    "nan()",
    "nan(12)",
    "-nan(x y)",
    "nan(",
    "nan)",
    "nanx",
    "nan(1",
    "na",
    "true",
    "1f",
    "1;",
    "32767",
    "32768",
    "-32768",
    "-32769",
    "65535",
    "65536",
    "-65535",
    "-65536",
    "2147483647",
    "2147483648",
    "-2147483648",
    "-2147483649",
    "4294967295",
    "4294967296",
    "-4294967295",
    "-4294967296",
    "9223372036854775807",
    "9223372036854775808",
    "-9223372036854775808",
    "-9223372036854775809",
    "18446744073709551615",
    "18446744073709551616",
    "-18446744073709551615",
    "-18446744073709551616",
    "99999999999999999999999",
    "000000000000000000000000000001",
};

/// What the text is as a T, sign of NaN and of -0 included, or "refused".
template <typename T, typename Read>
std::string Reading(const std::string& text, Read read)
{
    try {
        return base::ExactText(static_cast<T>(read(text)));
    } catch (const boost::bad_lexical_cast& error) {
        EXPECT_EQ(error.source_type(), typeid(std::string));
        EXPECT_EQ(error.target_type(), typeid(T));
        return "refused";
    }
}

template <typename T>
std::vector<std::string> Ours()
{
    std::vector<std::string> readings;
    for (const char* text : texts)
        readings.push_back(Reading<T>(text, base::ParseNumber<T>));
    // A NUL byte is a character like any other.
    readings.push_back(Reading<T>(std::string("1\0", 2), base::ParseNumber<T>));
    return readings;
}

template <typename T>
std::vector<std::string> Reference()
{
    const auto read = [](const std::string& text) { return boost::lexical_cast<T>(text); };
    std::vector<std::string> readings;
    for (const char* text : texts)
        readings.push_back(Reading<T>(text, read));
    readings.push_back("refused");
    return readings;
}

template <typename T>
class NumberText : public testing::Test
{
};

using Types = testing::Types<float, double, short, unsigned short, int, unsigned int, long, unsigned long, long long,
                             unsigned long long>;
TYPED_TEST_SUITE(NumberText, Types, );  // the last comma is for clang, which wants an argument for the macro's "..."

TYPED_TEST(NumberText, ReadsWhatLexicalCastReadsInTheClassicLocale)
{
    const std::vector<std::string> ours = Ours<TypeParam>();
    const std::vector<std::string> reference = Reference<TypeParam>();
    for (std::size_t i = 0; i < ours.size(); ++i)
        EXPECT_EQ(ours[i], reference[i]) << "`" << (i + 1 < ours.size() ? texts[i] : "1\\0") << "'";
}

TYPED_TEST(NumberText, WritesWhatLexicalCastWritesInTheClassicLocale)
{
    using Limits = std::numeric_limits<TypeParam>;
    for (const TypeParam value : {TypeParam(0), TypeParam(TypeParam(1) / TypeParam(3)), TypeParam(12345), Limits::min(),
                                  Limits::max(), Limits::lowest(), Limits::denorm_min(), Limits::infinity(),
                                  TypeParam(0 - Limits::infinity()), Limits::quiet_NaN()})
        EXPECT_EQ(base::ExactText(value), boost::lexical_cast<std::string>(value));
}

/// A double of random bits, so of every size: denormal, huge, infinite.
class RandomDoubles
{
public:
    double Next()
    {
        for (;;) {
            const std::uint64_t bits = generator_();
            double value;
            std::memcpy(&value, &bits, sizeof value);
            if (!std::isnan(value))
                return value;
        }
    }

private:
    std::mt19937_64 generator_{20240607};
};

TEST(ExactText, BringsEveryDoubleBack)
{
    RandomDoubles random;
    for (int i = 0; i < 20000; ++i) {
        const double value = random.Next();
        const std::string text = base::ExactText(value);
        ASSERT_EQ(text, boost::lexical_cast<std::string>(value));
        ASSERT_EQ(base::ParseNumber<double>(text), value) << text;
        const float single = static_cast<float>(value);
        ASSERT_EQ(base::ParseNumber<float>(base::ExactText(single)), single) << text;
    }
}

TEST(StreamText, HasSixDigits)
{
    const struct
    {
        double value;
        const char* text;
    } rows[] = {{0.5, "0.5"},       {1, "1"},        {-0.0, "-0"},         {1234567, "1.23457e+06"},
                {123456, "123456"}, {1e-7, "1e-07"}, {1 / 3., "0.333333"}, {NAN, "nan"},
                {-INFINITY, "-inf"}};
    for (const auto& row : rows)
        EXPECT_EQ(base::StreamText(row.value), row.text);

    EXPECT_EQ(base::StreamText(std::vector<double>{}), "");
    EXPECT_EQ(base::StreamText(std::vector<double>{0.5}), "0.5");
    EXPECT_EQ(base::StreamText(std::vector<double>{0.5, -1, 1e10}), "0.5, -1, 1e+10");
}

TEST(NumberTextUnderADecimalComma, IsTheSame)
{
    const std::vector<std::string> expected_doubles = Reference<double>();
    const std::vector<std::string> expected_ints = Reference<int>();
    const double big = 1234567.25;
    RandomDoubles random;
    const double wild = random.Next();
    const std::string wild_text = boost::lexical_cast<std::string>(wild);

    test::CDecimalComma world;
    // The world is what it says: here the plain means go wrong.
    std::ostringstream stream;
    stream << big;
    ASSERT_NE(stream.str().find(','), std::string::npos);

    EXPECT_EQ(base::ExactText(big), "1234567.25");
    EXPECT_EQ(base::ExactText(0.1f), "0.100000001");
    EXPECT_EQ(base::ExactText(1234567), "1234567");
    EXPECT_EQ(base::ExactText(wild), wild_text);
    EXPECT_EQ(base::ParseNumber<double>(wild_text), wild);
    EXPECT_EQ(base::StreamText(std::vector<double>{0.5, 1234}), "0.5, 1234");
    EXPECT_EQ(base::ParseNumbers("0.5, 1.25"), (std::vector<double>{0.5, 1.25}));
    EXPECT_EQ(Ours<double>(), expected_doubles);
    EXPECT_EQ(Ours<int>(), expected_ints);

    if (!world.InC())
        GTEST_SKIP() << "localedef could make no C locale with a decimal comma: checked under a C++ one only";
}

TEST(ParseNumbers, SplitsAtRunsOfBlanksTabsAndCommas)
{
    using Numbers = std::vector<double>;
    EXPECT_EQ(base::ParseNumbers(" 1.5 ,2"), (Numbers{1.5, 2}));
    EXPECT_EQ(base::ParseNumbers(",,1\t\t2,\t 3,"), (Numbers{1, 2, 3}));
    EXPECT_EQ(base::ParseNumbers(" ,\t"), Numbers{});
    EXPECT_EQ(base::ParseNumbers(""), Numbers{});
    for (const char* bad : {"1;2", "1, x", "1.5.2", "1\n2"})
        EXPECT_THROW(base::ParseNumbers(bad), boost::bad_lexical_cast) << bad;
    EXPECT_EQ(base::Tokens(" a b;;c", " ;"), (std::vector<std::string>{"a", "b", "c"}));
}

}  // namespace
