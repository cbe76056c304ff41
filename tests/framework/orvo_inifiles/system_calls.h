// Stands between the library and the operating system: counts the calls that files are read and saved with, and makes
// one of them go wrong. Process-wide, one thread.
#ifndef TESTS_INIFILES_SYSTEM_CALLS_H
#define TESTS_INIFILES_SYSTEM_CALLS_H

#include <string>
#include <vector>

namespace test {

enum class Trouble
{
    None,      ///< calls are counted alone
    OneFails,  ///< the call of the given number fails with EIO
    AllFail,   ///< that call and all after it
    Exit,      ///< the process ends at that call, before it does anything
    Hamper     ///< every other call is interrupted by a signal, and what is written or read goes byte by byte
};

/// From here on the calls are numbered from 1, and `trouble` comes at number `at`.
void Arm(Trouble trouble, int at = 0);

/// Back to normal. The names of the calls since Arm(), in order.
std::vector<std::string> Disarm();

}  // namespace test

#endif
