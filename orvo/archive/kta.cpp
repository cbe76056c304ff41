#include "archive/kta.h"

#include <algorithm>
#include <array>
#include <boost/filesystem/operations.hpp>
#include <boost/make_shared.hpp>
#include <boost/system/error_code.hpp>
#include <cstddef>
#include <stdexcept>

namespace kta {

namespace {

// Frames pass a buffer by; it gathers the small payloads.
constexpr std::size_t data_buffer_size = std::size_t(1) << 20;
constexpr std::size_t most_waiting = 8192;

// A seek throws the buffer away, and the next read fills it whole: what a block does not need is wasted.
constexpr std::size_t read_buffer_size = 512;

// An index up to this length loads without moving the list; a longer one when its file does not grow meanwhile.
constexpr std::size_t usual_blocks = 1000000;

// Blocks read at once: they are still in the cache when their track numbers are noted.
constexpr std::size_t chunk = 2048;

struct TFiles
{
    char buffer[read_buffer_size];  // outlives the stream that uses it
    tfs streams;
};

boost::filesystem::path IndexPath(const boost::filesystem::path& file)
{
    return boost::filesystem::path(file).replace_extension(".idx");
}

/// About how many blocks the index holds, by its length; 0 when that is not known.
std::size_t ExpectedBlocks(const boost::filesystem::path& file)
{
    boost::system::error_code error;
    const boost::uintmax_t bytes = boost::filesystem::file_size(IndexPath(file), error);
    return error ? 0 : static_cast<std::size_t>(bytes / sizeof(BlockHeader)) + 1;
}

/// Null when one of the two cannot be opened.
boost::shared_ptr<tfs> OpenFiles(const boost::filesystem::path& file)
{
    const boost::shared_ptr<TFiles> files = boost::make_shared<TFiles>();
    tfs& streams = files->streams;
    streams.first.rdbuf()->pubsetbuf(files->buffer, sizeof files->buffer);
    streams.first.open(file.string(), std::ios::in | std::ios::binary);
    streams.second.open(IndexPath(file).string(), std::ios::in | std::ios::binary);
    return streams.first && streams.second ? boost::shared_ptr<tfs>(files, &streams) : nullptr;
}

Header ReadHeader(std::ifstream& index)
{
    Header header;
    std::memset(static_cast<void*>(&header), 0, sizeof header);  // what a file ends before must not read as version 1
    index.read(reinterpret_cast<char*>(&header), sizeof header);
    return header;
}

std::vector<Track> ReadTracks(std::ifstream& index, std::size_t count)
{
    std::vector<Track> tracks(count);
    index.read(reinterpret_cast<char*>(tracks.data()), static_cast<std::streamsize>(count * sizeof(Track)));
    const std::size_t whole = static_cast<std::size_t>(index.gcount()) / sizeof(Track);
    if (whole < count)
        std::memset(static_cast<void*>(&tracks[whole]), 0, (count - whole) * sizeof(Track));
    return tracks;
}

/// What the list ends with: the bytes that a last, incomplete read got over those of the block before.
BlockHeader ExtraBlock(const BlockHeader* before, const BlockHeader& read, std::size_t bytes)
{
    BlockHeader extra;
    if (before != nullptr)
        extra = *before;
    else
        std::memset(extra.rest, 0, sizeof extra.rest);
    std::memcpy(&extra, &read, bytes);
    return extra;
}

/// Fills `blocks` up to the end of the file, and gives the track number of each.
std::vector<std::uint8_t> ReadBlocks(std::ifstream& index, std::size_t expected, TBlockList& blocks)
{
    blocks.reserve(std::max(usual_blocks, expected + chunk));
    impl::ExpectPages(blocks.data(), expected * sizeof(BlockHeader));
    std::vector<std::uint8_t> numbers;

    while (index.good()) {
        std::size_t filled = numbers.size();
        blocks.resize(filled + chunk);
        index.read(reinterpret_cast<char*>(&blocks[filled]), chunk * sizeof(BlockHeader));
        const std::size_t bytes = static_cast<std::size_t>(index.gcount());
        std::size_t end = filled + bytes / sizeof(BlockHeader);
        if (!index) {
            blocks[end] = ExtraBlock(end > 0 ? &blocks[end - 1] : nullptr, blocks[end], bytes % sizeof(BlockHeader));
            ++end;
        }
        for (; filled < end; ++filled)
            numbers.push_back(blocks[filled].track);
    }
    blocks.resize(numbers.size());
    return numbers;
}

TTrackIndex TrackIndex(const TBlockList& blocks, const std::vector<std::uint8_t>& numbers, std::size_t tracks)
{
    std::array<std::size_t, 256> counts = {};
    for (const std::uint8_t number : numbers)
        ++counts[number];

    TTrackIndex index;
    std::array<TTrackBlocks*, 256> lists = {};
    for (std::size_t number = 0; number < tracks; ++number) {
        lists[number] = &index[static_cast<std::uint8_t>(number)];
        lists[number]->reserve(counts[number]);
    }
    for (std::size_t i = 0; i < numbers.size(); ++i)
        if (TTrackBlocks* const list = lists[numbers[i]])
            list->push_back(&blocks[i]);
    return index;
}

boost::system::error_code Error(boost::system::errc::errc_t value)
{
    return boost::system::errc::make_error_code(value);
}

}  // namespace

Track::Track()
{
    for (char* const field : {name, field1, field2, field3, field4, field5})
        std::memset(field, 0, sizeof name);
}

void write(const BlockHeader& block, std::ofstream& out)
{
    out.write(reinterpret_cast<const char*>(&block), sizeof block);
}

void read(std::ifstream& in, BlockHeader& block)
{
    in.read(reinterpret_cast<char*>(&block), sizeof block);
}

bool is_track_(const Track& track, const std::string& name)
{
    return name.size() == strnlen(track.name, sizeof track.name) &&
           std::memcmp(track.name, name.data(), name.size()) == 0;
}

void Write_Signature(std::ofstream&, long, long, Track::SignatureType) {}

namespace impl {

RDescr::~RDescr()
{
    if (files) {
        files->first.close();
        files->second.close();
    }
}

}  // namespace impl

std::map<boost::filesystem::path, impl::RDescr> r_dir;
std::map<boost::filesystem::path, impl::WDescr> w_dir;

boost::system::error_code Reader::Open(const boost::filesystem::path& file)
{
    if (r_dir.count(file) == 0) {
        impl::RDescr archive;
        archive.files = OpenFiles(file);
        if (!archive.files)
            return Error(boost::system::errc::bad_file_descriptor);
        std::ifstream& index = archive.files->second;
        archive.header = ReadHeader(index);
        if (archive.header.version == 1) {
            archive.tracks = ReadTracks(index, archive.header.track_count);
            const std::vector<std::uint8_t> numbers = ReadBlocks(index, ExpectedBlocks(file), archive.blocks);
            archive.track_index = TrackIndex(archive.blocks, numbers, archive.tracks.size());
        }
        r_dir.emplace(file, std::move(archive));
    }
    path_ = file;
    return boost::system::error_code();
}

boost::system::error_code Reader::Subscribe(const std::string& name)
{
    const auto archive = r_dir.find(path_);
    if (archive == r_dir.end())
        return Error(boost::system::errc::bad_file_descriptor);
    const std::vector<kta::Track>& tracks = archive->second.tracks;
    const auto track = std::find_if(tracks.begin(), tracks.end(),
                                    [&name](const kta::Track& candidate) { return is_track_(candidate, name); });
    files_ = archive->second.files;
    track_ = static_cast<std::uint8_t>(track - tracks.begin());
    blocks_ = &archive->second.track_index[track_];
    return boost::system::error_code();
}

boost::system::error_code Reader::Seek(unsigned long n)
{
    // A closed stream tells that the archive was erased, and its lists with it.
    if (!files_ || !files_->first.is_open() || n >= blocks_->size())
        return Error(boost::system::errc::invalid_seek);
    const std::uint64_t offset = (*blocks_)[n]->offset;
    return files_->first.seekg(static_cast<std::streamoff>(offset)) ? boost::system::error_code()
                                                                    : Error(boost::system::errc::invalid_seek);
}

std::ifstream& Reader::ifs_data()
{
    if (!files_)
        throw std::logic_error(path_.string() + ": found no subscription, wanted one to read data");
    return files_->first;
}

const Header& Reader::Header() const
{
    return Archive().header;
}

const std::vector<Track>& Reader::Tracks() const
{
    return Archive().tracks;
}

const Track& Reader::Track() const
{
    const std::vector<kta::Track>& tracks = Archive().tracks;
    if (!files_ || track_ >= tracks.size())
        throw std::logic_error(path_.string() + ": found no subscription to a track of the table, wanted one");
    return tracks[track_];
}

const TBlockList& Reader::Index() const
{
    return Archive().blocks;
}

const TTrackIndex& Reader::TrackIDX() const
{
    return Archive().track_index;
}

const impl::RDescr& Reader::Archive() const
{
    const auto archive = r_dir.find(path_);
    if (archive == r_dir.end())
        throw std::logic_error("\"" + path_.string() + "\": found no open archive, wanted a reader that is open");
    return archive->second;
}

Writer::Writer() : data_buffer_(new char[data_buffer_size])
{
    data_.rdbuf()->pubsetbuf(data_buffer_.get(), data_buffer_size);
    waiting_.reserve(most_waiting);
}

Writer::~Writer()
{
    try {
        if (data_.is_open() || index_.is_open())
            Close(boost::filesystem::path());
    } catch (const std::ios_base::failure&) {
        // From a caller's ofs_data().exceptions(): what a destructor cannot tell is what such a stream keeps to itself.
    }
}

void Writer::Open(const boost::filesystem::path& file, const std::vector<kta::Track>& tracks)
{
    if (data_.is_open() || index_.is_open())
        Close(boost::filesystem::path());
    waiting_.clear();
    data_.open(file.string(), std::ios::out | std::ios::trunc | std::ios::binary);
    if (!data_)
        data_.setstate(std::ios::badbit);  // no headers for payloads that go nowhere
    index_.open(IndexPath(file).string(), std::ios::out | std::ios::trunc | std::ios::binary);
    WriteHeader(index_, tracks);
}

void Writer::WriteHeader(std::ofstream& out, const std::vector<kta::Track>& tracks)
{
    kta::Header header;
    header.track_count = static_cast<std::uint8_t>(tracks.size() % 256);
    out.write(reinterpret_cast<const char*>(&header), sizeof header);
    out.write(reinterpret_cast<const char*>(tracks.data()),
              static_cast<std::streamsize>(tracks.size() * sizeof(kta::Track)));
}

void Writer::Write(const BlockHeader& block)
{
    waiting_.push_back(block);
    if (waiting_.size() == most_waiting)
        Flush();
}

bool Writer::Flush()
{
    // Past the stream: a failbit of the caller's says nothing about the payloads before it.
    if (data_.rdbuf()->pubsync() != 0)
        data_.setstate(std::ios::badbit);
    if (!data_.bad()) {
        index_.write(reinterpret_cast<const char*>(waiting_.data()),
                     static_cast<std::streamsize>(waiting_.size() * sizeof(BlockHeader)));
        index_.flush();
    }
    waiting_.clear();
    return Good();
}

void Writer::Close(const boost::filesystem::path&)
{
    Flush();
    index_.close();
    data_.close();
}

}  // namespace kta
