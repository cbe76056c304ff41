// What a path that the user named holds of a recording.
#ifndef HOST_RECORD_CONTENTS_H
#define HOST_RECORD_CONTENTS_H

#include <filesystem>
#include <memory>

#include "rec/recording.h"

namespace host {

/// The files of a recording; an empty path for one that is not there.
struct TContents
{
    std::filesystem::path frames;  ///< a KTA data file or a TAR archive
    std::filesystem::path events;
    std::filesystem::path rig;
};

/// Looks at a folder, or at one file: KTA data or index (".kta", ".idx"), a TAR archive, an event file. Throws
/// std::runtime_error for anything else, and for a folder without frames and events.
TContents FindContents(const std::filesystem::path& path);

bool IsTar(const std::filesystem::path& archive);

/// The path as messages name it: a folder without a slash at its end.
std::string NameOf(const std::filesystem::path& path);

/// Opens an archive as rec::Open does, without its talk.
std::unique_ptr<rec::CRecording> OpenQuietly(const std::filesystem::path& archive);

/// Text of a damage, on one line whatever names the recording holds.
std::string DamageLine(const rec::TDamage& damage);

}  // namespace host

#endif
