// One number that stands for a picture: equal pictures have equal ones, and others, as good as certainly, have not.
#ifndef HOST_RUN_DIGEST_H
#define HOST_RUN_DIGEST_H

#include <cstdint>
#include <string>

namespace cimage {
class CImage;
}

namespace host {

/// XXH3 with 64 bits, seed 0, of the descriptor ("Mono8 640x480") and then the rows from top to bottom, without padding
/// between them: the same for an image however it lies in memory. Where the pixels lie on the camera's image is not in
/// it.
std::uint64_t Digest(const cimage::CImage& image);

/// Sixteen hexadecimal digits.
std::string DigestText(std::uint64_t digest);

}  // namespace host

#endif
