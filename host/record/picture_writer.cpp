#include "record/picture_writer.h"

#include <fmt/format.h>
#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <stdexcept>
#include <string>
#include <utility>

#include "dev/writable.h"
#include "record/watched_file.h"
#include "rig/fault.h"

namespace host {

CPictureWriter::CPictureWriter(std::filesystem::path folder) : folder_(std::move(folder)) {}

void CPictureWriter::On_Write(const boost::shared_ptr<dev::CWritable>& writable, unsigned char)
{
    const std::filesystem::path name = writable->Name();
    // Names come out of archives, which anybody may have made.
    if (!name.is_relative() || std::find(name.begin(), name.end(), "..") != name.end())
        throw std::runtime_error(
            fmt::format("found the picture {}, wanted one below {}", Quoted(name.string()), folder_.string()));
    const auto path = folder_ / name;
    std::filesystem::create_directories(path.parent_path());
    errno = 0;
    std::FILE* const file = std::fopen(path.c_str(), "wbx");
    if (file == nullptr)
        ThrowErrno(path);
    const bool whole = std::fwrite(writable->Data(), 1, writable->Size(), file) == writable->Size();
    if (std::fclose(file) != 0 || !whole)
        ThrowErrno(path);
}

}  // namespace host
