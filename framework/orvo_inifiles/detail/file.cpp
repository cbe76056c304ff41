#include "orvo_inifiles/detail/file.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <sys/uio.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <boost/filesystem/operations.hpp>
#include <boost/noncopyable.hpp>
#include <cerrno>
#include <climits>
#include <cstdio>
#include <string>
#include <system_error>

namespace kt {
namespace ini {
namespace detail {
namespace {

using boost::filesystem::path;

#ifdef IOV_MAX
constexpr std::size_t max_pieces_per_write = IOV_MAX;
#else
constexpr std::size_t max_pieces_per_write = 16;  // what every system grants
#endif

BOOST_NORETURN void Fail(const char* what, const path& file, int error = errno)
{
    throw std::system_error(error, std::generic_category(), std::string("cannot ") + what + " " + file.string());
}

class CDescriptor : private boost::noncopyable
{
public:
    explicit CDescriptor(int descriptor) : descriptor_(descriptor) {}
    ~CDescriptor()
    {
        // An error here has no news: what was written is on the disk since fsync, or given up.
        if (descriptor_ >= 0)
            close(descriptor_);
    }

    int Get() const { return descriptor_; }

private:
    int descriptor_;
};

/// Opens a file, not interrupted by signals.
int Open(const path& file, int flags, mode_t mode = 0)
{
    int descriptor;
    do
        descriptor = open(file.c_str(), flags | O_CLOEXEC, mode);
    while (descriptor < 0 && errno == EINTR);
    return descriptor;
}

bool Sync(int descriptor)
{
    int result;
    do
        result = fsync(descriptor);
    while (result != 0 && errno == EINTR);
    return result == 0;
}

/// A new empty file beside `target`, removed at the end of the scope unless it took the target's place.
class CTemporaryFile : private boost::noncopyable
{
public:
    CTemporaryFile(const path& target, const path& folder, mode_t mode)
        : target_(target), descriptor_(Create(folder, mode))
    {
        if (descriptor_.Get() < 0)
            Fail("create a file to replace", target_);
    }

    ~CTemporaryFile()
    {
        if (!file_.empty())
            unlink(file_.c_str());
    }

    int Descriptor() const { return descriptor_.Get(); }

    void TakePlace()
    {
        if (std::rename(file_.c_str(), target_.c_str()) != 0)
            Fail("replace", target_);
        file_.clear();
    }

private:
    int Create(const path& folder, mode_t mode)
    {
        // Of a fixed length, so that a target with the longest legal name can be saved too. A file that a dead process
        // with our number left behind is passed over.
        static std::atomic<unsigned int> count(0);
        int descriptor = -1;
        for (int attempt = 0; attempt < 1000 && descriptor < 0; ++attempt) {
            const path file =
                folder / (".orvo_inifiles-" + std::to_string(getpid()) + "-" + std::to_string(++count) + ".tmp");
            descriptor = Open(file, O_WRONLY | O_CREAT | O_EXCL, mode);
            if (descriptor >= 0)
                file_ = file;
            else if (errno != EEXIST)
                break;
        }
        return descriptor;
    }

    path target_;
    path file_;
    CDescriptor descriptor_;
};

/// What a chain of symbolic links ends at, whether it exists or not.
path LinkTarget(path file)
{
    for (int links = 0; links < 40; ++links) {
        boost::system::error_code error;
        const path next = boost::filesystem::read_symlink(file, error);
        if (error.value() == EINVAL || error.value() == ENOENT)  // no link, or nothing there
            return file;
        if (error)
            Fail("save", file, error.value());
        file = next.is_absolute() ? next : file.parent_path() / next;
    }
    Fail("save", file, ELOOP);
}

void WriteAll(int descriptor, const std::vector<boost::string_view>& pieces, const path& target)
{
    std::vector<iovec> left;
    left.reserve(pieces.size());
    for (const boost::string_view& piece : pieces)
        if (!piece.empty())
            left.push_back({const_cast<char*>(piece.data()), piece.size()});

    for (std::size_t first = 0; first < left.size();) {
        const std::size_t count = std::min(left.size() - first, max_pieces_per_write);
        const ssize_t result = writev(descriptor, &left[first], static_cast<int>(count));
        if (result < 0 && errno == EINTR)
            continue;
        if (result <= 0)
            Fail("write", target, result < 0 ? errno : EIO);
        std::size_t written = static_cast<std::size_t>(result);
        for (; first < left.size() && written >= left[first].iov_len; ++first)
            written -= left[first].iov_len;
        if (written > 0) {
            left[first].iov_base = static_cast<char*>(left[first].iov_base) + written;
            left[first].iov_len -= written;
        }
    }
}

/// Gives the new file the rights of the old one.
void CopyRights(int descriptor, const struct stat& old, const path& target)
{
    // Owner and group first, because changing them takes bits away. Only a privileged process may give files away: for
    // all others the file becomes theirs, as with any editor that saves by renaming.
    struct stat own;
    if (fstat(descriptor, &own) != 0)
        Fail("write", target);
    if ((own.st_uid != old.st_uid || own.st_gid != old.st_gid) && fchown(descriptor, old.st_uid, old.st_gid) != 0 &&
        errno != EPERM)
        Fail("keep the owner of", target);
    if (fchmod(descriptor, old.st_mode & 07777) != 0)
        Fail("keep the permissions of", target);
}

}  // namespace

TBytes ReadFile(const path& file)
{
    TBytes bytes;
    CDescriptor descriptor(Open(file, O_RDONLY));
    if (descriptor.Get() < 0) {
        if (errno == ENOENT)
            return bytes;
        Fail("open", file);
    }
    struct stat status;
    if (fstat(descriptor.Get(), &status) != 0)
        Fail("read", file);

    // The size is a hint alone: the file may grow at this moment, and a pipe has none. One byte more than the hint, so
    // that the end is seen without moving.
    std::size_t capacity = status.st_size > 0 ? static_cast<std::size_t>(status.st_size) + 1 : 4096;
    bytes.data.reset(new char[capacity]);
    for (;;) {
        if (bytes.size == capacity) {
            std::unique_ptr<char[]> larger(new char[capacity * 2]);
            std::copy(bytes.data.get(), bytes.data.get() + bytes.size, larger.get());
            bytes.data.swap(larger);
            capacity *= 2;
        }
        const ssize_t count = read(descriptor.Get(), bytes.data.get() + bytes.size, capacity - bytes.size);
        if (count == 0)
            return bytes;
        if (count > 0)
            bytes.size += static_cast<std::size_t>(count);
        else if (errno != EINTR)
            Fail("read", file);
    }
}

void ReplaceFile(const path& file, const std::vector<boost::string_view>& pieces)
{
    const path target = LinkTarget(file);
    struct stat old;
    const bool exists = stat(target.c_str(), &old) == 0;
    if (!exists && errno != ENOENT)
        Fail("save", target);
    if (exists && !S_ISREG(old.st_mode))
        throw std::system_error(std::make_error_code(std::errc::invalid_argument),
                                "cannot save " + target.string() + ": not a regular file");

    // Opened before anything is written, so that a folder that cannot be synchronised costs nothing.
    const path folder = target.has_parent_path() ? target.parent_path() : path(".");
    CDescriptor folder_descriptor(Open(folder, O_RDONLY | O_DIRECTORY));
    if (folder_descriptor.Get() < 0)
        Fail("open the folder of", target);

    // Never more readable than the old one, not even while it is written; without an old one the process's mask rules.
    CTemporaryFile temporary(target, folder, exists ? old.st_mode & 0777 : 0666);
    if (exists)
        CopyRights(temporary.Descriptor(), old, target);
    WriteAll(temporary.Descriptor(), pieces, target);
    // The bytes must be on the disk before the name points at them, and the name before the caller goes on.
    if (!Sync(temporary.Descriptor()))
        Fail("write", target);
    temporary.TakePlace();
    // EINVAL: a file system that synchronises no folders.
    if (!Sync(folder_descriptor.Get()) && errno != EINVAL)
        Fail("synchronise the folder of", target);
}

}  // namespace detail
}  // namespace ini
}  // namespace kt
