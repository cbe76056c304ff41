// The lookup-table files of a camera: "LUT VIGNETTING = $DATA_DIR/left.lut" and whatever else begins with "LUT".
//
// Thread rule: none; one thread at a time.
#ifndef DEV_LUT_SET_H
#define DEV_LUT_SET_H

#include <boost/filesystem/path.hpp>
#include <map>
#include <string>

#include "base/export.h"

namespace kt {

class CVarReplacer;

namespace ini {

class INIFile;

}  // namespace ini
}  // namespace kt

namespace dev {

/// A lookup-table file as the settings name it.
struct LUTEntry
{
    std::string reference;  ///< as written, for instance "$DATA_DIR/left.lut"
    std::string path;       ///< the same with all variables expanded
};

namespace impl {

/// Collects the files from a section of the settings, and takes copies of them along when the settings are saved
/// elsewhere. What is in the files is the business of whoever uses them.
class ORVO_DEV_API LUTSet
{
public:
    using Map = std::map<std::string, LUTEntry>;  ///< by settings key, in byte order

    /// Adds every key of the section that begins with "LUT". A key that is in the set already keeps its first entry.
    /// Lets exceptions of the file and of the variables out.
    void Load(const kt::ini::INIFile& ini, const kt::CVarReplacer& vars);

    const Map& LUTs() const { return luts_; }
    /// The entry of that key, or one of two empty strings.
    LUTEntry LUT(const std::string& key) const;

    /// Copies every file into the folder `dir`, under its own name, and sets its key in `ini` to its reference with
    /// "$INAME", the folder of the settings, in place of "$DATA_DIR"; in key order, so that of two files of one name
    /// the last one stays. A file that is in `dir` already is left alone. Prints a line for each on standard output.
    ///
    /// A file that cannot be read leaves an empty copy, one that cannot be written leaves none, and neither is told, on
    /// purpose: compare what is in `dir` with the originals. A standard exception ends the walk, is told on standard
    /// output, and does not get out.
    void Save(kt::ini::INIFile& ini, const boost::filesystem::path& dir) const;

private:
    Map luts_;
};

}  // namespace impl
}  // namespace dev

#endif
