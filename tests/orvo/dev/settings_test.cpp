#include "dev/settings.h"

#include <gtest/gtest.h>

#include <boost/lexical_cast/bad_lexical_cast.hpp>
#include <stdexcept>

#include "orvo/base/decimal_comma.h"

TEST(Settings, PairsAreSplitAtAnyMixOfSeparators)
{
    const test::CDecimalComma comma;
    EXPECT_EQ(dev::ParsePair(",,1e3\t-.5,"), std::make_pair(1000.0, -0.5));
    EXPECT_EQ(dev::ParsePair(" 1.5 ,2 3"), std::make_pair(1.5, 2.0));
    for (const char* text : {"1, x", "x, 1", "1; 2", "1 2 three"})
        EXPECT_THROW(dev::ParsePair(text), boost::bad_lexical_cast) << text;
    for (const char* text : {"", " , ", "1"})
        EXPECT_THROW(dev::ParsePair(text), std::runtime_error) << text;
}
