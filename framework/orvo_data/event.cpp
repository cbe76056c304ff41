#include "orvo_data/event.h"

#include <algorithm>
#include <cstdint>
#include <stdexcept>

namespace data {
namespace {

using boost::posix_time::time_duration;

const struct
{
    const char* text;
    boost::date_time::special_values value;
} special_keys[] = {{"not-a-date-time", boost::date_time::not_a_date_time},
                    {"+infinity", boost::date_time::pos_infin},
                    {"-infinity", boost::date_time::neg_infin}};

/// In decimal, with leading zeros up to `width` digits.
std::string Digits(std::uint64_t value, std::size_t width)
{
    const std::string digits = std::to_string(value);
    return std::string(width - std::min(width, digits.size()), '0') + digits;
}

std::string KeyText(const time_duration& key)
{
    for (const auto& special : special_keys)
        if (key.is_special() && key == time_duration(special.value))
            return special.text;
    const std::int64_t ticks = key.total_microseconds();
    // Negated without a sign, because the range of negative times is wider than that of positive ones.
    const std::uint64_t us = ticks < 0 ? 0 - static_cast<std::uint64_t>(ticks) : static_cast<std::uint64_t>(ticks);
    const std::uint64_t seconds = us / 1000000;
    return (ticks < 0 ? "-" : "") + Digits(seconds / 3600, 2) + ':' + Digits(seconds / 60 % 60, 2) + ':' +
           Digits(seconds % 60, 2) + '.' + Digits(us % 1000000, 6);
}

/// Reads any text as if it were a key; from one that is none comes a key of another text, which ParseKey finds out.
time_duration ReadKey(const std::string& text)
{
    for (const auto& special : special_keys)
        if (text == special.text)
            return time_duration(special.value);
    const bool negative = !text.empty() && text[0] == '-';
    std::uint64_t fields[4] = {};  // hours, minutes, seconds, microseconds
    std::size_t field = 0;
    for (std::size_t i = negative ? 1 : 0; i < text.size(); ++i)
        if (text[i] == ':' || text[i] == '.')
            field = std::min<std::size_t>(field + 1, 3);
        else
            fields[field] = fields[field] * 10 + static_cast<std::uint64_t>(text[i] - '0');
    const std::uint64_t us = ((fields[0] * 60 + fields[1]) * 60 + fields[2]) * 1000000 + fields[3];
    return boost::posix_time::microseconds(static_cast<std::int64_t>(negative ? 0 - us : us));
}

std::string Found(const std::string& text)
{
    return "found '" + text.substr(0, 80) + "', wanted ";
}

time_duration ParseKey(const std::string& text)
{
    const time_duration key = ReadKey(text);
    if (KeyText(key) != text)
        throw std::invalid_argument(Found(text) +
                                    "a time like 00:00:01.250000, not-a-date-time, +infinity or -infinity");
    return key;
}

/// Bytes beyond ASCII are parts of letters.
bool IsBlankOrControl(char c)
{
    return (c >= 0 && c <= ' ') || c == '\x7f';
}

}  // namespace

CEvent::CEvent(const std::string& id, const time_duration& key, const std::string& text) : key_(key)
{
    if (id.empty() || std::any_of(id.begin(), id.end(), IsBlankOrControl))
        throw std::invalid_argument(Found(id) + "an event identifier without blanks");
    if (text.find_first_of("\r\n") != std::string::npos)
        throw std::invalid_argument(Found(text) + "an event text without line ends");
    const std::string line = KeyText(key) + ' ' + id + ' ' + text;
    body_ = new (line.size()) TBody(id, line);
}

CEvent CEvent::Parse(const std::string& line)
{
    const std::size_t id = line.find(' ');
    const std::size_t text = id == std::string::npos ? id : line.find(' ', id + 1);
    if (text == std::string::npos)
        throw std::invalid_argument(Found(line) + "'<key> <id> <text>'");
    return CEvent(line.substr(id + 1, text - id - 1), ParseKey(line.substr(0, id)), line.substr(text + 1));
}

std::string CEvent::Text() const
{
    std::string line;
    const std::size_t id = GetString(line).find(' ') + 1;
    return line.substr(id + ID().size() + 1);
}

CEvent::TBody::TBody(const std::string& event_id, const std::string& line) : id(event_id), line_size(line.size())
{
    line.copy(reinterpret_cast<char*>(this + 1), line.size());
}

}  // namespace data
