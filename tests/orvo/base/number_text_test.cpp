#include "base/number_text.h"

#include <gtest/gtest.h>

#include <boost/lexical_cast.hpp>
#include <cmath>
#include <cstdint>
#include <cstring>
#include <limits>
#include <random>
#include <sstream>

#include "orvo/base/decimal_comma.h"

namespace {

// clang-format off
const char* const texts[] = {
    "", "0", "-0", "+0", "1", "-1", "+1", "--1", "+-1", "-", "+", " 1", "1 ", "\t1", "1\n", "1.5", "1,5", ".5", "5.",
    ".", "-.5", "1e3", "1e-3", "1e", "1e+", "e3", "1e3.5", "0x10", "0x1p3", "1.000", "1,000", "1e400", "1e-400",
    "1e39", "1e-50", "1.7976931348623157e308", "1.8e308", "5e-324", "2e-324", "inf", "-Inf", "+inf", "infinity",
    "infinit", "inf ", "nan", "NaN", "-nan", "nan()", "-nan(x y)", "nan(", "nan(1", "na", "32767", "32768", "-32768",
    "-32769", "65535", "65536", "-65536", "2147483647", "2147483648", "-2147483648", "-2147483649", "4294967295",
    "4294967296", "-4294967295", "-4294967296", "9223372036854775807", "9223372036854775808", "-9223372036854775808",
    "-9223372036854775809", "18446744073709551615", "18446744073709551616", "-18446744073709551615",
    "-18446744073709551616", "99999999999999999999999", "000000000000000000000000000001"
};
// clang-format on

/// What the texts are as a T, sign of NaN and of -0 included, or "refused".
template <typename T, typename Read>
std::vector<std::string> Readings(Read read)
{
    std::vector<std::string> readings;
    for (const char* text : texts) {
        try {
            readings.push_back(std::string(text) + " is " + base::ExactText(static_cast<T>(read(std::string(text)))));
        } catch (const boost::bad_lexical_cast& error) {
            EXPECT_EQ(error.target_type(), typeid(T));
            readings.push_back(std::string(text) + " is refused");
        }
    }
    return readings;
}

template <typename T>
std::vector<std::string> Reference()
{
    return Readings<T>([](const std::string& text) { return boost::lexical_cast<T>(text); });
}

template <typename T>
class NumberText : public testing::Test
{
};

using Types = testing::Types<float, double, short, unsigned short, int, unsigned int, long, unsigned long, long long,
                             unsigned long long>;
TYPED_TEST_SUITE(NumberText, Types, );  // the last comma is for clang, which wants an argument for the macro's "..."

TYPED_TEST(NumberText, ReadsAndWritesAsLexicalCastDoesInTheClassicLocale)
{
    using Limits = std::numeric_limits<TypeParam>;
    EXPECT_EQ(Readings<TypeParam>(base::ParseNumber<TypeParam>), Reference<TypeParam>());
    EXPECT_THROW(base::ParseNumber<TypeParam>(std::string("1\0", 2)), boost::bad_lexical_cast);
    for (const TypeParam value : {TypeParam(0), TypeParam(TypeParam(1) / TypeParam(3)), Limits::min(), Limits::max(),
                                  Limits::lowest(), Limits::denorm_min(), Limits::infinity(), Limits::quiet_NaN()})
        EXPECT_EQ(base::ExactText(value), boost::lexical_cast<std::string>(value));
}

TEST(ExactText, BringsEveryDoubleBack)
{
    std::mt19937_64 generator(20240607);
    for (int i = 0; i < 20000; ++i) {
        const std::uint64_t bits = generator();  // so of every size: denormal, huge, infinite
        double value;
        std::memcpy(&value, &bits, sizeof value);
        if (std::isnan(value))
            continue;
        const std::string text = base::ExactText(value);
        ASSERT_EQ(text, boost::lexical_cast<std::string>(value));
        ASSERT_EQ(base::ParseNumber<double>(text), value) << text;
        const float single = static_cast<float>(value);
        ASSERT_EQ(base::ParseNumber<float>(base::ExactText(single)), single) << text;
    }
}

TEST(NumberTextUnderADecimalComma, IsTheSame)
{
    const std::vector<std::string> doubles = Reference<double>();
    const std::vector<std::string> ints = Reference<int>();
    const test::CDecimalComma world;
    std::ostringstream stream;
    stream << 1234567.25;
    ASSERT_NE(stream.str().find(','), std::string::npos) << "here the plain means must go wrong";

    EXPECT_EQ(base::ExactText(1234567.25), "1234567.25");
    EXPECT_EQ(base::ExactText(1234567), "1234567");
    EXPECT_EQ(base::StreamText(std::vector<double>{}), "");
    EXPECT_EQ(base::StreamText(std::vector<double>{1 / 3., -0.0, 1234567, NAN}), "0.333333, -0, 1.23457e+06, nan");
    EXPECT_EQ(Readings<double>(base::ParseNumber<double>), doubles);
    EXPECT_EQ(Readings<int>(base::ParseNumber<int>), ints);

    using Numbers = std::vector<double>;
    EXPECT_EQ(base::ParseNumbers(",,1.5\t\t2,\t 3,"), (Numbers{1.5, 2, 3}));
    EXPECT_EQ(base::ParseNumbers(" ,\t"), Numbers{});
    for (const char* bad : {"1;2", "1, x", "1.5.2", "1\n2"})
        EXPECT_THROW(base::ParseNumbers(bad), boost::bad_lexical_cast) << bad;

    if (!world.InC())
        GTEST_SKIP() << "localedef could make no C locale with a decimal comma: checked under a C++ one only";
}

}  // namespace
