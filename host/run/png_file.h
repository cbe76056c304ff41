// Images as PNG files.
#ifndef HOST_RUN_PNG_FILE_H
#define HOST_RUN_PNG_FILE_H

#include <filesystem>

namespace cimage {
class CImage;
}

namespace host {

/// Writes an image, through a temporary file beside it and a rename, so that whoever watches the folder sees whole
/// pictures alone. Grey, colour and colour with alpha, 8 or 16 bits; Bayer images as the grey mosaic that they are.
/// Samples of 10 to 14 bits are scaled to 16, with their number noted in the file (sBIT), as PNG wants it. The file is
/// the one that rec::MakePicture makes.
/// Throws std::runtime_error for packed YUV and for files that cannot be written.
void WritePng(const std::filesystem::path& file, const cimage::CImage& image);

}  // namespace host

#endif
