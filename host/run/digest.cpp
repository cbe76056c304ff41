#include "run/digest.h"

#include <fmt/format.h>
#include <xxhash.h>
#include <memory>
#include <new>

#include "orvo_proc_cimage/image.h"

namespace host {

std::uint64_t Digest(const cimage::CImage& image)
{
    const std::unique_ptr<XXH3_state_t, decltype(&XXH3_freeState)> state(XXH3_createState(), &XXH3_freeState);
    if (!state)
        throw std::bad_alloc();
    XXH3_64bits_reset(state.get());
    const std::string descriptor = image.Descriptor();
    XXH3_64bits_update(state.get(), descriptor.data(), descriptor.size());
    for (unsigned int y = 0; y < image.Height(); ++y)
        XXH3_64bits_update(state.get(), image.Data() + y * image.Stride(), image.RowBytes());
    return XXH3_64bits_digest(state.get());
}

std::string DigestText(std::uint64_t digest)
{
    return fmt::format("{:016x}", digest);
}

}  // namespace host
