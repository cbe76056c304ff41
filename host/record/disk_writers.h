// The writers of frames: into a KTA archive, and into a TAR archive.
//
// The life of a writer: constructed, which creates the archive; Write for each frame, in the order in which a reader is
// to find them; Flush now and then; Close.
//
// Every frame is with the operating system when its Write returns, the data before the index: whatever becomes of the
// process, what was written can be read. The first write that fails is the last: Close then cuts the files behind the
// last whole frame.
//
// Write throws std::runtime_error with path and reason ("frames.kta: No space left on device"). Flush throws the same
// when a file is gone or has been replaced meanwhile. Thread rule: one thread at a time.
#ifndef HOST_RECORD_DISK_WRITERS_H
#define HOST_RECORD_DISK_WRITERS_H

#include <cstdint>
#include <filesystem>
#include <vector>

#include "archive/kta.h"
#include "archive/tar.h"
#include "dev/disk_writer.h"
#include "rec/block.h"
#include "record/watched_file.h"

namespace host {

/// Takes CFrameWritables alone; the track number of a Write counts in the table of tracks.
class CKtaDiskWriter : public dev::CDiskWriter
{
public:
    /// Creates the archive and its index, in place of what bore their names. Throws std::runtime_error as Write does,
    /// and std::invalid_argument for a track that cannot be stored.
    CKtaDiskWriter(const std::filesystem::path& file, const std::vector<rec::TTrack>& tracks);
    ~CKtaDiskWriter() override;

    bool Flush() override;
    bool Close() override;

protected:
    void On_Write(const boost::shared_ptr<dev::CWritable>& writable, unsigned char track) override;

private:
    kta::Writer writer_;
    CWatchedFile data_;
    CWatchedFile index_;
    std::uint64_t data_end_ = 0;  ///< behind the last whole frame, bytes
    std::uint64_t index_end_;
};

/// Takes any writable that has a name and bytes; each becomes a member of that name, the track number does not count.
class CTarDiskWriter : public dev::CDiskWriter
{
public:
    /// Creates the archive, in place of what bore its name. Throws as Write does.
    explicit CTarDiskWriter(const std::filesystem::path& file);
    ~CTarDiskWriter() override;

    bool Flush() override;
    bool Close() override;

protected:
    void On_Write(const boost::shared_ptr<dev::CWritable>& writable, unsigned char track) override;

private:
    tar::Writer writer_;
    CWatchedFile file_;
    std::uint64_t end_ = 0;  ///< behind the last whole member, bytes
    bool good_ = true;
};

}  // namespace host

#endif
