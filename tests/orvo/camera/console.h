// What the library writes to standard output, caught for a test.
#ifndef TESTS_CAMERA_CONSOLE_H
#define TESTS_CAMERA_CONSOLE_H

#include <iostream>
#include <sstream>
#include <string>

namespace test {

/// Catches standard output while it lives.
class CConsole
{
public:
    CConsole() : old_(std::cout.rdbuf(text_.rdbuf())) {}
    ~CConsole() { std::cout.rdbuf(old_); }

    CConsole(const CConsole&) = delete;
    CConsole& operator=(const CConsole&) = delete;

    /// What was written since the last call.
    std::string Take()
    {
        const std::string text = text_.str();
        text_.str(std::string());
        return text;
    }

private:
    std::ostringstream text_;
    std::streambuf* old_;
};

}  // namespace test

#endif
