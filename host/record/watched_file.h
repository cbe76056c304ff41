// Files that are being written, and what becomes of them meanwhile.
#ifndef HOST_RECORD_WATCHED_FILE_H
#define HOST_RECORD_WATCHED_FILE_H

#include <sys/types.h>
#include <cstdint>
#include <filesystem>

namespace host {

/// Throws std::system_error for what `errno` says about the file, "PATH: No space left on device"; a stream that failed
/// without a system call gives "Input/output error". Set errno to 0 before the calls in question.
[[noreturn]] void ThrowErrno(const std::filesystem::path& file);

/// A file that somebody has open for writing, as its name leads to it.
class CWatchedFile
{
public:
    /// Throws std::system_error when there is no such file.
    explicit CWatchedFile(std::filesystem::path file);

    const std::filesystem::path& Path() const { return file_; }

    /// Throws std::runtime_error, naming the file, when it is gone or another one is in its place: what is written from
    /// then on would not be found.
    void Check() const;

    /// Cuts the file, unless Check would throw. That it cannot be cut is not reported.
    void Cut(std::uint64_t size) const;

private:
    std::filesystem::path file_;
    dev_t device_ = 0;
    ino_t inode_ = 0;
};

}  // namespace host

#endif
