#include "rig/nearest.h"

#include <gtest/gtest.h>

namespace {

TEST(Nearest, CountsSingleChangesOfCharacters)
{
    EXPECT_EQ(host::EditDistance("", "abc"), 3u);
    EXPECT_EQ(host::EditDistance("Blurr", "Blur"), 1u);
    EXPECT_EQ(host::EditDistance("LENGHT", "LENGTH"), 1u);  // neighbours swapped
    EXPECT_EQ(host::EditDistance("kitten", "sitting"), 3u);
    EXPECT_EQ(host::EditDistance("blur", "BLUR"), 0u);
}

TEST(Nearest, SuggestsNothingThatIsFar)
{
    const std::vector<std::string> names = {"Blur", "Crop", "Resize", "Undistort"};
    EXPECT_EQ(host::Nearest("resise", names), "Resize");
    EXPECT_EQ(host::Nearest("Undistrot", names), "Undistort");
    EXPECT_EQ(host::Nearest("Rotate", names), "");
    EXPECT_EQ(host::Nearest("x", names), "");
    EXPECT_EQ(host::Nearest("", names), "");
    EXPECT_EQ(host::Nearest("b", {"a", "c"}), "a");  // the first of several
    EXPECT_EQ(host::Nearest(std::string(100000, 'x'), {std::string(100000, 'x')}), "");
}

}  // namespace
