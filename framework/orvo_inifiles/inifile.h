// Settings files: INI text with one section per device, read whole and written back byte for byte.
//
// The text:
//   [SECTION NAME]          names are case sensitive and may hold blanks, but no ']'
//   ; comment, # comment    whole lines only; a value may hold both characters
//   KEY NAME = value        blanks and tabs around name, key and value belong to the line, not to them
// Line ends are LF or CRLF, each line keeps its own; a UTF-8 byte-order mark is kept; the last line may lack its end.
// There is no quoting, no escaping and no continuation.
//
// What the device layer relies on: the lookups and stores below, that a stored value is saved and read back byte for
// byte or refused, and that saving changes nothing else of the file.
//
// Thread rule: none. INIFiles that share a document expect one thread at a time.
#ifndef ORVO_INIFILES_INIFILE_H
#define ORVO_INIFILES_INIFILE_H

#include <boost/filesystem/path.hpp>
#include <boost/shared_ptr.hpp>
#include <cstddef>
#include <cstdint>
#include <stdexcept>
#include <string>
#include <vector>

#include "orvo_inifiles/export.h"

namespace kt {
namespace ini {

class Document;

/// One thing wrong with the text of a settings file.
struct TFault
{
    std::size_t line;  ///< 1-based
    std::string text;  ///< "found …, wanted …"
};

/// A settings file that cannot be read as one. what() lists every fault as "file:line: text", one per line.
class ORVO_INIFILES_API syntax_error : public std::runtime_error
{
public:
    syntax_error(const boost::filesystem::path& file, std::vector<TFault> faults);
    const std::vector<TFault>& Faults() const { return faults_; }

private:
    std::vector<TFault> faults_;
};

/// One section of a document. Copies, and what Section() gives, share the document.
/// A section that the file does not have is empty; it comes into being with its first key.
class ORVO_INIFILES_API INIFile
{
public:
    class iterator;

    /// Reads the file and binds `section`. A missing file is an empty document.
    /// Throws syntax_error for faulty text, std::runtime_error when an existing file cannot be read or has 4 GiB or
    /// more, and std::invalid_argument for a section name that no file can hold.
    INIFile(const boost::filesystem::path& file, const std::string& section);

    /// The same, but keeps going: each faulty line is added to `faults` in line order and otherwise passed over (of a
    /// repeated key or section the first one holds, and the keys below a repeated section are checked but not kept).
    /// A document with faults refuses to be saved.
    INIFile(const boost::filesystem::path& file, const std::string& section, std::vector<TFault>& faults);

    /// Another section of the same document.
    INIFile Section(const std::string& name) const;

    /// Names of the sections, in file order.
    std::vector<std::string> Sections() const;

    const std::string& SectionName() const { return name_; }
    const boost::filesystem::path& FileName() const;

    /// Line of the section's header, or of a key, 1-based; 0 when the file as read has none.
    std::size_t Line() const;
    std::size_t Line(const std::string& key) const;

    /// The keys of the section, in file order, those added since behind them.
    std::vector<std::string> Keys() const;

    /// Copies the value of `key` into `out` and returns true, or returns false and leaves `out` alone.
    bool efind(const std::string& key, std::string& out) const;

    /// Stores `value` under `key`; a present value that is set again changes nothing in the file. Throws
    /// std::invalid_argument, naming file, section and key, for a key or value that would not be read back as it is: a
    /// line end, a NUL byte, blanks or tabs at its ends, and in a key '=', a leading '[', ';' or '#', or nothing at
    /// all.
    void set(const std::string& key, const std::string& value);

    /// The same for a default that is recorded while loading; the file notes that the default was used.
    void set(const std::string& key, const std::string& value) const;

    /// True when the key's value is a default that was recorded while loading, and nobody has set the key since.
    bool IsDefault(const std::string& key) const;

    /// Reports on standard output that `key` was not found.
    void print_knf(const std::string& key) const;

    /// Writes the document to its own file, or to `file`: comments, blank lines, order and line ends stay; values that
    /// changed are replaced in place, new keys follow the last key of their section, new sections follow the last one.
    /// Goes through a temporary file beside the target, fsync and rename, so that the target is the old or the new file
    /// at every moment, with the old one's permission bits. Of a symbolic link, the file that it points at is replaced.
    /// Throws std::runtime_error naming file and reason. Any error but one of the folder's last fsync, when the new
    /// file is in place but may not outlive a power cut, leaves the old file.
    void Save() const;
    void Save(const boost::filesystem::path& file) const;

    // The accessors of the device layer; instantiated for std::string.

    /// The value of a required key. Throws std::runtime_error "`KEY' not found in FILE".
    template <typename T>
    T Value(const std::string& key) const
    {
        T value;
        if (!efind(key, value))
            throw std::runtime_error("`" + key + "' not found in " + FileName().string());
        return value;
    }

    /// The value of a key, or `fallback`, which is then recorded in the document.
    template <typename T>
    T Value(const std::string& key, const T& fallback) const
    {
        T value;
        if (efind(key, value))
            return value;
        set(key, fallback);
        return fallback;
    }

    /// Stores the value of an optional key in `*out` and returns true; a missing key is reported with print_knf() and
    /// leaves `*out` alone.
    template <typename T>
    bool Get(const std::string& key, T* out) const
    {
        if (efind(key, *out))
            return true;
        print_knf(key);
        return false;
    }

    template <typename T>
    void Set(const std::string& key, const T& value)
    {
        set(key, value);
    }

private:
    INIFile(boost::shared_ptr<Document> document, const std::string& section);

    boost::shared_ptr<Document> document_;
    std::string name_;
    std::uint32_t section_;  ///< number of the section in the document
};

/// Walks the keys of a section that begin with a prefix, in file order; a last '*' of the prefix counts for nothing, so
/// that "LUT*" walks what "LUT" does. It sees the keys that the section had when the walk began.
class ORVO_INIFILES_API INIFile::iterator
{
public:
    iterator(const INIFile* file, const std::string& prefix);  ///< the file must outlive the walk

    iterator& operator++();
    explicit operator bool() const { return position_ < keys_.size(); }  ///< false behind the last key
    const std::string& Key() const;  ///< throws std::out_of_range behind the last key
    std::string Value() const;       ///< likewise

private:
    const INIFile* file_;
    std::vector<std::string> keys_;
    std::size_t position_;
};

}  // namespace ini
}  // namespace kt

#endif
