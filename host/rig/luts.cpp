#include "rig/luts.h"

#include <fmt/format.h>

#include "dev/lut_set.h"

namespace host {

std::vector<TLut> Luts(const TRig& rig, const TDevice& camera)
{
    dev::impl::LUTSet set;
    set.Load(camera.settings, rig.paths);
    std::vector<TLut> luts;
    for (const auto& [key, entry] : set.LUTs()) {
        TLut lut{key, entry.reference, entry.path, std::nullopt};
        std::error_code error;
        if (std::filesystem::is_regular_file(lut.file, error)) {
            const auto size = std::filesystem::file_size(lut.file, error);
            if (!error)
                lut.size = size;
        }
        luts.push_back(lut);
    }
    return luts;
}

void CheckLuts(const TRig& rig, const TDevice& camera, bool look, std::vector<TFault>& faults)
{
    if (!camera.replaced_source.empty())
        return;
    for (const TLut& lut : Luts(rig, camera)) {
        const std::size_t line = camera.settings.Line(lut.key);
        if (lut.file.is_relative())
            faults.push_back(
                {line, camera.name, lut.key, Quoted(lut.reference),
                 "a path from $INAME, the folder of the rig file, or $DATA_DIR, its data, or an absolute one",
                 lut.reference.empty() ? std::string() : "$INAME/" + lut.reference});
        else if (look && !lut.size)
            faults.push_back({line,
                              camera.name,
                              lut.key,
                              fmt::format("{} ({})", Quoted(lut.reference), lut.file.string()),
                              "a file that is there",
                              {}});
    }
}

}  // namespace host
