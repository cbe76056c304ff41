#include "record/rig_recorder.h"

#include <fmt/format.h>
#include <algorithm>
#include <boost/make_shared.hpp>
#include <cerrno>
#include <cstdio>
#include <fstream>
#include <iterator>
#include <system_error>
#include <utility>

#include "dev/camera/preprocessor_node.h"
#include "rec/recording.h"
#include "record/disk_writers.h"
#include "record/frame_writable.h"
#include "record/lut_copies.h"
#include "system/console.h"

namespace host {

namespace {

namespace fs = std::filesystem;

constexpr std::size_t most_cameras = dev::CWritable::no_track;
/// Bytes of a camera's name: a member's name stays below 100 with any number, time and extension behind it.
constexpr std::size_t longest_tar_name = 50;

rec::Compression CompressionOf(const TRecordOptions& options, const TDevice& camera)
{
    return rec::ParseCompression(options.compression.empty() ? ValueOr(camera.settings, "RECORD COMPRESSION", "none")
                                                             : options.compression);
}

/// What a recorder makes in its folder, beside copies of lookup tables.
std::vector<fs::path> OwnFiles()
{
    return {rec::kta_file, fs::path(rec::kta_file).replace_extension(".idx"), rec::tar_file, rec::events_file,
            rec::rig_file};
}

/// Makes the folder and puts the rig file into it. Of two programs that want the same folder, one gets it.
void ClaimFolder(const fs::path& folder, const std::string& rig_text, const std::vector<std::string>& tables)
{
    const auto exists = [&folder](const fs::path& file) {
        return recording_exists(fmt::format("{}: found {}, wanted a folder without a recording; nothing is overwritten",
                                            folder.string(), file.string()));
    };
    std::error_code error;
    for (const fs::path& file : OwnFiles())
        if (fs::exists(folder / file, error))
            throw exists(file);
    for (const std::string& table : tables)
        if (fs::exists(folder / table, error))
            throw recording_exists(
                fmt::format("{}: found {}, wanted a folder without it, for a lookup table of that "
                            "name goes there; nothing is overwritten",
                            folder.string(), table));
    fs::create_directories(folder, error);
    if (error)
        throw std::system_error(error, folder.string());

    const fs::path path = folder / rec::rig_file;
    std::FILE* const file = std::fopen(path.c_str(), "wbx");
    if (file == nullptr && errno == EEXIST)
        throw exists(rec::rig_file);
    if (file == nullptr)
        ThrowErrno(path);
    errno = 0;
    const bool written = std::fwrite(rig_text.data(), 1, rig_text.size(), file) == rig_text.size();
    if (std::fclose(file) == 0 && written)
        return;
    const int reason = std::exchange(errno, 0);
    fs::remove(path, error);
    errno = reason;
    ThrowErrno(path);
}

rec::TTrack TrackOf(const TRecordOptions& options, const TDevice& camera, const boost::posix_time::ptime& start)
{
    rec::TTrack track;
    track.name = camera.name;
    track.node = RecordNode(camera);
    track.compression = CompressionOf(options, camera);
    track.source = ValueOr(camera.settings, "SOURCE", {});
    track.producer = options.producer;
    track.description = ValueOr(camera.settings, "DESCRIPTION", {});
    track.start = start;
    return track;
}

/// As a block of an archive, or as a picture.
template <typename Form>
TRecorderTrack RecorderTrack(std::size_t number, const std::string& camera, Form form)
{
    const auto pack = [number, camera, form](const dev::TFrame<>& frame) {
        return boost::make_shared<CFrameWritable>(static_cast<unsigned char>(number), camera, frame, form);
    };
    return {camera, pack};
}

}  // namespace

std::string RecordNode(const TDevice& camera)
{
    return ValueOr(camera.settings, "RECORD", dev::camera::CPreprocessorNode::Root);
}

std::string RecordFault(const TRecordOptions& options, const TRig& rig, const std::vector<std::string>& cameras)
{
    if (cameras.size() > most_cameras)
        return fmt::format("--record: found {} cameras, wanted at most {}", cameras.size(), most_cameras);
    const auto own = OwnFiles();
    for (const std::string& table : LutNames(rig))
        if (std::find(own.begin(), own.end(), table) != own.end())
            return fmt::format(
                "--record: found a lookup table named {}, wanted another name: a recording has a file {}", table,
                table);
    if (options.format != "tar")
        return {};
    for (const std::string& camera : cameras) {
        if (CompressionOf(options, *rig.Find(camera)) == rec::Compression::Zstd)
            return fmt::format("--format tar: found the compression zstd for {}, wanted none or png", camera);
        if (camera.size() > longest_tar_name)
            return fmt::format("--format tar: found a name of {} bytes, {}, wanted at most {}", camera.size(), camera,
                               longest_tar_name);
    }
    return {};
}

std::string FileBytes(const fs::path& file)
{
    std::ifstream stream(file, std::ios::binary);
    std::string bytes{std::istreambuf_iterator<char>(stream), {}};
    if (!stream)
        throw std::runtime_error(file.string() + ": cannot be read");
    return bytes;
}

std::unique_ptr<CRecorder> MakeRecorder(const TRecordOptions& options, const TRig& rig, const std::string& rig_text,
                                        const std::vector<std::string>& cameras, CEventLog::Names settings,
                                        CConsole& console)
{
    const bool tar = options.format == "tar";
    TRecorderSetup setup;
    setup.folder = options.folder;
    setup.title = fmt::format("{}: {}", rig.name, fmt::join(cameras, ", "));
    setup.min_free = options.min_free;
    setup.settings = std::move(settings);
    for (const std::string& camera : cameras) {
        const rec::Compression compression = CompressionOf(options, *rig.Find(camera));
        const std::size_t number = setup.tracks.size();
        const auto kind = compression == rec::Compression::Png ? rec::PictureKind::Png : rec::PictureKind::Pnm;
        setup.tracks.push_back(tar ? RecorderTrack(number, camera, kind) : RecorderTrack(number, camera, compression));
    }
    std::vector<TLutFault> lut_faults;
    const auto open = [&](const boost::posix_time::ptime& start) -> std::unique_ptr<dev::CDiskWriter> {
        ClaimFolder(options.folder, rig_text, LutNames(rig));
        lut_faults = CopyLuts(rig, options.folder / rec::rig_file, console);
        if (tar)
            return std::make_unique<CTarDiskWriter>(options.folder / rec::tar_file);
        std::vector<rec::TTrack> tracks;
        for (const std::string& camera : cameras)
            tracks.push_back(TrackOf(options, *rig.Find(camera), start));
        return std::make_unique<CKtaDiskWriter>(options.folder / rec::kta_file, tracks);
    };
    auto recorder = std::make_unique<CRecorder>(std::move(setup), open, console);
    for (const TLutFault& fault : lut_faults) {
        console.Say(fmt::format("{}: {}", fault.camera, fault.text));
        recorder->NoteError(fault.camera, fault.text);
    }
    return recorder;
}

}  // namespace host
