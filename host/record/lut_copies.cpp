#include "record/lut_copies.h"

#include <fmt/format.h>
#include <algorithm>
#include <array>
#include <fstream>

#include "dev/camera.h"
#include "rig/luts.h"
#include "system/console.h"

namespace host {

namespace {

namespace fs = std::filesystem;

/// What is wrong with a copy, or nothing.
std::string Difference(const TLut& lut, const fs::path& copy)
{
    std::error_code error;
    if (!lut.size)
        return fmt::format("found no file {}, wanted one", lut.file.string());
    const auto size = fs::file_size(copy, error);
    if (error)
        return fmt::format("found no copy {} ({}), wanted one", copy.string(), error.message());
    if (size != *lut.size)
        return fmt::format("found {} bytes in {}, wanted the {} of {}", size, copy.string(), *lut.size,
                           lut.file.string());
    std::ifstream a(lut.file, std::ios::binary);
    std::ifstream b(copy, std::ios::binary);
    std::array<char, 65536> of_a;
    std::array<char, 65536> of_b;
    while (a.read(of_a.data(), of_a.size()), a.gcount() > 0) {
        b.read(of_b.data(), of_b.size());
        if (a.gcount() != b.gcount() || !std::equal(of_a.begin(), of_a.begin() + a.gcount(), of_b.begin()))
            return fmt::format("found another file's bytes in {}, wanted those of {}", copy.string(),
                               lut.file.string());
    }
    return a.bad() || b.bad() ? fmt::format("found {} unreadable, wanted its copy", lut.file.string()) : "";
}

/// The library puts "$INAME" in the place of "$DATA_DIR" alone; what lay elsewhere, or deeper, needs more to be found.
void NameCopies(const dev::CCamera& camera, const kt::CVarReplacer& paths, const fs::path& folder,
                kt::ini::INIFile& section)
{
    for (const auto& [key, entry] : camera.LUTs()) {
        const std::string name = fs::path(entry.path).filename().string();
        if (name.empty())
            continue;
        std::string reference = ValueOr(section, key, {});
        paths.Replace(reference, kt::CVarReplacer::All);
        if (fs::path(reference).lexically_normal() != folder / name)
            section.set(key, "$INAME/" + name);
    }
}

void SaveLuts(const TRig& rig, const fs::path& rig_file)
{
    const fs::path folder = fs::absolute(rig_file).parent_path().lexically_normal();
    const kt::CVarReplacer paths(rig.data_dir.string(), fs::absolute(rig_file).string());
    const kt::ini::INIFile ini(rig_file.string(), "RIG");
    for (const TDevice& device : rig.devices) {
        dev::CCamera camera;
        camera.LoadLUTs(device.settings, rig.paths);
        kt::ini::INIFile section = ini.Section(device.name);
        camera.SaveLUTs(section, folder.string());
        NameCopies(camera, paths, folder, section);
    }
    ini.Save();
}

}  // namespace

std::vector<std::string> LutNames(const TRig& rig)
{
    std::vector<std::string> names;
    for (const TDevice& device : rig.devices)
        for (const TLut& lut : Luts(rig, device))
            if (lut.file.has_filename())
                names.push_back(lut.file.filename().string());
    return names;
}

std::vector<TLutFault> CopyLuts(const TRig& rig, const fs::path& rig_file, CConsole& console)
{
    std::vector<TLutFault> faults;
    if (LutNames(rig).empty())
        return faults;
    try {
        const CConsole::CCapture lines;  // the library tells of each copy
        SaveLuts(rig, rig_file);
        if (console.Verbose())
            for (const std::string& line : lines.Lines())
                console.Say(line);
    } catch (const std::exception& error) {
        faults.push_back({"rig", error.what()});
    }
    for (const TDevice& device : rig.devices)
        for (const TLut& lut : Luts(rig, device)) {
            const std::string text = Difference(lut, rig_file.parent_path() / lut.file.filename());
            if (!text.empty())
                faults.push_back({device.name, lut.key + ": " + text});
        }
    return faults;
}

}  // namespace host
