#include "dev/settings.h"

#include <stdexcept>
#include <vector>

#include "base/number_text.h"

namespace kt {
namespace ini {

template std::string INIFile::Value<std::string>(const std::string&) const;
template std::string INIFile::Value<std::string>(const std::string&, const std::string&) const;
template bool INIFile::Get<std::string>(const std::string&, std::string*) const;
template void INIFile::Set<std::string>(const std::string&, const std::string&);

}  // namespace ini
}  // namespace kt

namespace dev {

std::pair<double, double> ParsePair(const std::string& text)
{
    const std::vector<std::string> tokens = base::Tokens(text, " \t,");
    if (tokens.size() < 2)
        throw std::runtime_error("found \"" + text + "\", wanted two numbers");
    const double first = base::ParseNumber<double>(tokens[0]);
    return {first, base::ParseNumber<double>(tokens[1])};
}

}  // namespace dev
