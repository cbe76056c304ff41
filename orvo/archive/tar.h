// TAR archives of named members: POSIX ustar blocks, regular files alone. docs/formats/tar.md has the bytes.
#ifndef ARCHIVE_TAR_H
#define ARCHIVE_TAR_H

#include <boost/filesystem/path.hpp>
#include <boost/function.hpp>
#include <boost/noncopyable.hpp>
#include <boost/system/error_code.hpp>
#include <cstdint>
#include <fstream>
#include <map>
#include <memory>
#include <string>

#include "base/export.h"

namespace tar {

/// Where a member lies. The reader fills the last two fields; the text fields stay zero.
struct FileHeader
{
    char name[100] = {};
    char mode[8] = {};
    char uid[8] = {};
    char gid[8] = {};
    char size[12] = {};
    char mtime[12] = {};
    std::uint64_t data_offset = 0;  ///< bytes from the start of the archive to the member's data
    std::uint64_t data_size = 0;  ///< bytes of data as the header tells them; in a cut archive the file may end before
};

/// Appends members to a new archive.
/// Up to 512 KiB wait in memory: a program that dies loses what it did not Flush(). The destructor closes the archive;
/// whoever wants to know whether it is whole calls Close() before.
/// Not thread-safe: one writer is used by one thread at a time. Different writers are independent.
class ORVO_DEV_API Writer : private boost::noncopyable
{
public:
    Writer();
    ~Writer();

    /// Creates the archive, or empties the one that is there; an archive still open is closed first. On failure nothing
    /// is open: ask IsOpen(). Members will belong to the user and group that the process has now.
    void Open(const boost::filesystem::path& file);

    bool IsOpen() const;

    /// Appends one member with what `writer` writes to the stream, at most 8 GiB - 1 (of a longer one the header tells
    /// the low 33 bits). The stream stands at the first byte of the data; where the callback leaves it, the data end.
    /// It is the archive's own stream: valid during the call alone, and not for closing. The callback must not call the
    /// writer. A name may be empty, and may occur again: readers find the first member of a name.
    ///
    /// Failed writes are not reported here but by Flush() and Close(). Once the stream has failed, by the disk or by
    /// the callback's own setstate(), the archive takes no more bytes until the next Open(); callbacks are still
    /// called.
    ///
    /// Throws std::runtime_error, before anything is written, for a name of 100 bytes or more, and
    /// boost::bad_function_call for an empty callback. What the callback throws passes through. After the last two a
    /// block of 512 zeros stays in the archive and further members come behind it: this library's reader finds them,
    /// other programs stop at the zeros unless told to go on (GNU tar: --ignore-zeros).
    void Write(const std::string& name, boost::function<void(std::ofstream&)> writer);

    /// Hands everything written so far to the operating system; false when that or any write since Open() failed, or
    /// nothing is open. It does not wait for the disk.
    bool Flush();

    /// Flushes and closes; false as Flush().
    bool Close();

private:
    class CBuffer;

    void Finish(const std::string& name);
    void Abandon();

    std::unique_ptr<CBuffer> buffer_;  // before the stream, whose destructor still writes from its memory
    std::ofstream stream_;
    std::streamoff position_ = 0;  // where the next member begins
    std::uint64_t uid_ = 0;
    std::uint64_t gid_ = 0;
};

/// Finds members of an archive by name. Not thread-safe: one reader is used by one thread at a time.
class ORVO_DEV_API Reader : private boost::noncopyable
{
public:
    /// Opens an archive and indexes it, after the console line `[II] ::Reader: Opening "FILE"`; what was open before is
    /// closed and forgotten. `name` is ignored. Value 2 of the generic category when the file cannot be opened, success
    /// otherwise, whatever the file holds: headers are not checked. Indexing ends where less than a header is left,
    /// behind a member whose size leads beyond the end of the file, and where a writer was stopped within a member.
    boost::system::error_code Open(const boost::filesystem::path& file, const std::string& name);

    /// Puts ISTR() at the first byte of the member, ready to read even after it met the end of the file. Value 257 of
    /// the generic category when no archive is open. An unknown name is no error: the stream stays as it was; ask
    /// Members() first.
    boost::system::error_code Seek(const std::string& name);

    /// The archive's stream, as long as the reader lives. It does not end with the member: Members() has its size.
    std::ifstream& ISTR() { return stream_; }

    /// The members by name. Of several with one name the first; "" where a zero block stands, which ends archives of
    /// other programs.
    const std::map<std::string, FileHeader>& Members() const { return members_; }

private:
    void Index(const boost::filesystem::path& file);

    std::map<std::string, FileHeader> members_;
    std::ifstream stream_;
};

}  // namespace tar

#endif
