// Frames as picture files that ordinary tools open: PGM, PPM, PNG.
//
// The header of a picture holds, in comments that other programs pass over, what its format alone does not say: the
// pixel format, where the pixels lie on the camera's image, and a checksum. docs/formats/recording.md has the layout.
// Thread rule: the functions are safe on any thread.
#ifndef REC_PICTURE_H
#define REC_PICTURE_H

#include <boost/shared_ptr.hpp>
#include <cstddef>
#include <cstdint>
#include <string>

#include "dev/frame.h"
#include "rec/export.h"

namespace rec {

/// How a frame becomes a picture file.
enum class PictureKind
{
    Pnm,  ///< PGM for grey and Bayer, PPM for colour; PNG where neither can hold it (alpha)
    Png   ///< PNG; PGM where that cannot hold it (packed YUV: a grey picture of its bytes, twice as wide)
};

struct TPicture
{
    std::string extension;  ///< "pgm", "ppm" or "png"
    std::string bytes;      ///< the whole file
};

/// Throws std::runtime_error when there is no picture in the frame, std::bad_alloc.
ORVO_RECORDING_API TPicture MakePicture(const dev::TFrame<>& frame, PictureKind kind);

/// The image of a picture file; one made elsewhere is read, too, as Mono, RGB or RGBa of 8 or 16 bits. Throws
/// std::runtime_error saying what was found and what was wanted for what is no whole picture, or whose checksum is
/// wrong. `checked`, if given, becomes whether there was a checksum.
ORVO_RECORDING_API boost::shared_ptr<cimage::CImage> ReadPicture(const std::uint8_t* data, std::size_t size,
                                                                 bool* checked = nullptr);

/// "left/000012_20261121T101500.123456Z.pgm": camera, sequence number, time. A frame that nobody stamped has
/// "untimed" in place of its time.
ORVO_RECORDING_API std::string PictureName(const std::string& camera, const dev::TFrame<>& frame,
                                           const std::string& extension);

/// Splits such a name into its camera, and counter1 and time_stamp of `frame`. False, and nothing changed, when it is
/// not of that form.
ORVO_RECORDING_API bool ParsePictureName(const std::string& name, std::string& camera, dev::TFrame<>& frame);

}  // namespace rec

#endif
