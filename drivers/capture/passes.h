// The key "LOOP" of sources that can begin again.
#ifndef CAPTURE_PASSES_H
#define CAPTURE_PASSES_H

#include <cstdint>
#include <string>

#include "base/number_text.h"

namespace capture {

/// What ParsePasses takes, for a TFault.
constexpr const char* passes_wanted = "TRUE, FALSE or a number of passes from 1";

/// How often a source runs through what it has: "TRUE" gives 0, without end; "FALSE" gives 1; a number of at most 18
/// digits, from 1, itself. False, with `passes` as it was, for anything else.
inline bool ParsePasses(const std::string& text, std::uint64_t* passes)
{
    if (text == "TRUE") {
        *passes = 0;
        return true;
    }
    if (text == "FALSE") {
        *passes = 1;
        return true;
    }
    if (text.empty() || text.size() > 18 || text.find_first_not_of("0123456789") != std::string::npos)
        return false;
    const std::uint64_t number = base::ParseNumber<unsigned long long>(text);
    if (number == 0)
        return false;
    *passes = number;
    return true;
}

}  // namespace capture

#endif
