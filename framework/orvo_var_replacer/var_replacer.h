// Expands "$NAME" variables in paths that settings files hold.
//
// What the device layer relies on: Replace() with the flag 15 expands every known variable in place, the same way
// everywhere in the system.
//
// Thread rule: none; one thread at a time.
#ifndef ORVO_VAR_REPLACER_VAR_REPLACER_H
#define ORVO_VAR_REPLACER_VAR_REPLACER_H

#include <boost/filesystem/path.hpp>
#include <map>
#include <string>

#include "orvo_var_replacer/export.h"

namespace kt {

/// A variable is "$" followed by the longest run of A-Z, a-z, 0-9 and "_" that does not begin with a digit, or
/// "${NAME}". The value is put in as it is and not searched again, so that no setting can make an endless expansion.
/// A variable that no chosen source knows stays as it is written.
class ORVO_VAR_REPLACER_API CVarReplacer
{
public:
    /// Where values come from, asked in this order; the flag of Replace() is a sum of these.
    enum Source
    {
        User = 1,
        DataDir = 2,
        IniName = 4,
        Environment = 8,
        All = 15
    };

    /// Knows nothing but the environment.
    CVarReplacer();

    /// `data_dir` is the rig's data folder, $DATA_DIR; $INAME is the folder of `settings_file`, "." for a bare file
    /// name. An empty path leaves its variable unknown.
    CVarReplacer(const boost::filesystem::path& data_dir, const boost::filesystem::path& settings_file);

    /// Gives a variable of the host's own a value. Throws std::invalid_argument for a name that is none.
    void Set(const std::string& name, const std::string& value);

    /// Expands `text` in place from the sources whose bits are set in `flags`; other bits are ignored.
    void Replace(std::string& text, int flags) const;

private:
    /// The value of a variable, or null.
    const char* Find(const std::string& name, int flags) const;

    std::map<std::string, std::string> user_;
    std::string data_dir_;  ///< empty while unknown, as is the next
    std::string ini_name_;
};

}  // namespace kt

#endif
