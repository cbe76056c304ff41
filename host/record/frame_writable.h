// A frame on its way into an archive.
#ifndef HOST_RECORD_FRAME_WRITABLE_H
#define HOST_RECORD_FRAME_WRITABLE_H

#include <string>

#include "dev/frame.h"
#include "dev/writable.h"
#include "rec/block.h"
#include "rec/payload.h"
#include "rec/picture.h"

namespace host {

/// Made of a frame with an image: the bytes to be stored, ready, with their checksum, so that whoever writes them has
/// nothing else to do. Bytes that are the image's own are shared, not copied. It carries no event.
class CFrameWritable : public dev::CWritable
{
public:
    /// The image as the payload of a block.
    CFrameWritable(unsigned char track, const std::string& camera, const dev::TFrame<>& frame,
                   rec::Compression compression);
    /// The image as a whole picture file.
    CFrameWritable(unsigned char track, const std::string& camera, const dev::TFrame<>& frame, rec::PictureKind kind);

    /// What a block header tells of these bytes; `track` and `offset` are for the archive's writer to fill in.
    const rec::TBlock& Block() const { return block_; }

    void Destroy_Payload() override { payload_ = rec::TPayload(); }
    std::string Name() const override;  ///< as the member of a TAR archive
    const void* Data() const override { return payload_.data; }
    std::size_t Size() const override { return payload_.size; }
    std::uint64_t Sequence() const override { return block_.sequence; }

private:
    CFrameWritable(unsigned char track, const std::string& camera, const dev::TFrame<>& frame, rec::TPayload payload,
                   std::string extension);
    CFrameWritable(unsigned char track, const std::string& camera, const dev::TFrame<>& frame, rec::TPicture picture);

    std::string camera_;
    std::string extension_;
    rec::TPayload payload_;
    rec::TBlock block_;
};

}  // namespace host

#endif
