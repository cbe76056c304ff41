// The picture decoder of the images driver: a shared object of its own, because the library behind it takes longer to
// load than everything else that a host does at its start. The driver loads it with the first source that it opens.
#ifndef IMAGES_DECODER_H
#define IMAGES_DECODER_H

#include <boost/config.hpp>
#include <cstddef>

namespace images {

/// Where the samples of a picture go, and its shape.
struct TPixels
{
    unsigned char* data;    ///< rows without padding
    unsigned int width;     ///< pixels
    unsigned int height;    ///< pixels
    unsigned int channels;  ///< 1 grey, 3 colour; a picture that is found may have others
    unsigned int bits;      ///< of a sample as it is stored, 8 or 16; a picture that is found may have others
    bool red_first;         ///< order of colours: red, green, blue, or the reverse
};

enum TDecoded : int
{
    decoded = 0,     ///< the samples are in place
    no_picture = 1,  ///< the bytes are no picture that can be read, or not the whole of one
    other_shape = 2  ///< a picture of another shape, which `pixels` now tells; where the samples should have gone holds
                     ///< anything
};

}  // namespace images

/// Decodes the picture file in `bytes` to where `pixels` says, if it has the shape that `pixels` says. Throws nothing.
/// The name carries the version of this header.
extern "C" BOOST_SYMBOL_EXPORT images::TDecoded orvo_decode_picture_1(const unsigned char* bytes, std::size_t size,
                                                                      images::TPixels* pixels);

#endif
