// The writer of frames into a folder of pictures.
#ifndef HOST_RECORD_PICTURE_WRITER_H
#define HOST_RECORD_PICTURE_WRITER_H

#include <cstdint>
#include <filesystem>

#include "dev/disk_writer.h"

namespace host {

/// Each writable becomes a file of its name below the folder. Write throws std::runtime_error naming the file when it
/// cannot be written, when there is one of that name, and for a name that leads out of the folder. Thread rule: one
/// thread at a time.
class CPictureWriter : public dev::CDiskWriter
{
public:
    explicit CPictureWriter(std::filesystem::path folder);

    /// Each picture is whole when its Write returns.
    bool Flush() override { return true; }
    bool Close() override { return true; }

protected:
    void On_Write(const boost::shared_ptr<dev::CWritable>& writable, unsigned char track) override;

private:
    std::filesystem::path folder_;
};

}  // namespace host

#endif
