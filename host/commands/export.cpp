#include "commands/export.h"

#include <fmt/format.h>
#include <algorithm>
#include <boost/date_time/posix_time/conversion.hpp>
#include <boost/make_shared.hpp>
#include <chrono>
#include <csignal>
#include <fstream>
#include <memory>
#include <set>
#include <stdexcept>
#include <utility>

#include "commands/camera_names.h"
#include "record/contents.h"
#include "record/damage_json.h"
#include "record/disk_writers.h"
#include "record/frame_writable.h"
#include "record/picture_writer.h"
#include "rig/fault.h"
#include "run/digest.h"
#include "system/console.h"
#include "system/progress.h"
#include "system/quantities.h"

namespace host {

namespace fs = std::filesystem;

namespace {

enum class Form
{
    Images,
    Tar,
    Kta
};

Form ParseForm(const std::string& text)
{
    return text == "images" ? Form::Images : text == "tar" ? Form::Tar : Form::Kta;
}

/// Ctrl-C between two frames, so that nothing is left behind; a second one ends the process at once.
class CInterruptible
{
public:
    CInterruptible()
    {
        asked_ = 0;
        for (const int signal : signals)
            std::signal(signal, [](int caught) {
                asked_ = 1;
                std::signal(caught, SIG_DFL);
            });
    }
    ~CInterruptible()
    {
        for (const int signal : signals)
            std::signal(signal, SIG_DFL);
    }
    CInterruptible(const CInterruptible&) = delete;
    CInterruptible& operator=(const CInterruptible&) = delete;

    static bool Asked() { return asked_ != 0; }

private:
    static constexpr int signals[] = {SIGINT, SIGTERM};
    static volatile std::sig_atomic_t asked_;
};
volatile std::sig_atomic_t CInterruptible::asked_ = 0;

struct interrupted : std::runtime_error
{
    interrupted() : std::runtime_error("interrupted; nothing is left of the output") {}
};

/// The place where the output grows; gone with this object unless it was put in its place.
class CPart
{
public:
    /// Throws std::runtime_error when it is there already or cannot be made.
    explicit CPart(fs::path output) : output_(std::move(output)), folder_(output_.string() + ".part")
    {
        fs::create_directories(output_.parent_path());
        if (!fs::create_directory(folder_))
            throw std::runtime_error(fmt::format(
                "{}: found what another export writes or has left behind, wanted no such folder", folder_.string()));
    }
    ~CPart()
    {
        std::error_code ignored;
        fs::remove_all(folder_, ignored);
    }
    CPart(const CPart&) = delete;
    CPart& operator=(const CPart&) = delete;

    const fs::path& Folder() const { return folder_; }

    void PutFolder() { fs::rename(folder_, output_); }

    /// An archive alone: its data first, for without its index a KTA archive does not look whole.
    void PutArchive(const fs::path& archive)
    {
        fs::rename(archive, output_);
        if (archive.extension() == ".kta")
            fs::rename(fs::path(archive).replace_extension(".idx"), fs::path(output_).replace_extension(".idx"));
    }

private:
    const fs::path output_;
    const fs::path folder_;
};

/// What has to be the same of a frame before and after.
struct TMark
{
    std::uint64_t sequence;
    boost::posix_time::ptime time;
    std::uint64_t digest;

    bool operator==(const TMark& other) const
    {
        // Times that are none are equal to nothing, not even to themselves.
        return sequence == other.sequence && digest == other.digest &&
               (time == other.time || (time.is_special() && other.time.is_special()));
    }
};

TMark MarkOf(const dev::TFrame<>& frame)
{
    return {frame.counter1, frame.time_stamp, Digest(*frame.image)};
}

struct TExportedCamera
{
    std::size_t track;  ///< in the recording
    rec::TTrack record;
    std::uint64_t in = 0;
    std::vector<TMark> out;
};

/// The earliest time of a recording's frames or, where nobody stamped them, that of its file.
boost::posix_time::ptime FirstTime(const rec::CRecording& recording)
{
    boost::posix_time::ptime first(boost::date_time::pos_infin);
    for (std::size_t track = 0; track < recording.Tracks().size(); ++track)
        for (std::size_t frame = 0; frame < recording.Frames(track); ++frame) {
            const auto time = recording.Block(track, frame).time;
            first = time.is_special() ? first : std::min(first, time);
        }
    if (!first.is_special())
        return first;
    const auto written = std::chrono::file_clock::to_sys(fs::last_write_time(recording.File()));
    return boost::posix_time::from_time_t(std::chrono::system_clock::to_time_t(
        std::chrono::time_point_cast<std::chrono::system_clock::duration>(written)));
}

class CExport
{
public:
    CExport(const TExportOptions& options, rec::CRecording& recording, const std::vector<std::string>& cameras,
            fs::path folder)
        : recording_(recording), form_(ParseForm(options.to)), folder_(std::move(folder))
    {
        for (std::size_t track = 0; track < recording.Tracks().size(); ++track) {
            const rec::TTrack& record = recording.Tracks()[track];
            if (std::find(cameras.begin(), cameras.end(), record.name) == cameras.end())
                continue;
            cameras_.push_back({track, record, recording.Frames(track), {}});
            // A TAR archive does not say when it was begun, and a track has to.
            if (cameras_.back().record.start.is_special())
                cameras_.back().record.start = FirstTime(recording);
            if (!options.compress.empty())
                cameras_.back().record.compression = rec::ParseCompression(options.compress);
        }
    }

    /// The archive that is made; of pictures their folder.
    fs::path Archive() const
    {
        return form_ == Form::Images ? folder_ : folder_ / (form_ == Form::Tar ? rec::tar_file : rec::kta_file);
    }

    void Copy(CConsole& console);
    /// Throws std::runtime_error when what was written is not what was read.
    void Check(CConsole& console) const;

    const std::vector<TExportedCamera>& Cameras() const { return cameras_; }
    const std::vector<rec::TDamage>& Damage() const { return damage_; }

private:
    struct TPlace
    {
        std::uint64_t offset;
        std::uint64_t size;
        std::size_t camera;
        std::size_t frame;
    };

    std::vector<TPlace> Places() const;
    std::unique_ptr<dev::CDiskWriter> MakeWriter() const;
    void CopyFrame(dev::CDiskWriter& writer, std::size_t camera, const dev::TFrame<>& frame);
    void CheckPicture(const CFrameWritable& picture, const TMark& mark) const;

    rec::CRecording& recording_;
    const Form form_;
    const fs::path folder_;
    std::vector<TExportedCamera> cameras_;
    std::vector<rec::TDamage> damage_;
};

/// The frames of all cameras as they lie in the archive, for that is the order in which it is read fastest, and in
/// which they came.
std::vector<CExport::TPlace> CExport::Places() const
{
    std::vector<TPlace> places;
    for (std::size_t camera = 0; camera < cameras_.size(); ++camera)
        for (std::size_t frame = 0; frame < cameras_[camera].in; ++frame) {
            const rec::TBlock block = recording_.Block(cameras_[camera].track, frame);
            places.push_back({block.offset, block.size, camera, frame});
        }
    std::stable_sort(places.begin(), places.end(),
                     [](const TPlace& a, const TPlace& b) { return a.offset < b.offset; });
    return places;
}

std::unique_ptr<dev::CDiskWriter> CExport::MakeWriter() const
{
    if (form_ == Form::Images)
        return std::make_unique<CPictureWriter>(folder_);
    if (form_ == Form::Tar)
        return std::make_unique<CTarDiskWriter>(Archive());
    constexpr std::size_t most_tracks = 255;  // their number is one byte, and 256 would read as none
    if (cameras_.size() > most_tracks)
        throw std::runtime_error(
            fmt::format("found {} cameras, wanted at most {} for --to kta", cameras_.size(), most_tracks));
    std::vector<rec::TTrack> tracks;
    for (const TExportedCamera& camera : cameras_)
        tracks.push_back(camera.record);
    return std::make_unique<CKtaDiskWriter>(Archive(), tracks);
}

void CExport::Copy(CConsole& console)
{
    const CConsole::CCapture quiet;
    const auto places = Places();
    std::uint64_t bytes = 0;
    for (const TPlace& place : places)
        bytes += place.size;
    CProgress progress(console, "exporting", bytes);
    const auto writer = MakeWriter();
    for (const TPlace& place : places) {
        if (CInterruptible::Asked())
            throw interrupted();
        try {
            CopyFrame(*writer, place.camera, recording_.Read(cameras_[place.camera].track, place.frame));
        } catch (const rec::damaged_frame& error) {
            damage_.push_back(error.Damage());
        }
        progress.Step(place.size);
    }
    if (!writer->Close())
        throw std::runtime_error(fmt::format("{}: found a write that failed, wanted all of them", Archive().string()));
}

void CExport::CopyFrame(dev::CDiskWriter& writer, std::size_t camera, const dev::TFrame<>& frame)
{
    TExportedCamera& to = cameras_[camera];
    const auto track = static_cast<unsigned char>(camera);
    const rec::Compression compression = to.record.compression;
    const auto kind = compression == rec::Compression::Png ? rec::PictureKind::Png : rec::PictureKind::Pnm;
    const auto writable = form_ == Form::Kta
                              ? boost::make_shared<CFrameWritable>(track, to.record.name, frame, compression)
                              : boost::make_shared<CFrameWritable>(track, to.record.name, frame, kind);
    writer.Write(writable, track);
    to.out.push_back(MarkOf(frame));
    if (form_ == Form::Images)
        CheckPicture(*writable, to.out.back());
}

/// Pictures are read back one by one, while the system still has them in memory.
void CExport::CheckPicture(const CFrameWritable& picture, const TMark& mark) const
{
    const fs::path file = folder_ / picture.Name();
    std::string bytes(fs::file_size(file), '\0');
    std::ifstream(file, std::ios::binary).read(bytes.data(), static_cast<std::streamsize>(bytes.size()));
    const auto image = rec::ReadPicture(reinterpret_cast<const std::uint8_t*>(bytes.data()), bytes.size());
    if (Digest(*image) != mark.digest)
        throw std::runtime_error(
            fmt::format("{}: found other pixels on reading back, wanted those written", file.string()));
}

void CExport::Check(CConsole& console) const
{
    if (form_ == Form::Images) {
        const auto files = std::count_if(fs::recursive_directory_iterator(folder_), {},
                                         [](const fs::directory_entry& entry) { return entry.is_regular_file(); });
        std::size_t out = 0;
        for (const TExportedCamera& camera : cameras_)
            out += camera.out.size();
        if (static_cast<std::size_t>(files) != out)
            throw std::runtime_error(
                fmt::format("{}: found {} pictures on reading back, wanted {}", folder_.string(), files, out));
        return;
    }
    const auto written = OpenQuietly(Archive());
    std::uint64_t bytes = 0;
    for (std::size_t track = 0; track < written->Tracks().size(); ++track)
        for (std::size_t frame = 0; frame < written->Frames(track); ++frame)
            bytes += written->Block(track, frame).size;
    CProgress progress(console, "reading back", bytes);
    for (const TExportedCamera& camera : cameras_) {
        if (camera.out.empty())
            continue;  // a TAR archive knows no camera without frames
        const std::size_t track = written->Find(camera.record.name);
        if (written->Frames(track) != camera.out.size())
            throw std::runtime_error(fmt::format("{}: {}: found {} frames on reading back, wanted {}",
                                                 Archive().string(), camera.record.name, written->Frames(track),
                                                 camera.out.size()));
        for (std::size_t frame = 0; frame < camera.out.size(); ++frame) {
            if (CInterruptible::Asked())
                throw interrupted();
            if (!(MarkOf(written->Read(track, frame)) == camera.out[frame]))
                throw std::runtime_error(fmt::format("{}: {}: found another frame {} on reading back, wanted {}",
                                                     Archive().string(), camera.record.name, frame,
                                                     camera.out[frame].sequence));
            progress.Step(written->Block(track, frame).size);
        }
    }
}

/// Whether the output is to be an archive alone, rather than the folder of a recording.
bool IsArchive(const TExportOptions& options)
{
    return options.to != "images" && options.output.extension() == '.' + options.to && !fs::exists(options.output);
}

/// False, having told why, when the output would take the place of something.
bool IsFree(const TExportOptions& options, CConsole& console)
{
    std::vector<fs::path> files{options.output};
    if (options.to == "kta" && IsArchive(options))
        files.push_back(fs::path(options.output).replace_extension(".idx"));
    for (const fs::path& file : files) {
        std::error_code error;
        const auto status = fs::symlink_status(file, error);
        if (!fs::exists(status) || (fs::is_directory(status) && fs::is_empty(file, error)))
            continue;
        console.Say(fmt::format("--output: {}: found {}, wanted a path that is free, or an empty folder", file.string(),
                                fs::is_directory(status) ? "a folder with files" : "a file"));
        return false;
    }
    return true;
}

/// What a recording's folder holds beside the frames: the rig, the events, lookup tables.
void CopyOthers(const fs::path& from, const fs::path& to)
{
    const std::set<fs::path> frames{rec::kta_file, fs::path(rec::kta_file).replace_extension(".idx"), rec::tar_file};
    for (const fs::directory_entry& entry : fs::directory_iterator(from))
        if (entry.is_regular_file() && frames.count(entry.path().filename()) == 0)
            fs::copy_file(entry.path(), to / entry.path().filename());
}

std::string AsText(const TExportOptions& options, const CExport& done, const std::vector<rec::TDamage>& damage)
{
    std::string text;
    for (const rec::TDamage& each : damage)
        text += DamageLine(each) + '\n';
    std::uint64_t in = 0;
    std::uint64_t out = 0;
    for (const TExportedCamera& camera : done.Cameras()) {
        text += fmt::format("{}: {} in, {} out\n", OneLine(camera.record.name), Plural(camera.in, "frame"),
                            camera.out.size());
        in += camera.in;
        out += camera.out.size();
    }
    return text + fmt::format("{}: {} in, {} out, read back and found equal\n", options.output.string(),
                              Plural(in, "frame"), out);
}

std::string AsJson(const TExportOptions& options, const CExport& done, const std::vector<rec::TDamage>& damage)
{
    Json cameras = Json::array();
    for (const TExportedCamera& camera : done.Cameras())
        cameras.push_back(
            {{"camera", camera.record.name}, {"frames_in", camera.in}, {"frames_out", camera.out.size()}});
    return JsonText({{"path", NameOf(options.path)},
                     {"to", options.to},
                     {"output", options.output.string()},
                     {"cameras", cameras},
                     {"damage", DamageJson(damage)}});
}

}  // namespace

ExitCode Export(const TExportOptions& options, CConsole& console)
{
    const TContents contents = FindContents(options.path);
    std::unique_ptr<rec::CRecording> recording;
    std::vector<std::string> names;
    if (!contents.frames.empty()) {
        recording = OpenQuietly(contents.frames);
        for (const rec::TTrack& track : recording->Tracks())
            names.push_back(track.name);
    }
    if (names.empty())
        throw std::runtime_error(fmt::format("{}: found no frames, wanted some to export", options.path.string()));
    const auto unknown = UnknownCameras(options.cameras, names);
    for (const std::string& text : unknown)
        console.Say(text);
    if (!unknown.empty())
        return BadArguments;
    if (options.compress == "zstd" && options.to != "kta") {
        console.Say(fmt::format("--compress: found zstd, wanted none or png for --to {}", options.to));
        return BadArguments;
    }
    if (!IsFree(options, console))
        return Failed;

    const CInterruptible interruptible;
    const fs::path output = NameOf(fs::absolute(options.output));
    const bool archive_alone = IsArchive(options);
    CPart part(output);
    CExport work(options, *recording, Chosen(options.cameras, names), part.Folder());
    try {
        work.Copy(console);
        work.Check(console);
    } catch (const interrupted& error) {
        console.Say(error.what());
        return Interrupted;
    }
    if (archive_alone) {
        part.PutArchive(work.Archive());
    } else {
        if (options.to != "images" && fs::is_directory(options.path))
            CopyOthers(options.path, part.Folder());
        part.PutFolder();
    }

    std::vector<rec::TDamage> damage = recording->Damage();
    damage.insert(damage.end(), work.Damage().begin(), work.Damage().end());
    WriteResult(options.json ? AsJson(options, work, damage) : AsText(options, work, damage));
    return damage.empty() ? Done : DataLost;
}

}  // namespace host
