#include "orvo_inifiles/detail/document.h"

#include <algorithm>
#include <cstring>
#include <stdexcept>

#include "orvo_inifiles/detail/reader.h"

namespace kt {
namespace ini {
namespace {

using boost::string_view;
using detail::Hash;
using detail::none;

/// Keys of a section up to which a look at the hash of each, in two or three cache lines, beats a table of all.
constexpr std::size_t max_looked_at = 32;

/// Room for one more, so that adding it cannot fail.
template <typename T>
void MakeRoom(std::vector<T>& list)
{
    if (list.size() == list.capacity())
        list.reserve(2 * list.size() + 8);
}

/// Whether the text comes back from a line as it is, whatever stands around it.
bool SurvivesInALine(const std::string& text)
{
    return text.find_first_of(std::string("\r\n\0", 3)) == std::string::npos &&
           (text.empty() || (!detail::IsBlank(text.front()) && !detail::IsBlank(text.back())));
}

}  // namespace

/// The first entry of the section for which visit(entry) holds, or `none`.
template <typename Visitor>
std::uint32_t Document::FirstEntry(const TSection& section, Visitor visit)
{
    for (std::uint32_t entry = section.first_entry; entry < section.end_entry; ++entry)
        if (visit(entry))
            return entry;
    for (const std::uint32_t entry : section.added)
        if (visit(entry))
            return entry;
    return none;
}

Document::Document(const boost::filesystem::path& file, std::vector<TFault>* faults)
    : file_(file), bytes_(detail::ReadFile(file))
{
    // Places are held in 32 bits, which halves the tables; the last numbers are kept for `none` and the end.
    if (bytes_.size >= none - 1)
        throw std::runtime_error("cannot read " + file.string() + ": 4 GiB or more");
    std::vector<TFault> found = CReader(*this).Read();
    has_faults_ = !found.empty();
    if (faults != nullptr)
        faults->insert(faults->end(), found.begin(), found.end());
    else if (has_faults_)
        throw syntax_error(file, std::move(found));
}

std::uint32_t Document::Bind(const std::string& name)
{
    if (name.empty() || !SurvivesInALine(name) || name.find(']') != std::string::npos)
        throw std::invalid_argument(file_.string() + ": `" + name + "' cannot be the name of a section");
    const std::uint32_t section = FindSection(name);
    return section != none ? section : AddSection(name, 0, 0);
}

std::vector<std::string> Document::Sections() const
{
    std::vector<std::string> names;
    for (const std::uint32_t section : order_)
        names.push_back(sections_[section].name);
    return names;
}

std::vector<std::string> Document::Keys(std::uint32_t section) const
{
    std::vector<std::string> keys;
    FirstEntry(sections_[section], [&](std::uint32_t entry) {
        keys.push_back(Key(entries_[entry]).to_string());
        return false;
    });
    return keys;
}

string_view Document::Value(std::uint32_t entry) const
{
    const TEntry& value_of = entries_[entry];
    return value_of.edit == none ? View(value_of.value) : string_view(edits_[value_of.edit].value);
}

bool Document::IsDefault(std::uint32_t entry) const
{
    const std::uint32_t edit = entries_[entry].edit;
    return edit != none && edits_[edit].is_default;
}

void Document::Set(std::uint32_t section, const std::string& key, const std::string& value, bool is_default)
{
    CheckWritable(section, key, value);
    const std::uint32_t entry = FindEntry(section, key);
    if (entry == none) {
        // All the room first: without memory the document stays as it is.
        const std::uint32_t edit = static_cast<std::uint32_t>(edits_.size());
        TEdit added{static_cast<std::uint32_t>(entries_.size()), key, value, is_default};
        MakeRoom(edits_);
        MakeRoom(entries_);
        MakeRoom(hashes_);
        MakeRoom(order_);
        MakeRoom(sections_[section].added);
        entry_index_.MakeRoom(max_looked_at + 1);
        edits_.push_back(std::move(added));
        AddEntry({section, 0, {0, 0}, {0, 0}, edit}, key);
        return;
    }

    TEntry& changed = entries_[entry];
    if (Value(entry) == value) {
        // Nothing to write; but a value that somebody chose is no default any more, though it be the same.
        if (changed.edit != none && !is_default)
            edits_[changed.edit].is_default = false;
    } else if (changed.edit == none) {
        edits_.push_back({entry, std::string(), value, is_default});
        changed.edit = static_cast<std::uint32_t>(edits_.size() - 1);
    } else {
        edits_[changed.edit].value = value;
        edits_[changed.edit].is_default = is_default;
    }
}

void Document::Save(const boost::filesystem::path& file) const
{
    if (has_faults_)
        throw std::runtime_error("cannot save " + file.string() + ": " + file_.string() + " was read with faults");

    const std::vector<TPatch> patches = Patches();
    const string_view bytes(bytes_.data.get(), bytes_.size);
    std::vector<string_view> pieces;
    pieces.reserve(2 * patches.size() + 1);
    std::size_t done = 0;
    for (const TPatch& patch : patches) {
        pieces.push_back(bytes.substr(done, patch.begin - done));
        pieces.push_back(patch.text);
        done = patch.end;
    }
    pieces.push_back(bytes.substr(done));
    detail::ReplaceFile(file, pieces);
}

string_view Document::Key(const TEntry& entry) const
{
    return entry.line != 0 ? View(entry.key) : string_view(edits_[entry.edit].key);
}

std::uint32_t Document::FindSection(string_view name) const
{
    return section_index_.Find(Hash(none, name), [&](std::uint32_t i) { return sections_[i].name == name; });
}

bool Document::IsEntry(std::uint32_t entry, std::uint32_t hash, string_view key) const
{
    return hashes_[entry] == hash && Key(entries_[entry]) == key;
}

std::uint32_t Document::FindEntry(std::uint32_t section, string_view key) const
{
    const TSection& owner = sections_[section];
    const std::uint32_t hash = Hash(section, key);
    if (!owner.is_indexed)
        return FirstEntry(owner, [&](std::uint32_t entry) { return IsEntry(entry, hash, key); });
    return entry_index_.Find(
        hash, [&](std::uint32_t entry) { return entries_[entry].section == section && IsEntry(entry, hash, key); });
}

std::uint32_t Document::AddSection(string_view name, std::uint32_t line, std::uint32_t begin)
{
    const std::uint32_t number = static_cast<std::uint32_t>(sections_.size());
    const std::uint32_t entry = static_cast<std::uint32_t>(entries_.size());
    sections_.push_back({name.to_string(), line, begin, entry, entry, {}, false});
    section_index_.Insert(Hash(none, name), number);
    if (line != 0)
        order_.push_back(number);
    return number;
}

void Document::AddEntry(const TEntry& entry, string_view key)
{
    const std::uint32_t number = static_cast<std::uint32_t>(entries_.size());
    entries_.push_back(entry);
    hashes_.push_back(Hash(entry.section, key));

    TSection& owner = sections_[entry.section];
    if (entry.line != 0) {
        owner.end_entry = number + 1;
    } else {
        if (owner.line == 0 && owner.added.empty())
            order_.push_back(entry.section);
        owner.added.push_back(number);
    }

    if (owner.is_indexed) {
        entry_index_.Insert(hashes_[number], number);
    } else if (owner.end_entry - owner.first_entry + owner.added.size() > max_looked_at) {
        owner.is_indexed = true;
        FirstEntry(owner, [this](std::uint32_t member) {
            entry_index_.Insert(hashes_[member], member);
            return false;
        });
    }
}

void Document::CheckWritable(std::uint32_t section, const std::string& key, const std::string& value) const
{
    const char* what = nullptr;
    if (key.empty() || !SurvivesInALine(key) || key.find('=') != std::string::npos ||
        std::strchr("[;#", key.front()) != nullptr)
        what = "the key";
    else if (!SurvivesInALine(value))
        what = "the value";
    if (what != nullptr)
        throw std::invalid_argument(file_.string() + ": [" + sections_[section].name + "] " + key + ": " + what +
                                    " would not be read back as it is");
}

std::vector<Document::TPatch> Document::Patches() const
{
    std::vector<TPatch> patches;
    for (const TEdit& edit : edits_) {
        const TEntry& entry = entries_[edit.entry];
        if (entry.line != 0)
            patches.push_back({entry.value.begin, std::size_t(entry.value.begin) + entry.value.size, edit.value});
    }

    // A last line without an end gets one before anything follows it.
    bool is_open = bytes_.size > text_begin_ && bytes_.data[bytes_.size - 1] != '\n';
    bool is_empty = bytes_.size == text_begin_;
    std::string behind_all;
    for (const std::uint32_t number : order_) {
        const TSection& section = sections_[number];
        if (section.added.empty())
            continue;
        const std::size_t position = section.line != 0 ? EndOfLastKey(section) : bytes_.size;
        const char* const line_end = LineEndAt(position == 0 ? 0 : position - 1);
        std::string text;
        if (position == bytes_.size && is_open) {
            text = line_end;
            is_open = false;
        }
        if (section.line == 0) {
            if (!is_empty)
                text += line_end;
            is_empty = false;
            behind_all += text + '[' + section.name + ']' + line_end + AddedLines(section, line_end);
        } else {
            patches.push_back({position, position, text + AddedLines(section, line_end)});
        }
    }
    patches.push_back({bytes_.size, bytes_.size, behind_all});

    // Stable: a changed value at the end of the file goes before the lines that follow it.
    std::stable_sort(patches.begin(), patches.end(),
                     [](const TPatch& left, const TPatch& right) { return left.begin < right.begin; });
    return patches;
}

std::string Document::AddedLines(const TSection& section, const char* line_end) const
{
    std::string lines;
    for (const std::uint32_t entry : section.added) {
        const TEdit& edit = edits_[entries_[entry].edit];
        lines += edit.key + " = " + edit.value + line_end;
    }
    return lines;
}

/// Behind the line of the section's last key, or of its header when it has no key.
std::size_t Document::EndOfLastKey(const TSection& section) const
{
    const std::size_t position =
        section.first_entry < section.end_entry ? entries_[section.end_entry - 1].key.begin : section.begin;
    const void* const end = std::memchr(bytes_.data.get() + position, '\n', bytes_.size - position);
    return end == nullptr ? bytes_.size
                          : static_cast<std::size_t>(static_cast<const char*>(end) - bytes_.data.get()) + 1;
}

/// The end of the line that holds the byte at `position`; where it has none, that of the line before it.
const char* Document::LineEndAt(std::size_t position) const
{
    const string_view bytes(bytes_.data.get(), bytes_.size);
    std::size_t end = position < bytes.size() ? position : 0;
    while (end < bytes.size() && bytes[end] != '\n')
        ++end;
    if (end == bytes.size())
        end = bytes.rfind('\n');
    return end != string_view::npos && end > 0 && bytes[end - 1] == '\r' ? "\r\n" : "\n";
}

}  // namespace ini
}  // namespace kt
