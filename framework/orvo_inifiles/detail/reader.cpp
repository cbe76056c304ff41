#include "orvo_inifiles/detail/reader.h"

#include <algorithm>
#include <cstring>

namespace kt {
namespace ini {
namespace {

using boost::string_view;
using detail::none;

constexpr std::size_t max_quoted = 40;

/// The text as a fault shows it: short, on one line, and not cut inside a UTF-8 character.
std::string Quoted(string_view text)
{
    std::size_t size = std::min(text.size(), max_quoted);
    while (size < text.size() && size > 0 && (text[size] & 0xc0) == 0x80)
        --size;
    std::string quoted = text.substr(0, size).to_string();
    for (char& c : quoted)
        if (static_cast<unsigned char>(c) < ' ' || c == 0x7f)
            c = '?';
    return "`" + quoted + (size < text.size() ? "...'" : "'");
}

/// Without blanks and tabs at its ends. Of nothing but blanks, the empty end is left.
string_view Trimmed(string_view text)
{
    const char* begin = text.data();
    const char* end = begin + text.size();
    while (begin != end && detail::IsBlank(*begin))
        ++begin;
    while (begin != end && detail::IsBlank(end[-1]))
        --end;
    return {begin, static_cast<std::size_t>(end - begin)};
}

std::size_t Find(string_view text, char c)
{
    const void* const found = text.empty() ? nullptr : std::memchr(text.data(), c, text.size());
    return found == nullptr ? string_view::npos
                            : static_cast<std::size_t>(static_cast<const char*>(found) - text.data());
}

}  // namespace

std::vector<TFault> CReader::Read()
{
    const string_view bytes(document_.bytes_.data.get(), document_.bytes_.size);
    std::size_t position = FindText();
    // Mostly there is none of either, and then no line needs a look.
    has_nul_ = Find(bytes, '\0') != string_view::npos;
    has_return_ = Find(bytes, '\r') != string_view::npos;
    // No more keys than equals signs: an upper bound that holds well, so that no list moves while it is filled.
    const std::size_t keys = static_cast<std::size_t>(std::count(bytes.begin(), bytes.end(), '='));
    document_.entries_.reserve(keys);
    document_.hashes_.reserve(keys);

    while (position < bytes.size()) {
        ++line_;
        const string_view rest = bytes.substr(position);
        const std::size_t size = Find(rest, '\n');
        if (size == string_view::npos) {
            ReadLine(rest);
            break;
        }
        const bool is_crlf = has_return_ && size > 0 && rest[size - 1] == '\r';
        ReadLine(rest.substr(0, is_crlf ? size - 1 : size));
        position += size + 1;
    }
    return std::move(faults_);
}

/// Where the text begins: behind a byte-order mark of UTF-8, and at the end when the file is no text of ours at all.
std::size_t CReader::FindText()
{
    const string_view bytes(document_.bytes_.data.get(), document_.bytes_.size);
    if (bytes.starts_with("\xff\xfe") || bytes.starts_with("\xfe\xff")) {
        line_ = 1;
        Fault("found UTF-16 text, wanted UTF-8");
        return bytes.size();
    }
    if (bytes.starts_with("\xef\xbb\xbf"))
        document_.text_begin_ = 3;
    return document_.text_begin_;
}

void CReader::ReadLine(string_view line)
{
    if (has_nul_ || has_return_) {
        const std::string fault = ByteFault(line);
        if (!fault.empty()) {
            Fault(fault);
            return;
        }
    }
    const string_view text = Trimmed(line);
    if (text.empty() || text[0] == ';' || text[0] == '#')
        return;
    if (text[0] == '[')
        ReadHeader(text);
    else
        ReadEntry(line);
}

void CReader::ReadHeader(string_view line)
{
    section_ = none;
    passing_over_ = true;

    const std::size_t end = Find(line, ']');
    if (end == string_view::npos) {
        Fault("found " + Quoted(line) + ", wanted a section's name between `[' and `]'");
        return;
    }
    const string_view name = Trimmed(line.substr(1, end - 1));
    const string_view behind = Trimmed(line.substr(end + 1));
    const std::uint32_t known = document_.FindSection(name);
    if (!behind.empty()) {
        Fault("found " + Quoted(behind) + " behind `]', wanted the end of the line");
    } else if (name.empty()) {
        Fault("found no name between `[' and `]', wanted a section's name");
    } else if (known != none) {
        Fault("found the section " + Quoted(name) + " again, wanted it once: it begins on line " +
              std::to_string(document_.sections_[known].line));
    } else {
        section_ = document_.AddSection(name, line_, Place(name));
        passing_over_ = false;
    }
}

void CReader::ReadEntry(string_view line)
{
    const std::size_t equals = Find(line, '=');
    if (equals == string_view::npos) {
        Fault("found " + Quoted(Trimmed(line)) + ", wanted `KEY = value', `[SECTION]' or a comment behind `;' or `#'");
        return;
    }
    const string_view key = Trimmed(line.substr(0, equals));
    if (key.empty()) {
        Fault("found no key before `=', wanted `KEY = value'");
        return;
    }
    if (section_ == none) {
        if (!passing_over_)
            Fault("found the key " + Quoted(key) + " before any section, wanted a line `[SECTION]' first");
        return;
    }
    const std::uint32_t known = document_.FindEntry(section_, key);
    if (known != none) {
        Fault("found the key " + Quoted(key) + " again, wanted it once: line " +
              std::to_string(document_.entries_[known].line) + " has it");
        return;
    }
    // An empty value lies at the end of the line, behind the blank that usually follows the equals sign.
    const string_view value = Trimmed(line.substr(equals + 1));
    document_.AddEntry({section_,
                        line_,
                        {Place(key), static_cast<std::uint32_t>(key.size())},
                        {Place(value), static_cast<std::uint32_t>(value.size())},
                        none},
                       key);
}

/// What is wrong with the bytes of a line as such, or nothing.
std::string CReader::ByteFault(string_view line) const
{
    if (has_nul_ && Find(line, '\0') != string_view::npos)
        return "found a NUL byte, wanted text";
    if (has_return_ && Find(line, '\r') != string_view::npos)
        return "found a carriage return without a line feed, wanted LF or CRLF at the end of each line";
    return std::string();
}

void CReader::Fault(const std::string& text)
{
    faults_.push_back({line_, text});
}

/// A line's part as a place in the file.
std::uint32_t CReader::Place(string_view part) const
{
    return static_cast<std::uint32_t>(part.data() - document_.bytes_.data.get());
}

}  // namespace ini
}  // namespace kt
