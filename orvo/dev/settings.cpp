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
    const std::vector<double> numbers = base::ParseNumbers(text);
    if (numbers.size() < 2)
        throw std::runtime_error("found \"" + text + "\", wanted two numbers");
    return {numbers[0], numbers[1]};
}

}  // namespace dev
