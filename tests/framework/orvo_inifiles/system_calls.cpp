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
bool Fails(const std::string& name)
{
    if (!armed)
        return false;
    armed = false;  // noting may call the system itself
    calls.push_back(name);
    armed = true;
    const int number = static_cast<int>(calls.size());
    if (trouble == Trouble::Exit && number == trouble_at)
        _exit(0);
    if (trouble == Trouble::Hamper) {
        errno = EINTR;
        return number % 2 == 0 && (name[0] == 'o' || name[0] == 'w' || name == "read" || name == "fsync");
    }
    errno = EIO;
    return (trouble == Trouble::OneFails && number == trouble_at) ||
           (trouble == Trouble::AllFail && number >= trouble_at);
}

/// How many of the bytes the call may move.
std::size_t Share(std::size_t size)
{
    return armed && trouble == Trouble::Hamper ? std::min<std::size_t>(size, 1) : size;
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
using test::Share;

#define NEXT(result, name, parameters) \
    static const auto next = reinterpret_cast<result(*) parameters>(dlsym(RTLD_NEXT, #name))

#define STAND_BEFORE(result, name, parameters, arguments, exception) \
    BOOST_SYMBOL_EXPORT result name parameters exception             \
    {                                                                \
        NEXT(result, name, parameters);                              \
        return Fails(#name) ? -1 : next arguments;                   \
    }

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
    NEXT(int, open, (const char*, int, ...));
    return Fails("open") ? -1 : next(file, flags, mode);
}

BOOST_SYMBOL_EXPORT int close(int descriptor)
{
    NEXT(int, close, (int));
    const bool fails = Fails("close");
    const int error = errno;
    const int result = next(descriptor);  // closed even when it fails
    if (fails)
        errno = error;
    return fails ? -1 : result;
}

BOOST_SYMBOL_EXPORT ssize_t writev(int descriptor, const struct iovec* pieces, int count)
{
    NEXT(ssize_t, writev, (int, const struct iovec*, int));
    if (Fails("writev"))
        return -1;
    if (count == 0 || Share(2) == 2)
        return next(descriptor, pieces, count);
    const iovec first = {pieces[0].iov_base, Share(pieces[0].iov_len)};
    return next(descriptor, &first, 1);
}

STAND_BEFORE(ssize_t, read, (int file, void* bytes, size_t size), (file, bytes, Share(size)), )
STAND_BEFORE(ssize_t, write, (int file, const void* bytes, size_t size), (file, bytes, Share(size)), )
STAND_BEFORE(int, fsync, (int file), (file), )
STAND_BEFORE(int, fchmod, (int file, mode_t mode), (file, mode), noexcept)
STAND_BEFORE(int, fchown, (int file, uid_t user, gid_t group), (file, user, group), noexcept)
STAND_BEFORE(int, stat, (const char* file, struct stat* status), (file, status), noexcept)
STAND_BEFORE(int, fstat, (int file, struct stat* status), (file, status), noexcept)
STAND_BEFORE(ssize_t, readlink, (const char* file, char* target, size_t size), (file, target, size), noexcept)
STAND_BEFORE(int, rename, (const char* from, const char* to), (from, to), noexcept)
STAND_BEFORE(int, unlink, (const char* file), (file), noexcept)

}  // extern "C"
