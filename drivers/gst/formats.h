// Frame formats as caps tell them, and frames as images.
#ifndef GST_FORMATS_H
#define GST_FORMATS_H

#include <boost/optional.hpp>
#include <boost/shared_ptr.hpp>
#include <cstddef>
#include <string>

#include "gst/handles.h"
#include "orvo_proc_cimage/image.h"

namespace gst {

/// A frame: "Mono8 640x480", and how many bytes lie between its rows unless its buffer says so itself.
struct TShape
{
    const cimage::TPixelFormat* format;
    unsigned int width;
    unsigned int height;
    std::size_t stride;

    std::string Descriptor() const;
};

/// What there is a pixel format for: GRAY8 (Mono8), GRAY16 in the machine's byte order (Mono16), RGB, BGR, RGBA, BGRA,
/// YUY2 (YUV422_8), UYVY, and Bayer of 8 bits, which is all the Bayer that GStreamer 1.22 knows.
CRef<GstCaps> AllCaps();

/// The names of their pixel formats, joined by ", ".
std::string PixelFormatNames();

/// The caps of an "FB" alone; null for another pixel format. Throws std::invalid_argument when `descriptor` is no "FB".
CRef<GstCaps> CapsOf(const std::string& descriptor);

/// None for caps that are not fixed, or have no pixel format.
boost::optional<TShape> ShapeOf(const GstCaps* caps);

/// For messages: "GRAY8 640x480 (Mono8 640x480)", "image/jpeg", several joined by ", ".
std::string Text(const GstCaps* caps);

/// The frame in a buffer, which is mapped and held until the image goes; nothing is copied. The image is to be read
/// alone. Throws std::runtime_error for a buffer that is too small for the shape or cannot be read.
boost::shared_ptr<const cimage::CImage> Wrap(GstBuffer* buffer, const TShape& shape);

}  // namespace gst

#endif
