#include "rig/fault.h"

#include <fmt/format.h>
#include <algorithm>

namespace host {

namespace {

constexpr std::size_t longest_value = 120;  // characters of a value that a message repeats

}  // namespace

TFault FaultFromText(std::size_t line, const std::string& section, const std::string& key, const std::string& text)
{
    static const std::string found = "found ";
    static const std::string wanted = ", wanted ";
    const auto split = text.find(wanted);
    if (text.compare(0, found.size(), found) != 0 || split == std::string::npos)
        return {line, section, key, text, {}, {}};
    return {line, section, key, text.substr(found.size(), split - found.size()), text.substr(split + wanted.size()),
            {}};
}

std::string Quoted(const std::string& value)
{
    if (value.size() <= longest_value)
        return fmt::format("\"{}\"", OneLine(value));
    // A value of any length may come from the file; cut it without cutting a UTF-8 character in two.
    std::size_t end = longest_value;
    while (end > 0 && (static_cast<unsigned char>(value[end]) & 0xC0) == 0x80)
        --end;
    return fmt::format("\"{}...\" ({} bytes)", OneLine(value.substr(0, end)), value.size());
}

std::string OneLine(const std::string& text)
{
    std::string line;
    line.reserve(text.size());
    for (const char c : text) {
        if (c == '\n')
            line += "; ";
        else if (static_cast<unsigned char>(c) < 0x20 || c == 0x7F)
            line += fmt::format("\\x{:02x}", static_cast<unsigned int>(c));
        else
            line += c;
    }
    return line;
}

std::string Text(const std::string& file, const TFault& fault)
{
    std::string text = fault.line > 0 ? fmt::format("{}:{}:", file, fault.line) : file + ":";
    if (!fault.section.empty())
        text += fmt::format(" [{}]", fault.section);
    if (!fault.key.empty())
        text += ' ' + fault.key;
    if (!fault.section.empty() || !fault.key.empty())
        text += ':';
    text += fault.wanted.empty() ? ' ' + fault.found : fmt::format(" found {}, wanted {}", fault.found, fault.wanted);
    if (!fault.suggestion.empty())
        text += fmt::format("; did you mean \"{}\"?", fault.suggestion);
    return OneLine(text);
}

void SortByLine(std::vector<TFault>& faults)
{
    std::stable_sort(faults.begin(), faults.end(), [](const TFault& a, const TFault& b) { return a.line < b.line; });
}

}  // namespace host
