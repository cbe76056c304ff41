#include "commands/info.h"

#include <algorithm>
#include <set>

#include "archive/tar.h"
#include "orvo_proc_cimage/image.h"
#include "rec/picture.h"
#include "record/contents.h"
#include "system/console.h"

namespace host {

namespace fs = std::filesystem;

namespace {

/// The middle one of some values; 0 when there is none.
template <typename T>
T Median(std::vector<T> values)
{
    if (values.empty())
        return T();
    const auto middle = values.begin() + static_cast<std::ptrdiff_t>((values.size() - 1) / 2);
    std::nth_element(values.begin(), middle, values.end());
    return *middle;
}

TGaps FindGaps(const std::vector<rec::TBlock>& blocks)
{
    constexpr double pause = 3.0;  // times the usual interval
    std::vector<std::uint64_t> steps;
    std::vector<double> intervals;
    TGaps gaps;
    for (std::size_t i = 1; i < blocks.size(); ++i) {
        if (blocks[i].sequence > blocks[i - 1].sequence)
            steps.push_back(blocks[i].sequence - blocks[i - 1].sequence);
        else
            ++gaps.backwards;
        if (blocks[i].time.is_special() || blocks[i - 1].time.is_special())
            continue;
        const auto us = (blocks[i].time - blocks[i - 1].time).total_microseconds();
        intervals.push_back(static_cast<double>(us) / 1e6);
        if (intervals.back() > gaps.longest_interval) {
            gaps.longest_interval = intervals.back();
            gaps.before_longest = blocks[i - 1].sequence;
        }
    }
    gaps.usual_step = std::max<std::uint64_t>(1, Median(steps));
    for (const std::uint64_t step : steps)
        gaps.missing += (step - 1) / gaps.usual_step;
    gaps.usual_interval = Median(intervals);
    if (gaps.usual_interval > 0.0)
        gaps.pauses = static_cast<std::uint64_t>(std::count_if(
            intervals.begin(), intervals.end(), [&](double each) { return each > pause * gaps.usual_interval; }));
    return gaps;
}

void AddTimes(const std::vector<rec::TBlock>& blocks, TTrackInfo& info)
{
    std::uint64_t timed = 0;
    for (const rec::TBlock& block : blocks) {
        if (block.time.is_special())
            continue;
        info.first_time = timed++ == 0 ? block.time : info.first_time;
        info.last_time = block.time;
    }
    if (timed < 2 || info.last_time <= info.first_time)
        return;
    info.seconds = static_cast<double>((info.last_time - info.first_time).total_microseconds()) / 1e6;
    info.rate = static_cast<double>(timed - 1) / info.seconds;
}

/// Sizes and formats as the headers tell them. Where they do not, the first frame that can be read tells its own.
void AddPixels(rec::CRecording& recording, std::size_t track, const std::vector<rec::TBlock>& blocks, TTrackInfo& info)
{
    std::set<std::string> formats;
    const auto add_format = [&](const cimage::CImage& image) {
        if (formats.insert(image.Descriptor()).second)
            info.formats.push_back(image.Descriptor());
    };
    for (const rec::TBlock& block : blocks) {
        info.stored += block.size;
        if (block.format == nullptr)
            continue;
        const auto image = cimage::Build(*block.format, block.width, block.height);  // without pixels
        info.raw = info.raw.value_or(0) + image->RowBytes() * image->Height();
        ++info.compressed[block.compression];
        add_format(*image);
    }
    for (std::size_t frame = 0; frame < blocks.size() && info.formats.empty(); ++frame) {
        try {
            add_format(*recording.Read(track, frame).image);
        } catch (const rec::damaged_frame&) {
            // Told by whoever verifies.
        }
    }
}

TTrackInfo Describe(rec::CRecording& recording, std::size_t track)
{
    TTrackInfo info;
    info.track = recording.Tracks()[track];
    std::vector<rec::TBlock> blocks;
    for (std::size_t frame = 0; frame < recording.Frames(track); ++frame)
        blocks.push_back(recording.Block(track, frame));
    info.frames = blocks.size();
    AddPixels(recording, track, blocks, info);
    if (!blocks.empty()) {
        info.first_sequence = blocks.front().sequence;
        info.last_sequence = blocks.back().sequence;
    }
    AddTimes(blocks, info);
    info.gaps = FindGaps(blocks);
    return info;
}

std::uint64_t SizeOf(const fs::path& file)
{
    std::error_code error;
    const auto size = fs::file_size(file, error);
    return error ? 0 : size;
}

/// Members that are no frames of a recording.
std::vector<TMemberInfo> OtherMembers(const fs::path& archive)
{
    const CConsole::CCapture quiet;
    tar::Reader reader;
    reader.Open(archive.string(), {});
    std::vector<TMemberInfo> others;
    std::string camera;
    dev::TFrame<> frame;
    for (const auto& [name, header] : reader.Members())
        if (!name.empty() && !rec::ParsePictureName(name, camera, frame))
            others.push_back({name, header.data_size});
    return others;
}

void AddFrames(const fs::path& archive, TRecordingInfo& info)
{
    const auto recording = OpenQuietly(archive);
    info.archive = archive.string();
    info.bytes = SizeOf(archive);
    if (IsTar(archive))
        info.others = OtherMembers(archive);
    else
        info.bytes += SizeOf(fs::path(archive).replace_extension(".idx"));
    info.damage = recording->Damage();
    for (std::size_t track = 0; track < recording->Tracks().size(); ++track)
        info.tracks.push_back(Describe(*recording, track));
}

}  // namespace

ExitCode Info(const TInfoOptions& options, CConsole& console)
{
    const TContents contents = FindContents(options.path);
    TRecordingInfo info;
    info.path = NameOf(options.path);
    bool whole = true;
    const auto read = [&](const fs::path& file, const auto& add) {
        try {
            if (!file.empty())
                add();
        } catch (const std::exception& error) {
            console.Say(error.what());
            whole = false;
        }
    };
    read(contents.frames, [&] { AddFrames(contents.frames, info); });
    read(contents.events, [&] {
        info.events = ReadEventFile(contents.events);
        info.events_file = contents.events.string();
    });
    if (!info.archive.empty() || !info.events_file.empty())
        WriteResult(options.json ? InfoJson(info) : InfoText(info));
    return whole ? Done : Failed;
}

}  // namespace host
