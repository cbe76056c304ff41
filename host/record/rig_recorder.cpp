#include "record/rig_recorder.h"

#include <fmt/format.h>
#include <algorithm>
#include <boost/make_shared.hpp>
#include <cerrno>
#include <cstdio>
#include <fstream>
#include <iterator>
#include <set>
#include <system_error>
#include <utility>

#include "dev/camera/preprocessor_node.h"
#include "rec/recording.h"
#include "record/disk_writers.h"
#include "record/frame_writable.h"
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

/// Makes the folder and puts the rig file into it. Of two programs that want the same folder, one gets it.
void ClaimFolder(const fs::path& folder, const std::string& rig_text)
{
    const auto exists = [&folder](const fs::path& file) {
        return recording_exists(fmt::format("{}: found {}, wanted a folder without a recording; nothing is overwritten",
                                            folder.string(), file.string()));
    };
    std::error_code error;
    for (const fs::path& file : {fs::path(rec::kta_file), fs::path(rec::kta_file).replace_extension(".idx"),
                                 fs::path(rec::tar_file), fs::path(rec::events_file), fs::path(rec::rig_file)})
        if (fs::exists(folder / file, error))
            throw exists(file);
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

/// Copies what the keys "LUT..." name, each file once, under its own name; tells of what could not be copied.
void CopyLuts(const TRig& rig, const fs::path& folder, CConsole& console)
{
    std::set<fs::path> copied;
    for (const TDevice& device : rig.devices)
        for (const std::string& key : device.settings.Keys()) {
            const std::string value = ValueOr(device.settings, key, {});
            if (device.type != DeviceType::Camera || key.compare(0, 3, "LUT") != 0 || value.empty())
                continue;
            const fs::path file = Absolute(rig, value).lexically_normal();
            if (!copied.insert(file).second)
                continue;
            std::error_code error;
            fs::copy_file(file, folder / file.filename(), error);  // never over another one
            if (error)
                console.Say(fmt::format("{}: [{}] {}: {} is not in the recording: {}", rig.file.string(), device.name,
                                        key, file.string(), error.message()));
        }
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
                                        const std::vector<std::string>& cameras, CConsole& console)
{
    const bool tar = options.format == "tar";
    TRecorderSetup setup;
    setup.folder = options.folder;
    setup.title = fmt::format("{}: {}", rig.name, fmt::join(cameras, ", "));
    setup.min_free = options.min_free;
    for (const std::string& camera : cameras) {
        const rec::Compression compression = CompressionOf(options, *rig.Find(camera));
        const std::size_t number = setup.tracks.size();
        const auto kind = compression == rec::Compression::Png ? rec::PictureKind::Png : rec::PictureKind::Pnm;
        setup.tracks.push_back(tar ? RecorderTrack(number, camera, kind) : RecorderTrack(number, camera, compression));
    }
    const auto open = [&](const boost::posix_time::ptime& start) -> std::unique_ptr<dev::CDiskWriter> {
        ClaimFolder(options.folder, rig_text);
        CopyLuts(rig, options.folder, console);
        if (tar)
            return std::make_unique<CTarDiskWriter>(options.folder / rec::tar_file);
        std::vector<rec::TTrack> tracks;
        for (const std::string& camera : cameras)
            tracks.push_back(TrackOf(options, *rig.Find(camera), start));
        return std::make_unique<CKtaDiskWriter>(options.folder / rec::kta_file, tracks);
    };
    return std::make_unique<CRecorder>(std::move(setup), open, console);
}

}  // namespace host
