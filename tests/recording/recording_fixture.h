// Recordings for tests: frames with known pixels, written as a recorder writes them.
#ifndef TESTS_RECORDING_RECORDING_FIXTURE_H
#define TESTS_RECORDING_RECORDING_FIXTURE_H

#include <boost/date_time/posix_time/posix_time.hpp>
#include <boost/filesystem.hpp>
#include <cstring>
#include <fstream>
#include <iterator>
#include <random>
#include <string>
#include <vector>

#include "archive/kta.h"
#include "archive/tar.h"
#include "orvo_proc_cimage/image.h"
#include "rec/picture.h"
#include "rec/recording.h"

namespace recording_test {

using Image = boost::shared_ptr<const cimage::CImage>;

/// A folder of its own, gone with the object.
struct TFolder
{
    TFolder() { boost::filesystem::create_directories(path); }
    ~TFolder()
    {
        boost::system::error_code ignored;
        boost::filesystem::remove_all(path, ignored);
    }
    std::string Path(const std::string& name) const { return (path / name).string(); }

    const boost::filesystem::path path = boost::filesystem::temp_directory_path() / boost::filesystem::unique_path();
};

inline std::string ReadFile(const std::string& path)
{
    std::ifstream in(path, std::ios::binary);
    return std::string(std::istreambuf_iterator<char>(in), {});
}

inline void WriteFile(const std::string& path, const std::string& bytes)
{
    std::ofstream(path, std::ios::binary) << bytes;
}

/// Noise in the significant bits, with all of them set somewhere; or a slope, which packs well.
inline boost::shared_ptr<cimage::CImage> MakeImage(const std::string& descriptor, bool noise = true)
{
    const auto image = cimage::Build(descriptor);
    const unsigned int bits = image->Format().bits_per_sample;
    std::minstd_rand random(1);
    const std::size_t size = image->RowBytes() * image->Height();
    const std::size_t step = bits > 8 ? 2 : 1;
    for (std::size_t i = 0; i < size; i += step) {
        const std::size_t value = i == 0 ? 65535 : noise ? random() : i / 64;
        const auto sample = static_cast<std::uint16_t>(value & ((1U << bits) - 1));
        std::memcpy(image->Data() + i, &sample, step);
    }
    return image;
}

inline bool SamePixels(const cimage::CImage& a, const cimage::CImage& b)
{
    if (a.Descriptor() != b.Descriptor())
        return false;
    for (unsigned int y = 0; y < a.Height(); ++y)
        if (std::memcmp(a.Data() + y * a.Stride(), b.Data() + y * b.Stride(), a.RowBytes()) != 0)
            return false;
    return true;
}

inline dev::TFrame<> MakeFrame(const Image& image, std::uint64_t sequence, long microseconds)
{
    static const boost::posix_time::ptime begin(boost::gregorian::date(2026, 11, 21), boost::posix_time::hours(10));
    dev::TFrame<> frame;
    frame.image = image;
    frame.counter1 = sequence;
    frame.time_stamp = begin + boost::posix_time::microseconds(microseconds);
    return frame;
}

struct TWritten
{
    unsigned int track;
    dev::TFrame<> frame;
    rec::Compression compression;
    rec::PictureKind kind;
};

/// Frames as they were written; the cameras are "left" and "right".
using Frames = std::vector<TWritten>;

/// Two tracks of every kind of payload and picture, one frame of them unstamped, one a region.
inline Frames SomeFrames()
{
    using rec::Compression;
    using rec::PictureKind;
    const auto region = MakeImage("RGB8 3x2");
    region->SetGrid({0.5, 0.5, 1.0 / 3.0, -2.0, true});
    Frames frames = {{0, MakeFrame(MakeImage("Mono12 9x4"), 0, 0), Compression::Png, PictureKind::Png},
                     {1, MakeFrame(MakeImage("RGB8 6x4"), 1, 7), Compression::None, PictureKind::Pnm},
                     {0, MakeFrame(MakeImage("Mono12 9x4", false), 2, 100), Compression::Zstd, PictureKind::Pnm},
                     {1, MakeFrame(region, 3, 107), Compression::Zstd, PictureKind::Pnm},
                     {0, MakeFrame(MakeImage("Mono12 9x4"), 4, 200), Compression::None, PictureKind::Pnm},
                     {1, MakeFrame(MakeImage("RGB8 6x4", false), 5, 207), Compression::Png, PictureKind::Png}};
    frames[4].frame.time_stamp = boost::posix_time::ptime();
    return frames;
}

inline std::vector<kta::Track> SomeTracks()
{
    std::vector<kta::Track> tracks;
    for (const char* name : {"left", "right"}) {
        rec::TTrack track;
        track.name = name;
        track.node = "Undistort";
        track.compression = rec::Compression::Zstd;
        track.source = "images:*.jpg";
        track.producer = "orvo 0.1.0";
        track.description = "in front";
        track.start = MakeFrame(nullptr, 0, 0).time_stamp;
        tracks.push_back(rec::MakeTrack(track));
    }
    return tracks;
}

/// Writes the file and its index; returns its path, as WriteTar does.
inline std::string WriteKta(const std::string& path, const Frames& frames,
                            const std::vector<kta::Track>& tracks = SomeTracks())
{
    kta::Writer writer;
    writer.Open(path, tracks);
    std::uint64_t offset = 0;
    for (const TWritten& written : frames) {
        const rec::TPayload payload = rec::Pack(written.frame.image, written.compression);
        rec::TBlock block = rec::Describe(written.frame, payload);
        block.track = written.track;
        block.offset = offset;
        offset += payload.size;
        writer.ofs_data().write(reinterpret_cast<const char*>(payload.data),
                                static_cast<std::streamsize>(payload.size));
        writer.Write(rec::MakeBlockHeader(block));
    }
    writer.Close(path);
    return path;
}

inline std::string WriteTar(const std::string& path, const Frames& frames)
{
    tar::Writer writer;
    writer.Open(path);
    for (const TWritten& written : frames) {
        const rec::TPicture picture = rec::MakePicture(written.frame, written.kind);
        writer.Write(rec::PictureName(written.track == 0 ? "left" : "right", written.frame, picture.extension),
                     [&picture](std::ofstream& out) { out << picture.bytes; });
    }
    return path;
}

}  // namespace recording_test

#endif
