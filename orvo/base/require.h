// Preconditions that stop the process, in release builds as well.
#ifndef BASE_REQUIRE_H
#define BASE_REQUIRE_H

#include <boost/config.hpp>
#include <boost/current_function.hpp>
#include <cstdlib>
#include <iostream>

namespace base {

/// Writes "FILE:LINE: FUNCTION: required: CONDITION" to standard error and aborts.
BOOST_NORETURN inline void RequirementFailed(const char* condition, const char* function, const char* file, long line)
{
    std::cerr << file << ':' << line << ": " << function << ": required: " << condition << std::endl;
    std::abort();
}

}  // namespace base

/// Stops the process unless the condition holds. For errors of the program that calls, where going on would mean to
/// work with data that does not exist; never for data that comes from outside unchecked.
#define ORVO_REQUIRE(condition)         \
    ((condition) ? static_cast<void>(0) \
                 : ::base::RequirementFailed(#condition, BOOST_CURRENT_FUNCTION, __FILE__, __LINE__))

#endif
