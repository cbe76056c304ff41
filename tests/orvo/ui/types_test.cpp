#include "ui/types.h"

#include <gtest/gtest.h>

#include <boost/lexical_cast.hpp>

#include "orvo/base/decimal_comma.h"

using ui::detail::text;

namespace {

/// "refused", or the text of what `source` is read as.
template <typename T>
std::string Through(const std::string& source)
{
    try {
        return text<T>::From(text<T>::Parse(source));
    } catch (const boost::bad_lexical_cast&) {
        return "refused";
    }
}

/// The type's name, and what it makes of each text.
template <typename T>
std::string All(const std::vector<std::string>& sources)
{
    std::string all = ui::var::types::name<T>() + ':';
    for (const std::string& source : sources)
        all += ' ' + Through<T>(source);
    return all;
}

}  // namespace

TEST(Types, TextIsReadAndWrittenExactlyEvenWhereTheDecimalPointIsAComma)
{
    const test::CDecimalComma comma;
    EXPECT_EQ(All<double>({"0.1", "1234567.25", "-NaN", "-inf", "0,5", ""}),
              "double: 0.10000000000000001 1234567.25 nan -inf refused refused");
    EXPECT_EQ(All<float>({"0.1", "-2.5e1", "1 "}), "float: 0.100000001 -25 refused");
    EXPECT_EQ(All<long>({"-9223372036854775808", "1.5"}), "int64: -9223372036854775808 refused");
    EXPECT_EQ(All<int>({"+0012", "1234567", "1.000", " 1"}), "int32: 12 1234567 refused refused");
    EXPECT_EQ(All<short>({"-32768", "32768"}), "int16: -32768 refused");
    EXPECT_EQ(All<unsigned long>({"18446744073709551615", "x"}), "uint64: 18446744073709551615 refused");
    EXPECT_EQ(All<unsigned int>({"4294967295", "4294967296", "0x10"}), "uint32: 4294967295 refused refused");
    EXPECT_EQ(All<unsigned short>({"65535", "65536"}), "uint16: 65535 refused");
    // A byte without a sign is a number, one with a sign the character itself.
    EXPECT_EQ(All<unsigned char>({"65", "255", "256", "-1", "A"}), "uint8: 65 255 refused refused refused");
    EXPECT_EQ(All<signed char>({"A", "\xFF", "65", ""}), "int8: A \xFF refused refused");
    EXPECT_EQ(All<bool>({"1", "trUe", "y", "Yes", "ON"}), "bool: TRUE TRUE TRUE TRUE TRUE");
    EXPECT_EQ(All<bool>({"0", "false", "N", "no", "oFF"}), "bool: FALSE FALSE FALSE FALSE FALSE");
    EXPECT_EQ(All<bool>({"", "2", "+1", "ye", " on"}), "bool: refused refused refused refused refused");
    const std::string odd("a\0 \n\xFF,", 6);
    EXPECT_EQ(Through<std::string>(odd), odd);
    EXPECT_EQ(ui::var::types::collection<std::string>::type_name(), std::string("collection<string>"));
}
