#include "dev/settings.h"

#include <gtest/gtest.h>

#include <boost/lexical_cast/bad_lexical_cast.hpp>
#include <stdexcept>

#include "orvo/base/decimal_comma.h"
#include "orvo/dev/settings_file.h"

TEST(Settings, AMissingKeyMeetsOneOfThreePolicies)
{
    test::SettingsFile file(test::Keys{{"PRESENT", "here"}});
    EXPECT_EQ(file.ini.Value<std::string>("PRESENT"), "here");
    EXPECT_EQ(file.ini.Value<std::string>("PRESENT", "default"), "here");
    std::string value = "before";
    EXPECT_TRUE(file.ini.Get("PRESENT", &value));
    EXPECT_EQ(value, "here");

    try {
        file.ini.Value<std::string>("FB");
        ADD_FAILURE() << "a required key";
    } catch (const std::runtime_error& error) {
        EXPECT_EQ(error.what(), "`FB' not found in " + file.ini.FileName().string());
    }

    testing::internal::CaptureStdout();
    EXPECT_FALSE(file.ini.Get("OPTIONAL", &value));
    EXPECT_NE(testing::internal::GetCapturedStdout().find("OPTIONAL"), std::string::npos);
    EXPECT_EQ(value, "here");

    const kt::ini::INIFile& read_only = file.ini;
    EXPECT_EQ(read_only.Value<std::string>("DEFAULTED", "0.0, 0.0"), "0.0, 0.0");
    file.ini.Set<std::string>("SET", "1");
    EXPECT_EQ(file.Content(), (test::Keys{{"PRESENT", "here"}, {"DEFAULTED", "0.0, 0.0"}, {"SET", "1"}}));
}

TEST(Settings, PairsAreSplitAtAnyMixOfSeparators)
{
    const test::CDecimalComma comma;
    const struct
    {
        const char* text;
        double first, second;
    } rows[] = {{"1, 2", 1, 2}, {" 1.5 ,2", 1.5, 2}, {",,1e3\t-.5,", 1000, -0.5}, {"1 2 3", 1, 2}};
    for (const auto& row : rows) {
        const auto pair = dev::ParsePair(row.text);
        EXPECT_EQ(pair.first, row.first) << row.text;
        EXPECT_EQ(pair.second, row.second) << row.text;
    }
    for (const char* text : {"1, x", "x, 1", "1; 2", "1 2 three"})
        EXPECT_THROW(dev::ParsePair(text), boost::bad_lexical_cast) << text;
    for (const char* text : {"", " , ", "1"})
        EXPECT_THROW(dev::ParsePair(text), std::runtime_error) << text;
}
