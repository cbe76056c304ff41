#include "run/png_file.h"

#include <fmt/format.h>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <memory>
#include <stdexcept>

#include "orvo_proc_cimage/image.h"
#include "rec/picture.h"

namespace host {

namespace {

struct TCloser
{
    void operator()(std::FILE* file) const { std::fclose(file); }
};

void WriteFile(const std::filesystem::path& path, const std::string& bytes)
{
    std::unique_ptr<std::FILE, TCloser> file(std::fopen(path.c_str(), "wb"));
    if (!file || std::fwrite(bytes.data(), 1, bytes.size(), file.get()) != bytes.size() ||
        std::fclose(file.release()) != 0)
        throw std::runtime_error(fmt::format("{}: {}", path.string(), std::strerror(errno)));
}

}  // namespace

void WritePng(const std::filesystem::path& file, const cimage::CImage& image)
{
    dev::TFrame<> frame;
    frame.image = boost::shared_ptr<const cimage::CImage>(boost::shared_ptr<void>(), &image);  // owned by the caller
    const rec::TPicture picture = rec::MakePicture(frame, rec::PictureKind::Png);
    if (picture.extension != "png")
        throw std::runtime_error(
            fmt::format("found a {} image, wanted grey, RGB or BGR for a PNG file", image.Format().name));
    std::filesystem::path temporary = file;
    temporary += ".part";
    try {
        WriteFile(temporary, picture.bytes);
        std::filesystem::rename(temporary, file);
    } catch (...) {
        std::error_code ignored;
        std::filesystem::remove(temporary, ignored);
        throw;
    }
}

}  // namespace host
