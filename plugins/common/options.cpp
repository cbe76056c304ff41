#include "common/options.h"

#include <algorithm>
#include <stdexcept>

#include "base/number_text.h"

namespace ops {

namespace {

std::string Join(const std::vector<std::string>& texts)
{
    std::string joined;
    for (std::size_t i = 0; i < texts.size(); ++i)
        joined += (i == 0 ? "" : i + 1 < texts.size() ? ", " : " or ") + texts[i];
    return joined;
}

std::string Range(double low, double high)
{
    return "from " + base::StreamText(low) + " to " + base::StreamText(high);
}

}  // namespace

COptions::COptions(const std::string& operation, const std::map<std::string, std::string>& options,
                   const std::vector<std::string>& known)
    : operation_(operation), options_(options)
{
    std::vector<std::string> all = known;
    all.push_back("fps_factor");
    for (const auto& option : options) {
        if (std::find(all.begin(), all.end(), option.first) != all.end())
            continue;
        const bool is_positional = !option.first.empty() && option.first[0] == '$';
        throw std::runtime_error(
            operation + ": found " +
            (is_positional ? "value " + option.second + " without a name" : "option " + option.first) + ", wanted " +
            Join(all));
    }
}

std::string COptions::Text(const std::string& name, const std::string& fallback) const
{
    const auto found = options_.find(name);
    return found == options_.end() ? fallback : found->second;
}

double COptions::Number(const std::string& name, double fallback, double low, double high) const
{
    if (!Has(name))
        return fallback;
    try {
        const double value = base::ParseNumber<double>(options_.at(name));
        if (value >= low && value <= high)
            return value;
    } catch (const boost::bad_lexical_cast&) {
        // Refused like a value out of range.
    }
    Refuse(name, "a number " + Range(low, high));
}

int COptions::Whole(const std::string& name, int fallback, int low, int high) const
{
    return Has(name) ? Wholes(name, 1, "", low, high, "a whole number " + Range(low, high))[0] : fallback;
}

std::vector<int> COptions::Wholes(const std::string& name, std::size_t count, const char* separators, int low, int high,
                                  const std::string& wanted) const
{
    std::vector<int> values;
    for (const std::string& token : base::Tokens(options_.at(name), separators)) {
        try {
            const int value = base::ParseNumber<int>(token);
            if (value < low || value > high)
                Refuse(name, wanted);
            values.push_back(value);
        } catch (const boost::bad_lexical_cast&) {
            Refuse(name, wanted);
        }
    }
    if (values.size() != count)
        Refuse(name, wanted);
    return values;
}

std::size_t COptions::Choice(const std::string& name, const std::vector<std::string>& names, std::size_t fallback) const
{
    if (!Has(name))
        return fallback;
    const auto found = std::find(names.begin(), names.end(), options_.at(name));
    if (found == names.end())
        Refuse(name, Join(names));
    return static_cast<std::size_t>(found - names.begin());
}

void COptions::Refuse(const std::string& name, const std::string& wanted) const
{
    throw std::runtime_error(operation_ + ": option " + name + ": found " + Text(name, "nothing") + ", wanted " +
                             wanted);
}

}  // namespace ops
