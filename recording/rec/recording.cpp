#include "rec/recording.h"

#include <boost/filesystem/operations.hpp>

#include "rec/detail/archive_file.h"

namespace rec {

const char* const kta_file = "frames.kta";
const char* const tar_file = "frames.tar";
const char* const events_file = "events.mef";
const char* const rig_file = "rig.ini";

std::string Text(const TDamage& damage)
{
    return damage.where + ": byte " + std::to_string(damage.offset) + ": " + std::to_string(damage.bytes) +
           " bytes: " + damage.what;
}

damaged_frame::damaged_frame(const TDamage& damage) : std::runtime_error(Text(damage)), damage_(damage) {}

CRecording::~CRecording() = default;

std::size_t CRecording::Find(const std::string& track) const
{
    std::string names;
    for (std::size_t i = 0; i < Tracks().size(); ++i) {
        if (Tracks()[i].name == track)
            return i;
        names += (i == 0 ? "" : ", ") + Tracks()[i].name;
    }
    throw std::runtime_error(File() + ": found no track \"" + track + "\", wanted one of " + names);
}

std::unique_ptr<CRecording> Open(const std::string& path)
{
    boost::filesystem::path file = path;
    if (boost::filesystem::is_directory(file)) {
        const bool tar = !boost::filesystem::exists(file / kta_file) && boost::filesystem::exists(file / tar_file);
        file /= tar ? tar_file : kta_file;
    }
    const boost::filesystem::path extension = file.extension();
    if (extension == ".tar")
        return OpenTar(file);
    if (extension == ".kta" || extension == ".idx")
        return OpenKta(file.replace_extension(".kta"));
    throw std::runtime_error(path + ": found " +
                             (boost::filesystem::exists(file) ? "another kind of file" : "no such file") +
                             ", wanted the folder of a recording, or a .kta or .tar file");
}

}  // namespace rec
