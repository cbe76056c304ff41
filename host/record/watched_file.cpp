#include "record/watched_file.h"

#include <fmt/format.h>
#include <sys/stat.h>
#include <cerrno>
#include <stdexcept>
#include <system_error>

namespace host {

void ThrowErrno(const std::filesystem::path& file)
{
    throw std::system_error(errno != 0 ? errno : EIO, std::generic_category(), file.string());
}

CWatchedFile::CWatchedFile(std::filesystem::path file) : file_(std::move(file))
{
    struct stat status = {};
    if (stat(file_.c_str(), &status) != 0)
        ThrowErrno(file_);
    device_ = status.st_dev;
    inode_ = status.st_ino;
}

void CWatchedFile::Check() const
{
    struct stat status = {};
    const bool there = stat(file_.c_str(), &status) == 0;
    if (!there || status.st_dev != device_ || status.st_ino != inode_)
        throw std::runtime_error(fmt::format("{}: found {}, wanted the file that is being written", file_.string(),
                                             there ? "another file" : "no such file"));
}

void CWatchedFile::Cut(std::uint64_t size) const
{
    try {
        Check();
        std::filesystem::resize_file(file_, size);
    } catch (const std::exception&) {
        // Readers pass over a torn end.
    }
}

}  // namespace host
