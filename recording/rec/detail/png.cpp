#include "rec/detail/png.h"

#include <png.h>
#include <zlib.h>

#include <boost/predef/other/endian.h>
#include <boost/noncopyable.hpp>
#include <csetjmp>
#include <cstdio>
#include <cstring>
#include <new>
#include <stdexcept>
#include <vector>

#include "orvo_proc_cimage/image.h"
#include "rec/detail/samples.h"

namespace rec {
namespace png {

namespace {

/// How samples lie in a file.
struct TLayout
{
    int color_type;
    bool bgr;
    int depth;
    png_color_8 significant;  ///< bits of each sample, fewer than `depth` when they are to be scaled
};

bool BeginsWith(const char* text, const char* begin)
{
    return std::strncmp(text, begin, std::strlen(begin)) == 0;
}

TLayout LayoutOf(const cimage::TPixelFormat& format)
{
    TLayout layout{};
    layout.color_type = format.channels == 1   ? PNG_COLOR_TYPE_GRAY
                        : format.channels == 3 ? PNG_COLOR_TYPE_RGB
                                               : PNG_COLOR_TYPE_RGB_ALPHA;
    layout.bgr = BeginsWith(format.name, "BGR");
    layout.depth = format.bits_per_sample > 8 ? 16 : 8;
    const auto bits = static_cast<png_byte>(format.bits_per_sample);
    layout.significant.red = layout.significant.green = layout.significant.blue = bits;
    layout.significant.gray = layout.significant.alpha = bits;
    return layout;
}

void SetSampleOrder(png_structp png, const TLayout& layout)
{
    if (layout.depth == 16 && BOOST_ENDIAN_LITTLE_BYTE)
        png_set_swap(png);
    if (layout.bgr)
        png_set_bgr(png);
}

/// What the library's callbacks know.
struct TState
{
    char error[160] = "";
    std::string* out = nullptr;
    const std::uint8_t* at = nullptr;
    std::size_t left = 0;
};

extern "C" void KeepError(png_structp png, png_const_charp text)
{
    auto* const state = static_cast<TState*>(png_get_error_ptr(png));
    std::snprintf(state->error, sizeof state->error, "%s", text);
    png_longjmp(png, 1);
}

extern "C" void IgnoreWarning(png_structp, png_const_charp) {}

extern "C" void Append(png_structp png, png_bytep bytes, std::size_t size)
{
    bool appended = true;
    try {
        static_cast<TState*>(png_get_io_ptr(png))->out->append(reinterpret_cast<const char*>(bytes), size);
    } catch (...) {
        appended = false;
    }
    if (!appended)
        png_error(png, "no memory");
}

extern "C" void Flush(png_structp) {}

extern "C" void Take(png_structp png, png_bytep bytes, std::size_t size)
{
    auto* const state = static_cast<TState*>(png_get_io_ptr(png));
    if (size > state->left)
        png_error(png, "its end is missing");
    std::memcpy(bytes, state->at, size);
    state->at += size;
    state->left -= size;
}

/// Runs a step of the library, which reports errors by a jump out of it: neither the step nor what it calls may have an
/// object with a destructor alive while it calls the library. False when it jumped.
template <typename Step>
bool Guarded(png_structp png, const Step& step)
{
    if (setjmp(png_jmpbuf(png)) != 0)
        return false;
    step();
    return true;
}

class CWriter : private boost::noncopyable
{
public:
    CWriter()
        : png_(png_create_write_struct(PNG_LIBPNG_VER_STRING, &state_, KeepError, IgnoreWarning)),
          info_(png_ == nullptr ? nullptr : png_create_info_struct(png_))
    {
    }
    ~CWriter() { png_destroy_write_struct(&png_, &info_); }

    void Write(const cimage::CImage& image, std::vector<png_text>& texts, std::string& out)
    {
        state_.out = &out;
        const std::uint8_t* const rows = image.Data();
        const TLayout layout = LayoutOf(image.Format());
        const bool scaled = layout.significant.gray < layout.depth && HasCleanSamples(image);
        // With a sound image and memory to write to, nothing else can fail.
        if (info_ == nullptr || !Guarded(png_, [&] { Put(image, rows, layout, scaled, texts); }))
            throw std::bad_alloc();
    }

private:
    void Put(const cimage::CImage& image, const std::uint8_t* rows, const TLayout& layout, bool scaled,
             std::vector<png_text>& texts)
    {
        png_set_write_fn(png_, &state_, Append, Flush);
        png_set_IHDR(png_, info_, image.Width(), image.Height(), layout.depth, layout.color_type, PNG_INTERLACE_NONE,
                     PNG_COMPRESSION_TYPE_DEFAULT, PNG_FILTER_TYPE_DEFAULT);
        // Pictures are written while the rig runs: this is several times as fast as the library's own choice. Runs are
        // what the filter leaves of a photograph, so looking for anything else costs time and gains nothing.
        png_set_compression_level(png_, 1);
        png_set_compression_strategy(png_, Z_RLE);
        png_set_filter(png_, 0, PNG_FILTER_SUB);
        png_set_compression_buffer_size(png_, 256 * 1024);
        if (scaled)
            png_set_sBIT(png_, info_, &layout.significant);
        if (!texts.empty())
            png_set_text(png_, info_, texts.data(), static_cast<int>(texts.size()));
        png_write_info(png_, info_);
        if (scaled)
            png_set_shift(png_, &layout.significant);
        SetSampleOrder(png_, layout);
        for (unsigned int y = 0; y < image.Height(); ++y)
            png_write_row(png_, rows + y * image.Stride());
        png_write_end(png_, info_);
    }

    TState state_;
    png_structp png_;
    png_infop info_;
};

[[noreturn]] void Fail(const std::string& why)
{
    throw std::runtime_error("found a PNG picture that cannot be decoded (" + why + "), wanted a whole one");
}

/// Chunks, each a length, a name, so many bytes and a checksum, from behind the signature to the last one. The library
/// takes and clears as much memory as a chunk says that it has, before it looks whether the chunk is there.
void CheckChunks(const std::uint8_t* data, std::size_t size)
{
    std::size_t at = 8;
    bool end = false;
    while (!end) {
        if (size < at + 12)
            Fail("its end is missing");
        const std::size_t length = std::size_t{data[at]} << 24 | std::size_t{data[at + 1]} << 16 |
                                   std::size_t{data[at + 2]} << 8 | std::size_t{data[at + 3]};
        if (size - at - 12 < length)
            Fail("its end is missing");
        end = std::memcmp(data + at + 4, "IEND", 4) == 0;
        at += 12 + length;
    }
    if (at != size)
        Fail("more bytes follow it");
}

class CReader : private boost::noncopyable
{
public:
    /// Bytes that passed CheckChunks.
    CReader(const std::uint8_t* data, std::size_t size)
        : png_(png_create_read_struct(PNG_LIBPNG_VER_STRING, &state_, KeepError, IgnoreWarning)),
          info_(png_ == nullptr ? nullptr : png_create_info_struct(png_))
    {
        state_.at = data;
        state_.left = size;
        if (info_ != nullptr && Guarded(png_, [&] { Begin(size); }))
            return;
        // The destructor of an object that was not made does not run.
        png_destroy_read_struct(&png_, &info_, nullptr);
        Fail(state_.error);
    }
    ~CReader() { png_destroy_read_struct(&png_, &info_, nullptr); }

    THeader Header() const
    {
        THeader header;
        header.width = png_get_image_width(png_, info_);
        header.height = png_get_image_height(png_, info_);
        header.channels = alpha_ ? 4 : (png_get_color_type(png_, info_) & PNG_COLOR_MASK_COLOR) != 0 ? 3 : 1;
        header.bits = png_get_bit_depth(png_, info_) == 16 ? 16 : 8;
        png_textp texts = nullptr;
        const int count = png_get_text(png_, info_, &texts, nullptr);
        for (int i = 0; i < count; ++i)
            header.texts[texts[i].key] = texts[i].text;
        return header;
    }

    void Decode(cimage::CImage& image)
    {
        std::uint8_t* const rows = image.Data();
        const TLayout layout = LayoutOf(image.Format());
        if (!Guarded(png_, [&] { Get(image, rows, layout); }))
            Fail(state_.error);
    }

private:
    void Begin(std::size_t size)
    {
        png_set_read_fn(png_, &state_, Take);
        png_read_info(png_, info_);
        // No more than this fits: a header that promises it is no reason to ask for the memory.
        constexpr std::size_t most_deflated = 1032;
        if (png_get_rowbytes(png_, info_) * png_get_image_height(png_, info_) / most_deflated > size)
            png_error(png_, "its end is missing");
        // Palettes, small samples and transparent colours become plain ones, grey with alpha becomes colour with alpha.
        png_set_expand(png_);
        alpha_ = (png_get_color_type(png_, info_) & PNG_COLOR_MASK_ALPHA) != 0 ||
                 png_get_valid(png_, info_, PNG_INFO_tRNS) != 0;
        if (alpha_)
            png_set_gray_to_rgb(png_);
    }

    void Get(const cimage::CImage& image, std::uint8_t* rows, const TLayout& layout)
    {
        png_color_8p noted = nullptr;
        const bool scaled = png_get_sBIT(png_, info_, &noted) != 0 && layout.significant.gray < layout.depth;
        if (scaled)
            png_set_shift(png_, &layout.significant);
        SetSampleOrder(png_, layout);
        const int passes = png_set_interlace_handling(png_);
        png_read_update_info(png_, info_);
        if (png_get_image_width(png_, info_) != image.Width() || png_get_image_height(png_, info_) != image.Height() ||
            png_get_channels(png_, info_) != image.Format().channels ||
            png_get_rowbytes(png_, info_) != image.RowBytes())
            png_error(png_, "its size or kind is not that of the image");
        for (int pass = 0; pass < passes; ++pass)
            for (unsigned int y = 0; y < image.Height(); ++y)
                png_read_row(png_, rows + y * image.Stride(), nullptr);
        png_read_end(png_, nullptr);
    }

    TState state_;
    png_structp png_;
    png_infop info_;
    bool alpha_ = false;
};

}  // namespace

bool Holds(const cimage::TPixelFormat& format)
{
    return !BeginsWith(format.name, "YUV");
}

std::string Encode(const cimage::CImage& image, const TTexts& texts)
{
    std::vector<png_text> chunks;
    for (const auto& text : texts) {
        png_text chunk{};
        chunk.compression = PNG_TEXT_COMPRESSION_NONE;
        chunk.key = const_cast<char*>(text.first.c_str());
        chunk.text = const_cast<char*>(text.second.c_str());
        chunk.text_length = text.second.size();
        chunks.push_back(chunk);
    }
    std::string out;
    CWriter().Write(image, chunks, out);
    return out;
}

bool Is(const std::uint8_t* data, std::size_t size)
{
    return size >= 8 && png_sig_cmp(data, 0, 8) == 0;
}

THeader ReadHeader(const std::uint8_t* data, std::size_t size)
{
    CheckChunks(data, size);
    return CReader(data, size).Header();
}

void Decode(const std::uint8_t* data, std::size_t size, cimage::CImage& image)
{
    CheckChunks(data, size);
    CReader(data, size).Decode(image);
}

}  // namespace png
}  // namespace rec
