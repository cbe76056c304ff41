// Numbers as text, the same under every locale, C or C++.
#ifndef BASE_NUMBER_TEXT_H
#define BASE_NUMBER_TEXT_H

#include <boost/lexical_cast/bad_lexical_cast.hpp>
#include <string>
#include <vector>

#include "base/export.h"

namespace base {

/// A double as a default-configured output stream prints it in the classic locale: six significant digits, "1e-07",
/// "nan", "inf".
ORVO_DEV_API std::string StreamText(double value);

/// Several of them, joined by ", ".
ORVO_DEV_API std::string StreamText(const std::vector<double>& values);

/// A number printed with "%.*g" and the digits that bring it back exactly (17 for double, 9 for float), an integer in
/// decimal. Instantiated for float, double and the integer types from short to unsigned long long.
template <typename T>
ORVO_DEV_API std::string ExactText(T value);

/// The number that `text` holds as a whole: an optional sign, digits, and for floating point a fraction and an
/// exponent, or "inf", "infinity", "nan", "nan(...)" in any case. No blanks. An unsigned type accepts "-" and wraps
/// around. What is too small for a floating-point type becomes 0. Throws boost::bad_lexical_cast for anything else and
/// for a value outside the type: what boost::lexical_cast takes in the classic locale, nothing more. Instantiated for
/// the types of ExactText.
template <typename T>
ORVO_DEV_API T ParseNumber(const std::string& text);

/// The tokens of `text` between runs of the characters in `separators`; none of them is empty.
ORVO_DEV_API std::vector<std::string> Tokens(const std::string& text, const char* separators);

/// The numbers of a list as settings files hold it: split at blanks, tabs and commas. Throws as ParseNumber does.
ORVO_DEV_API std::vector<double> ParseNumbers(const std::string& text);

}  // namespace base

#endif
