// A file read whole, and replaced whole or not at all.
#ifndef ORVO_INIFILES_DETAIL_FILE_H
#define ORVO_INIFILES_DETAIL_FILE_H

#include <boost/filesystem/path.hpp>
#include <boost/utility/string_view.hpp>
#include <cstddef>
#include <memory>
#include <vector>

namespace kt {
namespace ini {
namespace detail {

/// The bytes of a file.
struct TBytes
{
    std::unique_ptr<char[]> data;
    std::size_t size = 0;
};

/// Reads the file; nothing when there is none. Throws std::system_error naming file and reason.
TBytes ReadFile(const boost::filesystem::path& file);

/// Puts the pieces, one behind the other, into the place of `file`: what a symbolic link points at, if it is one. A
/// reader, and whoever comes after a crash, finds the whole old or the whole new file. The new one has the permission
/// bits of the old one, and its owner and group where this process may give files away.
/// Throws std::system_error naming file and reason; the temporary file is then gone.
void ReplaceFile(const boost::filesystem::path& file, const std::vector<boost::string_view>& pieces);

}  // namespace detail
}  // namespace ini
}  // namespace kt

#endif
