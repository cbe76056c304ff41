#include "rec/payload.h"

#include <zstd.h>
#if defined(__x86_64__)
// Chooses by the processor it runs on; four times as fast where that has wide vectors.
#include <xxh_x86dispatch.h>
#else
#include <xxhash.h>
#endif

#include <algorithm>
#include <boost/make_shared.hpp>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <new>
#include <stdexcept>

#include "orvo_proc_cimage/image.h"
#include "rec/detail/png.h"

namespace rec {

namespace {

// In the order of their values.
const char* const names[] = {"none", "png", "zstd"};

/// Of zstd: the fastest that still looks for repeated strings everywhere.
constexpr int zstd_level = 1;

/// A working area of the library: a megabyte that is worth keeping from frame to frame.
template <typename Context, Context* (*create)(), std::size_t (*destroy)(Context*)>
Context& ContextOfThread()
{
    struct TDestroy
    {
        void operator()(Context* context) const { destroy(context); }
    };
    static thread_local std::unique_ptr<Context, TDestroy> context(create());
    if (!context)
        context.reset(create());
    if (!context)
        throw std::bad_alloc();
    return *context;
}

TPayload AsItIs(const boost::shared_ptr<const cimage::CImage>& image)
{
    TPayload payload;
    const std::size_t row = image->RowBytes();
    payload.size = row * image->Height();
    if (image->Stride() == row) {
        payload.owner = image;
        payload.data = image->Data();
        return payload;
    }
    const boost::shared_ptr<cimage::CImage> copy = cimage::Build(image->Format(), image->Width(), image->Height());
    for (std::size_t y = 0; y < image->Height(); ++y)
        std::memcpy(copy->Data() + y * row, image->Data() + y * image->Stride(), row);
    payload.owner = copy;
    payload.data = copy->Data();
    return payload;
}

TPayload AsPng(const cimage::CImage& image)
{
    const auto bytes = boost::make_shared<std::string>(png::Encode(image));
    bytes->shrink_to_fit();
    TPayload payload;
    payload.owner = bytes;
    payload.data = reinterpret_cast<const std::uint8_t*>(bytes->data());
    payload.size = bytes->size();
    payload.compression = Compression::Png;
    return payload;
}

/// `plain` itself when zstd does not make it smaller.
TPayload AsZstd(const TPayload& plain)
{
    const std::size_t room = ZSTD_compressBound(plain.size);
    std::unique_ptr<void, void (*)(void*)> bytes(std::malloc(room), std::free);
    if (!bytes)
        throw std::bad_alloc();
    const std::size_t size = ZSTD_compressCCtx(&ContextOfThread<ZSTD_CCtx, ZSTD_createCCtx, ZSTD_freeCCtx>(),
                                               bytes.get(), room, plain.data, plain.size, zstd_level);
    if (ZSTD_isError(size) != 0)
        throw std::bad_alloc();  // with room enough, nothing else can fail
    if (size >= plain.size)
        return plain;
    // What waits in a queue holds no more than it counts for.
    if (void* const fitting = std::realloc(bytes.get(), size)) {
        bytes.release();
        bytes.reset(fitting);
    }
    TPayload payload;
    payload.data = static_cast<const std::uint8_t*>(bytes.get());
    payload.owner.reset(bytes.release(), std::free);
    payload.size = size;
    payload.compression = Compression::Zstd;
    return payload;
}

void UnpackZstd(const std::uint8_t* data, std::size_t size, cimage::CImage& image)
{
    const std::size_t wanted = image.RowBytes() * image.Height();
    const std::string whole = ", wanted one zstd frame of " + std::to_string(wanted) + " bytes";
    // Looked at first, so that memory is taken for nothing but what is there.
    if (ZSTD_getFrameContentSize(data, size) != wanted)
        throw std::runtime_error("found " + std::to_string(size) + " bytes that are none" + whole);
    const std::size_t count = ZSTD_decompressDCtx(&ContextOfThread<ZSTD_DCtx, ZSTD_createDCtx, ZSTD_freeDCtx>(),
                                                  image.Data(), wanted, data, size);
    if (count != wanted)
        throw std::runtime_error("found damaged bytes" + whole);
}

}  // namespace

const char* Name(Compression compression)
{
    return names[static_cast<std::size_t>(compression)];
}

Compression ParseCompression(const std::string& name)
{
    const auto found = std::find(std::begin(names), std::end(names), name);
    if (found == std::end(names))
        throw std::invalid_argument("found compression \"" + name + "\", wanted none, png or zstd");
    return static_cast<Compression>(found - names);
}

std::uint64_t Checksum(const void* data, std::size_t size)
{
    return XXH3_64bits(data, size);
}

TPayload Pack(const boost::shared_ptr<const cimage::CImage>& image, Compression compression)
{
    if (compression == Compression::Png && png::Holds(image->Format()))
        return AsPng(*image);
    const TPayload plain = AsItIs(image);
    return compression == Compression::Zstd ? AsZstd(plain) : plain;
}

boost::shared_ptr<cimage::CImage> Unpack(const std::uint8_t* data, std::size_t size, Compression compression,
                                         const cimage::TPixelFormat& format, unsigned int width, unsigned int height)
{
    const boost::shared_ptr<cimage::CImage> image = cimage::Build(format, width, height);
    const std::size_t wanted = image->RowBytes() * height;
    switch (compression) {
        case Compression::None:
            if (size != wanted)
                throw std::runtime_error("found " + std::to_string(size) + " bytes, wanted " + std::to_string(wanted));
            std::memcpy(image->Data(), data, size);
            break;
        case Compression::Png:
            png::Decode(data, size, *image);
            break;
        case Compression::Zstd:
            UnpackZstd(data, size, *image);
            break;
    }
    return image;
}

}  // namespace rec
