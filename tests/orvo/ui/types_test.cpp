#include "ui/types.h"

#include <gtest/gtest.h>

#include <boost/lexical_cast.hpp>
#include <cmath>
#include <limits>
#include <vector>

#include "orvo/base/decimal_comma.h"

using ui::detail::text;

namespace {

template <typename T>
std::string From(T value)
{
    return text<T>::From(value);
}

template <typename T>
void ExpectRefused(const std::string& source)
{
    EXPECT_THROW(text<T>::Parse(source), boost::bad_lexical_cast)
        << ui::var::types::name<T>() << " \"" << source << '"';
}

/// What text<T> must bring back, and how it must agree with lexical_cast, which is a second implementation of the same
/// rules as long as the locale is the classic one.
template <typename T>
void ExpectRoundTrip()
{
    using Limits = std::numeric_limits<T>;
    for (const T value : {T(), T(1), T(65), Limits::min(), Limits::max(), Limits::lowest(), T(Limits::max() / 3)}) {
        EXPECT_EQ(text<T>::Parse(From(value)), value) << ui::var::types::name<T>() << ' ' << From(value);
        EXPECT_EQ(From(value), boost::lexical_cast<std::string>(value));
    }
    for (const char* source : {"0", "-0", "+12", "-1", "007", "65", "1.5", "", " 1", "1 ", "1,5", "x", "--1", "0x10",
                               "1e2", "99999999999999999999"}) {
        T wanted;
        if (boost::conversion::try_lexical_convert(source, wanted))
            EXPECT_EQ(text<T>::Parse(source), wanted) << ui::var::types::name<T>() << " \"" << source << '"';
        else
            ExpectRefused<T>(source);
    }
}

}  // namespace

TEST(Types, NamesOfValuesRangesAndCollections)
{
    using namespace ui::var::types;
    const struct
    {
        std::string found;
        std::string wanted;
    } rows[] = {{name<double>(), "double"},
                {name<float>(), "float"},
                {name<long>(), "int64"},
                {name<int>(), "int32"},
                {name<short>(), "int16"},
                {name<signed char>(), "int8"},
                {name<unsigned long>(), "uint64"},
                {name<unsigned int>(), "uint32"},
                {name<unsigned short>(), "uint16"},
                {name<unsigned char>(), "uint8"},
                {name<bool>(), "bool"},
                {name<std::string>(), "string"},
                {value<double>::type_name(), "value<double>"},
                {range<unsigned char>::type_name(), "range<uint8>"},
                {collection<std::string>::type_name(), "collection<string>"}};
    for (const auto& row : rows)
        EXPECT_EQ(row.found, row.wanted);
}

TEST(Types, NumbersAgreeWithTheGeneralConversionAndComeBackExactly)
{
    ExpectRoundTrip<double>();
    ExpectRoundTrip<float>();
    ExpectRoundTrip<long>();
    ExpectRoundTrip<int>();
    ExpectRoundTrip<short>();
    ExpectRoundTrip<unsigned long>();
    ExpectRoundTrip<unsigned int>();
    ExpectRoundTrip<unsigned short>();
}

TEST(Types, FloatingPointHasAllItsDigits)
{
    EXPECT_EQ(From(0.1), "0.10000000000000001");
    EXPECT_EQ(From(0.1F), "0.100000001");
    EXPECT_EQ(From(-10.0), "-10");
    EXPECT_EQ(From(std::numeric_limits<double>::quiet_NaN()), "nan");
    EXPECT_EQ(From(-std::numeric_limits<double>::quiet_NaN()), "nan");
    EXPECT_EQ(From(std::numeric_limits<double>::infinity()), "inf");
    EXPECT_EQ(From(-std::numeric_limits<float>::infinity()), "-inf");
    EXPECT_TRUE(std::isnan(text<double>::Parse("NaN")));
}

TEST(Types, BytesWithoutASignAreNumbers)
{
    using Byte = unsigned char;
    for (int value = 0; value < 256; ++value) {
        EXPECT_EQ(From(static_cast<Byte>(value)), std::to_string(value));
        EXPECT_EQ(text<Byte>::Parse(std::to_string(value)), value);
    }
    for (const char* source : {"256", "-1", "300", "A", "", "6 5", "1.0", "4294967296"})
        ExpectRefused<Byte>(source);
}

TEST(Types, BytesWithASignAreTheByteItself)
{
    for (int value = -128; value < 128; ++value) {
        const auto byte = static_cast<signed char>(value);
        EXPECT_EQ(From(byte), std::string(1, static_cast<char>(byte)));
        EXPECT_EQ(text<signed char>::Parse(From(byte)), byte);
    }
    ExpectRefused<signed char>("");
    ExpectRefused<signed char>("65");
}

TEST(Types, TruthHasFiveWordsOnEachSide)
{
    for (const char* yes : {"1", "true", "TRUE", "y", "Y", "Yes", "yEs", "on", "ON"})
        EXPECT_TRUE(text<bool>::Parse(yes)) << yes;
    for (const char* no : {"0", "false", "FALSE", "n", "N", "No", "off", "oFF"})
        EXPECT_FALSE(text<bool>::Parse(no)) << no;
    for (const char* neither : {"", "2", "-1", "+1", "01", "t", "ye", "yess", " on", "off "})
        ExpectRefused<bool>(neither);
    EXPECT_EQ(From(true), "TRUE");
    EXPECT_EQ(From(false), "FALSE");
}

TEST(Types, StringsPassThrough)
{
    const std::string odd("a\0 \n\xFF,", 6);
    EXPECT_EQ(From(odd), odd);
    EXPECT_EQ(text<std::string>::Parse(odd), odd);
    EXPECT_EQ(text<std::string>::Parse(""), "");
}

TEST(Types, TextIsTheSameWhereTheDecimalPointIsAComma)
{
    const test::CDecimalComma comma;
    EXPECT_EQ(From(1234567.25), "1234567.25");
    EXPECT_EQ(From(0.5F), "0.5");
    EXPECT_EQ(From(1234567L), "1234567");
    EXPECT_EQ(From(static_cast<unsigned short>(65535)), "65535");
    EXPECT_EQ(text<double>::Parse("1234567.25"), 1234567.25);
    EXPECT_EQ(text<float>::Parse("-2.5e1"), -25.0F);
    EXPECT_EQ(text<long>::Parse("1234567"), 1234567L);
    ExpectRefused<double>("0,5");
    ExpectRefused<int>("1.000");
}
