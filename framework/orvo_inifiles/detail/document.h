// A settings file in memory: its bytes as they were read, where in them the keys and values lie, and what was changed
// since. The bytes never change, so that saving writes all of them but the changed values.
#ifndef ORVO_INIFILES_DETAIL_DOCUMENT_H
#define ORVO_INIFILES_DETAIL_DOCUMENT_H

#include <boost/filesystem/path.hpp>
#include <boost/noncopyable.hpp>
#include <boost/utility/string_view.hpp>
#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

#include "orvo_inifiles/detail/file.h"
#include "orvo_inifiles/detail/flat_index.h"
#include "orvo_inifiles/inifile.h"

namespace kt {
namespace ini {
namespace detail {

/// What a line may hold around a key or a value without it being part of them.
inline bool IsBlank(char c)
{
    return c == ' ' || c == '\t';
}

}  // namespace detail

/// Sections, entries and edits are numbered from 0 in the order in which they came.
class Document : private boost::noncopyable
{
public:
    /// Reads the file. Throws as INIFile's constructors do; without `faults` also syntax_error.
    Document(const boost::filesystem::path& file, std::vector<TFault>* faults);

    const boost::filesystem::path& File() const { return file_; }

    /// The number of the section of that name, one of the file or one that is still to come.
    /// Throws std::invalid_argument for a name that no file can hold.
    std::uint32_t Bind(const std::string& name);

    std::uint32_t Line(std::uint32_t section) const { return sections_[section].line; }
    std::vector<std::string> Sections() const;
    std::vector<std::string> Keys(std::uint32_t section) const;

    /// The number of a key's entry, or detail::none.
    std::uint32_t Find(std::uint32_t section, const std::string& key) const { return FindEntry(section, key); }

    boost::string_view Value(std::uint32_t entry) const;
    std::uint32_t EntryLine(std::uint32_t entry) const { return entries_[entry].line; }
    bool IsDefault(std::uint32_t entry) const;

    /// Throws as INIFile::set does.
    void Set(std::uint32_t section, const std::string& key, const std::string& value, bool is_default);

    /// Throws as INIFile::Save does.
    void Save(const boost::filesystem::path& file) const;

private:
    friend class CReader;

    /// A stretch of the bytes.
    struct TSpan
    {
        std::uint32_t begin;
        std::uint32_t size;
    };

    struct TEntry
    {
        std::uint32_t section;
        std::uint32_t line;  ///< 0 for an added key, which has no place in the bytes
        TSpan key;
        TSpan value;  ///< as read; an empty one lies where a value would go
        std::uint32_t edit;
    };

    struct TSection
    {
        std::string name;
        std::uint32_t line;   ///< 0 while the file has none of the name
        std::uint32_t begin;  ///< place of the name in the header's line
        std::uint32_t first_entry;
        std::uint32_t end_entry;           ///< the entries as read are those from first to before end
        std::vector<std::uint32_t> added;  ///< the others
        bool is_indexed;                   ///< many keys: found by the index instead of by a look at each
    };

    /// What became of an entry since the file was read.
    struct TEdit
    {
        std::uint32_t entry;
        std::string key;  ///< of an added entry
        std::string value;
        bool is_default;
    };

    /// Bytes from begin to end, and what to write in their place.
    struct TPatch
    {
        std::size_t begin;
        std::size_t end;
        std::string text;
    };

    boost::string_view View(const TSpan& span) const { return {bytes_.data.get() + span.begin, span.size}; }
    boost::string_view Key(const TEntry& entry) const;

    std::uint32_t FindSection(boost::string_view name) const;
    std::uint32_t FindEntry(std::uint32_t section, boost::string_view key) const;
    std::uint32_t AddSection(boost::string_view name, std::uint32_t line, std::uint32_t begin);
    void AddEntry(const TEntry& entry, boost::string_view key);
    bool IsEntry(std::uint32_t entry, std::uint32_t hash, boost::string_view key) const;
    template <typename Visitor>
    static std::uint32_t FirstEntry(const TSection& section, Visitor visit);
    void CheckWritable(std::uint32_t section, const std::string& key, const std::string& value) const;

    std::vector<TPatch> Patches() const;
    std::string AddedLines(const TSection& section, const char* line_end) const;
    std::size_t EndOfLastKey(const TSection& section) const;
    const char* LineEndAt(std::size_t position) const;

    boost::filesystem::path file_;
    detail::TBytes bytes_;
    std::size_t text_begin_ = 0;  ///< behind the byte-order mark
    bool has_faults_ = false;
    std::vector<TSection> sections_;
    std::vector<std::uint32_t> order_;  ///< the sections that there are: those of the file, then by their first keys
    std::vector<TEntry> entries_;
    std::vector<std::uint32_t> hashes_;  ///< of the entries' keys: those of a section lie side by side
    std::vector<TEdit> edits_;
    detail::CFlatIndex section_index_;
    detail::CFlatIndex entry_index_;  ///< entries of the sections that are indexed
};

}  // namespace ini
}  // namespace kt

#endif
