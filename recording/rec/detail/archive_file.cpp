#include "rec/detail/archive_file.h"

#include <boost/filesystem/operations.hpp>
#include <cerrno>
#include <system_error>

namespace rec {

CArchiveFile::CArchiveFile(const boost::filesystem::path& path) : path_(path)
{
    boost::system::error_code error;
    size_ = boost::filesystem::file_size(path, error);
    if (!error) {
        stream_.open(path.string(), std::ios::binary);
        if (!stream_.is_open())
            error.assign(errno, boost::system::generic_category());
    }
    if (!error)
        return;
    boost::system::error_code ignored;
    const auto status = boost::filesystem::status(path, ignored);
    const bool other = boost::filesystem::exists(status) && !boost::filesystem::is_regular_file(status);
    throw std::runtime_error(Path() + ": found " + (other ? "no regular file" : error.message()) +
                             ", wanted a readable file");
}

const std::vector<std::uint8_t>& CArchiveFile::Read(std::uint64_t offset, std::uint64_t size)
{
    // A seek would throw away what the stream has read ahead.
    if (offset != at_ || !stream_.good()) {
        stream_.clear();
        stream_.seekg(static_cast<std::streamoff>(offset));
    }
    bytes_.resize(size);
    stream_.read(reinterpret_cast<char*>(bytes_.data()), static_cast<std::streamsize>(size));
    const auto count = static_cast<std::uint64_t>(stream_.gcount());
    at_ = offset + count;
    if (count != size)
        throw std::runtime_error(Path() + ": byte " + std::to_string(offset) + ": found " + std::to_string(count) +
                                 " bytes, wanted " + std::to_string(size) + " as when the file was opened");
    return bytes_;
}

damaged_frame Damaged(const CArchiveFile& file, const TTrack& track, const TBlock& block, const std::string& what)
{
    TDamage damage;
    damage.where = file.Name() + "#" + track.name;
    damage.offset = block.offset;
    damage.bytes = block.size;
    damage.what = what;
    return damaged_frame(damage);
}

std::string PlaceOf(const CArchiveFile& file, const TTrack& track, const TBlock& block)
{
    return file.Path() + "#" + track.name + ": byte " + std::to_string(block.offset);
}

}  // namespace rec
