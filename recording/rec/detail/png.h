// Images as the bytes of a PNG file, and back.
#ifndef REC_DETAIL_PNG_H
#define REC_DETAIL_PNG_H

#include <cstddef>
#include <cstdint>
#include <map>
#include <string>

namespace cimage {
class CImage;
struct TPixelFormat;
}  // namespace cimage

namespace rec {
namespace png {

/// Text chunks by their keyword, which has 1 to 79 characters.
typedef std::map<std::string, std::string> TTexts;

/// False for packed YUV.
bool Holds(const cimage::TPixelFormat& format);

/// The whole file. Samples of 10 to 14 bits are scaled to 16, with their number noted in the file (sBIT), as PNG wants
/// it; when the bits above them are not clear, no scaling could be undone, so that samples stay as they are and nothing
/// is noted. `format` of the image must be one that Holds(). Throws std::bad_alloc.
std::string Encode(const cimage::CImage& image, const TTexts& texts = TTexts());

struct THeader
{
    unsigned int width = 0;     ///< pixels
    unsigned int height = 0;    ///< pixels
    unsigned int channels = 0;  ///< 1 grey, 3 colour, 4 colour with alpha
    unsigned int bits = 0;      ///< 8 or 16
    TTexts texts;               ///< those that stand before the pixels
};

/// True for what begins like a PNG file.
bool Is(const std::uint8_t* data, std::size_t size);

/// What the picture decodes to. Throws std::runtime_error for what is no PNG file.
THeader ReadHeader(const std::uint8_t* data, std::size_t size);

/// Decodes the picture into an image of the pool. Throws std::runtime_error when it is damaged, cut, or has another
/// size or kind than the image, or when bytes follow it.
void Decode(const std::uint8_t* data, std::size_t size, cimage::CImage& image);

}  // namespace png
}  // namespace rec

#endif
