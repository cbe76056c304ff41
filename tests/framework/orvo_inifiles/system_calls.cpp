#include "framework/orvo_inifiles/system_calls.h"

#include <dlfcn.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <sys/uio.h>
#include <unistd.h>

#include <algorithm>
#include <boost/config.hpp>
#include <cerrno>
#include <cstdarg>
#include <cstdio>

namespace test {
namespace {

bool armed = false;
Trouble trouble = Trouble::None;
int trouble_at = 0;
std::vector<std::string> calls;

/// Notes a call. True when it is to fail, errno is then set.
bool Fails(const char* name)
{
    if (!armed)
        return false;
    armed = false;  // noting may call the system itself
    calls.push_back(name);
    armed = true;
    const int number = static_cast<int>(calls.size());
    const bool interruptible =
        name[0] == 'o' || name[0] == 'w' || std::string(name) == "read" || std::string(name) == "fsync";
    switch (trouble) {
        case Trouble::None:
            return false;
        case Trouble::Exit:
            if (number == trouble_at)
                _exit(0);
            return false;
        case Trouble::OneFails:
        case Trouble::AllFail:
            errno = EIO;
            return trouble == Trouble::OneFails ? number == trouble_at : number >= trouble_at;
        case Trouble::Hamper:
            errno = EINTR;
            return interruptible && number % 2 == 0;
    }
    return false;
}

/// How many of the bytes the call may move.
std::size_t Share(std::size_t size)
{
    return armed && trouble == Trouble::Hamper ? std::min<std::size_t>(size, 1) : size;
}

template <typename F>
F* Next(F*, const char* name)
{
    return reinterpret_cast<F*>(dlsym(RTLD_NEXT, name));
}

}  // namespace

void Arm(Trouble what, int at)
{
    calls.clear();
    trouble = what;
    trouble_at = at;
    armed = true;
}

std::vector<std::string> Disarm()
{
    armed = false;
    return calls;
}

}  // namespace test

using test::Fails;
using test::Next;
using test::Share;

extern "C" {

BOOST_SYMBOL_EXPORT int open(const char* file, int flags, ...)
{
    mode_t mode = 0;
    if ((flags & O_CREAT) != 0) {
        va_list arguments;
        va_start(arguments, flags);
        mode = va_arg(arguments, mode_t);
        va_end(arguments);
    }
    static const auto next = Next(&open, "open");
    return Fails("open") ? -1 : next(file, flags, mode);
}

BOOST_SYMBOL_EXPORT int close(int descriptor)
{
    static const auto next = Next(&close, "close");
    const bool fails = Fails("close");
    const int error = errno;
    const int result = next(descriptor);  // closed even when it fails
    if (fails)
        errno = error;
    return fails ? -1 : result;
}

BOOST_SYMBOL_EXPORT ssize_t read(int descriptor, void* bytes, size_t size)
{
    static const auto next = Next(&read, "read");
    return Fails("read") ? -1 : next(descriptor, bytes, Share(size));
}

BOOST_SYMBOL_EXPORT ssize_t write(int descriptor, const void* bytes, size_t size)
{
    static const auto next = Next(&write, "write");
    return Fails("write") ? -1 : next(descriptor, bytes, Share(size));
}

BOOST_SYMBOL_EXPORT ssize_t writev(int descriptor, const struct iovec* pieces, int count)
{
    static const auto next = Next(&writev, "writev");
    if (Fails("writev"))
        return -1;
    if (count == 0 || Share(2) == 2)
        return next(descriptor, pieces, count);
    const iovec first = {pieces[0].iov_base, Share(pieces[0].iov_len)};
    return next(descriptor, &first, 1);
}

BOOST_SYMBOL_EXPORT int fsync(int descriptor)
{
    static const auto next = Next(&fsync, "fsync");
    return Fails("fsync") ? -1 : next(descriptor);
}

BOOST_SYMBOL_EXPORT int fchmod(int descriptor, mode_t mode) noexcept
{
    static const auto next = Next(&fchmod, "fchmod");
    return Fails("fchmod") ? -1 : next(descriptor, mode);
}

BOOST_SYMBOL_EXPORT int fchown(int descriptor, uid_t user, gid_t group) noexcept
{
    static const auto next = Next(&fchown, "fchown");
    return Fails("fchown") ? -1 : next(descriptor, user, group);
}

BOOST_SYMBOL_EXPORT int stat(const char* file, struct stat* status) noexcept
{
    static const auto next = Next(static_cast<int (*)(const char*, struct stat*)>(&stat), "stat");
    return Fails("stat") ? -1 : next(file, status);
}

BOOST_SYMBOL_EXPORT int fstat(int descriptor, struct stat* status) noexcept
{
    static const auto next = Next(&fstat, "fstat");
    return Fails("fstat") ? -1 : next(descriptor, status);
}

BOOST_SYMBOL_EXPORT ssize_t readlink(const char* file, char* target, size_t size) noexcept
{
    static const auto next = Next(&readlink, "readlink");
    return Fails("readlink") ? -1 : next(file, target, size);
}

BOOST_SYMBOL_EXPORT int rename(const char* from, const char* to) noexcept
{
    static const auto next = Next(&rename, "rename");
    return Fails("rename") ? -1 : next(from, to);
}

BOOST_SYMBOL_EXPORT int unlink(const char* file) noexcept
{
    static const auto next = Next(&unlink, "unlink");
    return Fails("unlink") ? -1 : next(file);
}

}  // extern "C"
