#include "base/number_text.h"

#include <boost/throw_exception.hpp>
#include <cmath>
#include <limits>
#include <locale>
#include <sstream>
#include <type_traits>
#include <typeinfo>

namespace base {
namespace {

/// A floating-point number as "%.*g" prints it in the classic locale.
template <typename T>
std::string FloatText(T value, int digits)
{
    std::ostringstream stream;
    stream.imbue(std::locale::classic());
    stream.precision(digits);
    stream << value;
    return stream.str();
}

template <typename T>
std::string ExactTextOf(T value, std::true_type /*floating point*/)
{
    return FloatText(value, std::numeric_limits<T>::max_digits10);
}

template <typename T>
std::string ExactTextOf(T value, std::false_type)
{
    return std::to_string(value);
}

bool SameWord(const std::string& text, std::size_t at, const char* lower)
{
    for (; *lower != '\0'; ++at, ++lower)
        if (at >= text.size() || (text[at] != *lower && text[at] != *lower - 'a' + 'A'))
            return false;
    return true;
}

/// "nan", "nan(anything)", "inf" and "infinity", which a stream does not read.
template <typename T>
bool ParseWord(const std::string& text, T& value)
{
    const bool minus = !text.empty() && text[0] == '-';
    const std::size_t at = minus || (!text.empty() && text[0] == '+') ? 1 : 0;
    const std::size_t length = text.size() - at;

    if (SameWord(text, at, "nan")) {
        const bool payload = length >= 5 && text[at + 3] == '(' && text.back() == ')';
        if (length != 3 && !payload)
            return false;
        value = std::numeric_limits<T>::quiet_NaN();
    } else if ((length == 3 && SameWord(text, at, "inf")) || (length == 8 && SameWord(text, at, "infinity"))) {
        value = std::numeric_limits<T>::infinity();
    } else {
        return false;
    }
    value = std::copysign(value, minus ? T(-1) : T(1));
    return true;
}

template <typename T>
bool Parse(const std::string& text, T& value, std::true_type /*floating point*/)
{
    if (ParseWord(text, value))
        return true;

    std::istringstream stream(text);
    stream.imbue(std::locale::classic());
    stream.unsetf(std::ios::skipws);
    if (!(stream >> value) || stream.get() != std::istringstream::traits_type::eof())
        return false;
    // Some streams take "1e" and "1e+" for 1.
    const char last = text.back();
    return last != 'e' && last != 'E' && last != '+' && last != '-';
}

template <typename T>
bool Parse(const std::string& text, T& value, std::false_type)
{
    using TMagnitude = typename std::make_unsigned<T>::type;

    const bool minus = !text.empty() && text[0] == '-';
    const std::size_t first = minus || (!text.empty() && text[0] == '+') ? 1 : 0;
    if (first == text.size())
        return false;

    const unsigned long long most = std::is_signed<T>::value && minus
                                        ? static_cast<TMagnitude>(std::numeric_limits<T>::max()) + 1ull
                                        : static_cast<TMagnitude>(std::numeric_limits<T>::max());
    unsigned long long magnitude = 0;
    for (std::size_t i = first; i < text.size(); ++i) {
        if (text[i] < '0' || text[i] > '9')
            return false;
        const unsigned int digit = static_cast<unsigned int>(text[i] - '0');
        if (magnitude > (most - digit) / 10)
            return false;
        magnitude = magnitude * 10 + digit;
    }
    // Negated as an unsigned number: right for the smallest value, and the wrap of an unsigned type is wanted.
    value = static_cast<T>(static_cast<TMagnitude>(minus ? 0 - magnitude : magnitude));
    return true;
}

}  // namespace

std::string StreamText(double value)
{
    return FloatText(value, 6);
}

std::string StreamText(const std::vector<double>& values)
{
    std::string text;
    for (const double value : values) {
        if (!text.empty())
            text += ", ";
        text += StreamText(value);
    }
    return text;
}

template <typename T>
std::string ExactText(T value)
{
    return ExactTextOf(value, std::is_floating_point<T>());
}

template <typename T>
T ParseNumber(const std::string& text)
{
    T value = T();
    if (!Parse(text, value, std::is_floating_point<T>()))
        boost::throw_exception(boost::bad_lexical_cast(typeid(std::string), typeid(T)));
    return value;
}

std::vector<std::string> Tokens(const std::string& text, const char* separators)
{
    std::vector<std::string> tokens;
    std::size_t end = 0;
    for (;;) {
        const std::size_t begin = text.find_first_not_of(separators, end);
        if (begin == std::string::npos)
            return tokens;
        end = text.find_first_of(separators, begin);
        tokens.push_back(text.substr(begin, end - begin));
        if (end == std::string::npos)
            return tokens;
    }
}

std::vector<double> ParseNumbers(const std::string& text)
{
    std::vector<double> numbers;
    for (const std::string& token : Tokens(text, " \t,"))
        numbers.push_back(ParseNumber<double>(token));
    return numbers;
}

#define BASE_NUMBER_TEXT_OF(type)                            \
    template ORVO_DEV_API std::string ExactText<type>(type); \
    template ORVO_DEV_API type ParseNumber<type>(const std::string&);

BASE_NUMBER_TEXT_OF(float)
BASE_NUMBER_TEXT_OF(double)
BASE_NUMBER_TEXT_OF(short)
BASE_NUMBER_TEXT_OF(unsigned short)
BASE_NUMBER_TEXT_OF(int)
BASE_NUMBER_TEXT_OF(unsigned int)
BASE_NUMBER_TEXT_OF(long)
BASE_NUMBER_TEXT_OF(unsigned long)
BASE_NUMBER_TEXT_OF(long long)
BASE_NUMBER_TEXT_OF(unsigned long long)

#undef BASE_NUMBER_TEXT_OF

}  // namespace base
