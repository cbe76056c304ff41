// A world that writes 1.234.567,5: for tests of texts that must not depend on the locale.
#ifndef TESTS_BASE_DECIMAL_COMMA_H
#define TESTS_BASE_DECIMAL_COMMA_H

#include <boost/filesystem/operations.hpp>
#include <clocale>
#include <cstdlib>
#include <fstream>
#include <locale>
#include <string>

namespace test {

/// While it lives, the C++ global locale has a decimal comma and grouped thousands, and so has the number category of
/// the C locale, where localedef (of libc-bin) can make one into a temporary folder: nothing needs to be installed.
/// Process-wide, so one at a time and one thread.
class CDecimalComma
{
public:
    CDecimalComma() : old_cpp_(std::locale::global(std::locale(std::locale::classic(), new Punctuation)))
    {
        made_ = boost::filesystem::temp_directory_path() / boost::filesystem::unique_path("orvo-locale-%%%%%%%%");
        boost::filesystem::create_directory(made_);
        std::ofstream((made_ / "source").string()) << "LC_NUMERIC\ndecimal_point \",\"\nthousands_sep \".\"\n"
                                                      "grouping 3;3\nEND LC_NUMERIC\n";
        // It warns of the categories that are not there, so its result says nothing: InC() looks.
        const std::string command = "cd '" + made_.string() + "' && localedef -c -i source ./comma >/dev/null 2>&1";
        static_cast<void>(std::system(command.c_str()) + setenv("LOCPATH", made_.c_str(), 1));
        std::setlocale(LC_NUMERIC, "comma");
    }

    ~CDecimalComma()
    {
        std::setlocale(LC_NUMERIC, "C");
        std::locale::global(old_cpp_);
        unsetenv("LOCPATH");
        boost::system::error_code ignored;
        boost::filesystem::remove_all(made_, ignored);
    }

    CDecimalComma(const CDecimalComma&) = delete;
    CDecimalComma& operator=(const CDecimalComma&) = delete;

    /// Whether the C locale follows too.
    bool InC() const { return std::localeconv()->decimal_point == std::string(","); }

private:
    struct Punctuation : std::numpunct<char>
    {
        char do_decimal_point() const override { return ','; }
        char do_thousands_sep() const override { return '.'; }
        std::string do_grouping() const override { return "\3"; }
    };

    std::locale old_cpp_;
    boost::filesystem::path made_;
};

}  // namespace test

#endif
