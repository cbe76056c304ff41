#include "images/stamp.h"

#include <sys/stat.h>

#include <cerrno>
#include <cstddef>
#include <cstdint>
#include <stdexcept>
#include <system_error>

#include "images/natural_order.h"

namespace images {

namespace {

boost::posix_time::ptime FromMicroseconds(std::int64_t microseconds)
{
    static const boost::posix_time::ptime epoch(boost::gregorian::date(1970, 1, 1));
    return epoch + boost::posix_time::microseconds(microseconds);
}

/// The number that the first `wanted` of the digits are, with zeros for those that are missing.
std::int64_t Scaled(const std::string& digits, std::size_t wanted)
{
    std::int64_t value = 0;
    for (std::size_t i = 0; i < wanted; ++i)
        value = value * 10 + (i < digits.size() ? digits[i] - '0' : 0);
    return value;
}

}  // namespace

boost::posix_time::ptime TimeOfName(const std::string& file)
{
    // Without folder and extension; the point of "1305031102.175304.png" stays.
    const std::size_t slash = file.rfind('/');
    std::string name = slash == std::string::npos ? file : file.substr(slash + 1);
    const std::size_t extension = name.rfind('.');
    if (extension != std::string::npos)
        name.erase(extension);

    std::size_t end = name.size();
    while (end > 0 && !IsDigit(name[end - 1]))
        --end;
    std::size_t begin = end;
    while (begin > 0 && IsDigit(name[begin - 1]))
        --begin;

    std::string digits = name.substr(begin, end - begin);
    std::string fraction;
    if (begin > 1 && name[begin - 1] == '.' && IsDigit(name[begin - 2])) {
        fraction = digits;
        end = --begin;
        while (begin > 0 && IsDigit(name[begin - 1]))
            --begin;
        digits = name.substr(begin, end - begin);
        if (digits.size() > 10)
            return boost::posix_time::ptime();
        return FromMicroseconds(Scaled(digits, digits.size()) * 1000000 + Scaled(fraction, 6));
    }
    switch (digits.size()) {
        case 10:
        case 13:
        case 16:
        case 19:
            return FromMicroseconds(Scaled(digits, 16));
        default:
            return boost::posix_time::ptime();
    }
}

boost::posix_time::ptime TimeOfFile(const std::string& file)
{
    struct stat status;
    if (::stat(file.c_str(), &status) != 0)
        throw std::runtime_error(file + ": found no time: " + std::generic_category().message(errno) +
                                 ", wanted a readable file");
    return FromMicroseconds(static_cast<std::int64_t>(status.st_mtim.tv_sec) * 1000000 + status.st_mtim.tv_nsec / 1000);
}

}  // namespace images
