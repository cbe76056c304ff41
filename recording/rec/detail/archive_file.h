// What the kinds of archives have in common: a file that is read in pieces, and the two ways to open one.
#ifndef REC_DETAIL_ARCHIVE_FILE_H
#define REC_DETAIL_ARCHIVE_FILE_H

#include <boost/filesystem/path.hpp>
#include <boost/noncopyable.hpp>
#include <cstdint>
#include <fstream>
#include <memory>
#include <string>
#include <vector>

#include "rec/recording.h"

namespace rec {

/// An open file. Everything that fails is a std::runtime_error naming it.
class CArchiveFile : private boost::noncopyable
{
public:
    explicit CArchiveFile(const boost::filesystem::path& path);

    std::string Path() const { return path_.string(); }
    std::string Name() const { return path_.filename().string(); }  ///< without its folder
    std::uint64_t Size() const { return size_; }                    ///< bytes, when it was opened

    /// `size` bytes from `offset` on, both within Size(); valid until the next call.
    const std::vector<std::uint8_t>& Read(std::uint64_t offset, std::uint64_t size);

private:
    const boost::filesystem::path path_;
    std::uint64_t size_;
    std::ifstream stream_;
    std::uint64_t at_ = 0;  ///< where the stream stands
    std::vector<std::uint8_t> bytes_;
};

/// A piece of a frame's track that cannot be used, as an exception.
damaged_frame Damaged(const CArchiveFile& file, const TTrack& track, const TBlock& block, const std::string& what);

/// The text of a frame that comes from there.
std::string PlaceOf(const CArchiveFile& file, const TTrack& track, const TBlock& block);

// As rec::Open.
std::unique_ptr<CRecording> OpenKta(const boost::filesystem::path& data);
std::unique_ptr<CRecording> OpenTar(const boost::filesystem::path& file);

}  // namespace rec

#endif
