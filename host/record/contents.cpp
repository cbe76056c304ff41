#include "record/contents.h"

#include <fmt/format.h>
#include <stdexcept>

#include "record/event_file.h"
#include "rig/fault.h"
#include "system/console.h"

namespace host {

namespace fs = std::filesystem;

namespace {

fs::path IfThere(const fs::path& file)
{
    std::error_code ignored;
    return fs::exists(file, ignored) ? file : fs::path();
}

TContents InFolder(const fs::path& folder)
{
    TContents contents;
    // An index without its data is a KTA archive, too: one that has lost its frames.
    const fs::path kta = folder / rec::kta_file;
    const bool indexed = !IfThere(fs::path(kta).replace_extension(".idx")).empty();
    contents.frames = indexed || !IfThere(kta).empty() ? kta : IfThere(folder / rec::tar_file);
    contents.events = IfThere(folder / rec::events_file);
    contents.rig = IfThere(folder / rec::rig_file);
    if (contents.frames.empty() && contents.events.empty())
        throw std::runtime_error(fmt::format("{}: found a folder without {}, {} and {}, wanted a recording",
                                             folder.string(), rec::kta_file, rec::tar_file, rec::events_file));
    return contents;
}

}  // namespace

TContents FindContents(const fs::path& path)
{
    std::error_code error;
    if (fs::is_directory(path, error))
        return InFolder(NameOf(path));
    if (path.extension() == ".kta" || IsTar(path))
        return {path, {}, {}};
    if (path.extension() == ".idx")
        return {fs::path(path).replace_extension(".kta"), {}, {}};
    if (IsEventFile(path))
        return {{}, path, {}};
    throw std::runtime_error(fmt::format(
        "{}: found another kind of file, wanted a recording's folder or a file of one (.kta, .idx, .tar, .mef)",
        path.string()));
}

bool IsTar(const fs::path& archive)
{
    return archive.extension() == ".tar";
}

std::string NameOf(const fs::path& path)
{
    const fs::path tidy = path.lexically_normal();
    return (tidy.has_filename() || !tidy.has_relative_path() ? tidy : tidy.parent_path()).string();
}

std::unique_ptr<rec::CRecording> OpenQuietly(const fs::path& archive)
{
    const CConsole::CCapture quiet;
    return rec::Open(archive.string());
}

std::string DamageLine(const rec::TDamage& damage)
{
    return OneLine(rec::Text(damage));
}

}  // namespace host
