#include "dev/lut_set.h"

#include <boost/algorithm/string/replace.hpp>
#include <boost/filesystem/fstream.hpp>
#include <boost/filesystem/operations.hpp>
#include <exception>
#include <iostream>

#include "orvo_inifiles/inifile.h"
#include "orvo_var_replacer/var_replacer.h"

namespace dev {
namespace impl {
namespace {

namespace fs = boost::filesystem;

void Copy(const fs::path& from, const fs::path& to)
{
    // Opening the target would empty the source if they were one file.
    boost::system::error_code none;
    if (fs::equivalent(from, to, none))
        return;
    fs::ifstream source(from, std::ios::binary);
    fs::ofstream target(to, std::ios::binary | std::ios::trunc);
    target << source.rdbuf();
}

}  // namespace

void LUTSet::Load(const kt::ini::INIFile& ini, const kt::CVarReplacer& vars)
{
    for (kt::ini::INIFile::iterator key(&ini, "LUT*"); key; ++key) {
        LUTEntry entry{key.Value(), key.Value()};
        vars.Replace(entry.path, kt::CVarReplacer::All);
        luts_.emplace(key.Key(), entry);
    }
}

LUTEntry LUTSet::LUT(const std::string& key) const
{
    const auto found = luts_.find(key);
    return found == luts_.end() ? LUTEntry() : found->second;
}

void LUTSet::Save(kt::ini::INIFile& ini, const fs::path& dir) const
{
    try {
        for (const auto& lut : luts_) {
            const std::string& reference = lut.second.reference;
            const fs::path path(lut.second.path);
            Copy(path, dir / path.filename());
            std::cout << "LUTSet::Save " << lut.first << ' ' << path << ' ' << reference << ' ' << dir.string()
                      << std::endl;
            ini.Set(lut.first, boost::algorithm::replace_all_copy(reference, "$DATA_DIR", "$INAME"));
        }
    } catch (const std::exception& error) {
        // Two blanks behind "Save", and the message without any, on purpose.
        std::cout << "LUTSet::Save  exception catched writing luts" << error.what() << std::endl;
    }
}

}  // namespace impl
}  // namespace dev
