#include "dev/pose.h"

#include <cstddef>
#include <stdexcept>
#include <vector>

#include "base/number_text.h"
#include "base/require.h"

namespace dev {

namespace {

/// Numbers before a faulty one are stored all the same, and the third token is missed only when it is its turn: so a
/// bad number throws, however short the text is.
template <typename T>
void Parse(const std::string& text, T* const (&fields)[3])
{
    const std::vector<std::string> tokens = base::Tokens(text, " \t,");
    for (std::size_t i = 0; i < 3; ++i) {
        ORVO_REQUIRE(i < tokens.size());
        try {
            *fields[i] = base::ParseNumber<T>(tokens[i]);
        } catch (const boost::bad_lexical_cast&) {
            throw std::runtime_error("[EE] TOrientation - Bad orientation: " + text);
        }
    }
}

}  // namespace

template <typename T>
TPosition<T>::TPosition(const std::string& text)
{
    Parse<T>(text, {&x, &y, &z});
}

template <typename T>
std::string TPosition<T>::string() const
{
    return base::StreamText({x, y, z});
}

template <typename T>
TOrientation<T>::TOrientation(const std::string& text)
{
    Parse<T>(text, {&yaw, &pitch, &roll});
}

template <typename T>
std::string TOrientation<T>::string() const
{
    return base::StreamText({yaw, pitch, roll});
}

template struct TPosition<double>;
template struct TOrientation<double>;

}  // namespace dev
