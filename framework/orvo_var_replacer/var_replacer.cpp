#include "orvo_var_replacer/var_replacer.h"

#include <cstdlib>
#include <stdexcept>

namespace kt {
namespace {

// Not isalpha(): what a name is does not depend on the locale.
bool IsDigit(char c)
{
    return c >= '0' && c <= '9';
}

bool IsNameCharacter(char c)
{
    return (c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z') || IsDigit(c) || c == '_';
}

/// End of the name that begins at `begin`, or `begin` when none does.
std::size_t NameEnd(const std::string& text, std::size_t begin)
{
    std::size_t end = begin;
    if (end < text.size() && IsDigit(text[end]))
        return begin;
    while (end < text.size() && IsNameCharacter(text[end]))
        ++end;
    return end;
}

}  // namespace

CVarReplacer::CVarReplacer() = default;

CVarReplacer::CVarReplacer(const boost::filesystem::path& data_dir, const boost::filesystem::path& settings_file)
    : data_dir_(data_dir.string())
{
    if (!settings_file.empty())
        ini_name_ = settings_file.has_parent_path() ? settings_file.parent_path().string() : ".";
}

void CVarReplacer::Set(const std::string& name, const std::string& value)
{
    if (name.empty() || NameEnd(name, 0) != name.size())
        throw std::invalid_argument("`" + name + "' is not the name of a variable");
    user_[name] = value;
}

void CVarReplacer::Replace(std::string& text, int flags) const
{
    std::string expanded;
    std::size_t done = 0;
    for (std::size_t dollar = text.find('$'); dollar != std::string::npos; dollar = text.find('$', dollar + 1)) {
        const std::size_t brace = dollar + 1 < text.size() && text[dollar + 1] == '{' ? 1 : 0;
        const std::size_t begin = dollar + 1 + brace;
        const std::size_t end = NameEnd(text, begin);
        if (end == begin || (brace != 0 && (end == text.size() || text[end] != '}')))
            continue;
        if (const char* value = Find(text.substr(begin, end - begin), flags)) {
            expanded.append(text, done, dollar - done).append(value);
            done = end + brace;
        }
    }
    expanded.append(text, done, std::string::npos);
    text.swap(expanded);
}

const char* CVarReplacer::Find(const std::string& name, int flags) const
{
    if (flags & User) {
        const auto found = user_.find(name);
        if (found != user_.end())
            return found->second.c_str();
    }
    if ((flags & DataDir) && name == "DATA_DIR" && !data_dir_.empty())
        return data_dir_.c_str();
    if ((flags & IniName) && name == "INAME" && !ini_name_.empty())
        return ini_name_.c_str();
    return (flags & Environment) ? std::getenv(name.c_str()) : nullptr;
}

}  // namespace kt
