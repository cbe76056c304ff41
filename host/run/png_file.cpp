#include "run/png_file.h"

#include <fmt/format.h>
#include <png.h>
#include <zlib.h>
#include <bit>
#include <cerrno>
#include <csetjmp>
#include <cstdio>
#include <cstring>
#include <memory>
#include <stdexcept>
#include <string>

#include "orvo_proc_cimage/image.h"

namespace host {

namespace {

struct TCloser
{
    void operator()(std::FILE* file) const { std::fclose(file); }
};

struct TLayout
{
    int color_type;
    bool bgr;
};

bool StartsWith(const std::string& text, const char* prefix)
{
    return text.rfind(prefix, 0) == 0;
}

TLayout LayoutOf(const cimage::TPixelFormat& format)
{
    const std::string name = format.name;
    if (StartsWith(name, "Mono") || StartsWith(name, "Bayer"))
        return {PNG_COLOR_TYPE_GRAY, false};
    if (StartsWith(name, "RGBa") || StartsWith(name, "BGRa"))
        return {PNG_COLOR_TYPE_RGB_ALPHA, StartsWith(name, "BGR")};
    if (StartsWith(name, "RGB") || StartsWith(name, "BGR"))
        return {PNG_COLOR_TYPE_RGB, StartsWith(name, "BGR")};
    throw std::runtime_error("found a " + name + " image, wanted grey, RGB or BGR for a PNG file");
}

/// libpng reports errors by a jump: no object with a destructor may live between it and setjmp.
struct TPngError
{
    char text[160] = "";
};

extern "C" void KeepError(png_structp png, png_const_charp text)
{
    auto* const error = static_cast<TPngError*>(png_get_error_ptr(png));
    std::snprintf(error->text, sizeof error->text, "%s", text);
    png_longjmp(png, 1);
}

extern "C" void IgnoreWarning(png_structp, png_const_charp) {}

void PutRows(png_structp png, png_infop info, const cimage::CImage& image, const TLayout& layout)
{
    const cimage::TPixelFormat& format = image.Format();
    const int depth = format.bits_per_sample > 8 ? 16 : 8;
    png_set_IHDR(png, info, image.Width(), image.Height(), depth, layout.color_type, PNG_INTERLACE_NONE,
                 PNG_COMPRESSION_TYPE_DEFAULT, PNG_FILTER_TYPE_DEFAULT);
    // Pictures are written while the rig runs: this is several times as fast as the library's own choice. Runs are what
    // the filter leaves of a photograph, so looking for anything else costs time and gains nothing.
    png_set_compression_level(png, 1);
    png_set_compression_strategy(png, Z_RLE);
    png_set_filter(png, 0, PNG_FILTER_SUB);

    png_color_8 significant{};
    const auto bits = static_cast<png_byte>(format.bits_per_sample);
    significant.red = significant.green = significant.blue = significant.gray = significant.alpha = bits;
    if (bits < depth)
        png_set_sBIT(png, info, &significant);
    png_write_info(png, info);
    if (bits < depth)
        png_set_shift(png, &significant);
    if (depth == 16 && std::endian::native == std::endian::little)
        png_set_swap(png);
    if (layout.bgr)
        png_set_bgr(png);
    for (unsigned int y = 0; y < image.Height(); ++y)
        png_write_row(png, image.Data() + y * image.Stride());
    png_write_end(png, info);
}

/// False, with the text in `error`, when libpng gave up.
bool Encode(std::FILE* file, const cimage::CImage& image, const TLayout& layout, TPngError& error)
{
    png_structp png = png_create_write_struct(PNG_LIBPNG_VER_STRING, &error, KeepError, IgnoreWarning);
    png_infop info = png == nullptr ? nullptr : png_create_info_struct(png);
    if (info == nullptr || setjmp(png_jmpbuf(png)) != 0) {
        png_destroy_write_struct(&png, &info);
        return false;
    }
    png_init_io(png, file);
    PutRows(png, info, image, layout);
    png_destroy_write_struct(&png, &info);
    return true;
}

void WriteFile(const std::filesystem::path& path, const cimage::CImage& image, const TLayout& layout)
{
    std::unique_ptr<std::FILE, TCloser> file(std::fopen(path.c_str(), "wb"));
    if (!file)
        throw std::runtime_error(fmt::format("{}: {}", path.string(), std::strerror(errno)));
    image.Data();  // an image that nobody wrote to gets its memory here, for that may throw
    TPngError error;
    if (!Encode(file.get(), image, layout, error))
        throw std::runtime_error(fmt::format("{}: {}", path.string(), error.text));
    if (std::fclose(file.release()) != 0)
        throw std::runtime_error(fmt::format("{}: {}", path.string(), std::strerror(errno)));
}

}  // namespace

void WritePng(const std::filesystem::path& file, const cimage::CImage& image)
{
    const TLayout layout = LayoutOf(image.Format());
    std::filesystem::path temporary = file;
    temporary += ".part";
    try {
        WriteFile(temporary, image, layout);
        std::filesystem::rename(temporary, file);
    } catch (...) {
        std::error_code ignored;
        std::filesystem::remove(temporary, ignored);
        throw;
    }
}

}  // namespace host
