#include "record/frame_writable.h"

#include <boost/make_shared.hpp>
#include <utility>

namespace host {

namespace {

rec::TPayload PayloadOf(std::string bytes)
{
    const auto owner = boost::make_shared<const std::string>(std::move(bytes));
    rec::TPayload payload;
    payload.owner = owner;
    payload.data = reinterpret_cast<const std::uint8_t*>(owner->data());
    payload.size = owner->size();
    return payload;
}

}  // namespace

CFrameWritable::CFrameWritable(unsigned char track, const std::string& camera, const dev::TFrame<>& frame,
                               rec::TPayload payload, std::string extension)
    : dev::CWritable(nullptr, track),
      camera_(camera),
      extension_(std::move(extension)),
      payload_(std::move(payload)),
      block_(rec::Describe(frame, payload_))
{
}

CFrameWritable::CFrameWritable(unsigned char track, const std::string& camera, const dev::TFrame<>& frame,
                               rec::Compression compression)
    : CFrameWritable(track, camera, frame, rec::Pack(frame.image, compression), rec::Name(compression))
{
}

CFrameWritable::CFrameWritable(unsigned char track, const std::string& camera, const dev::TFrame<>& frame,
                               rec::PictureKind kind)
    : CFrameWritable(track, camera, frame, rec::MakePicture(frame, kind))
{
}

CFrameWritable::CFrameWritable(unsigned char track, const std::string& camera, const dev::TFrame<>& frame,
                               rec::TPicture picture)
    : CFrameWritable(track, camera, frame, PayloadOf(std::move(picture.bytes)), picture.extension)
{
}

std::string CFrameWritable::Name() const
{
    dev::TFrame<> frame;
    frame.time_stamp = block_.time;
    frame.counter1 = block_.sequence;
    return rec::PictureName(camera_, frame, extension_);
}

}  // namespace host
