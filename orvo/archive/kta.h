// Track archives: the samples of several named tracks in a pair of files.
//
// The data file holds payloads, one behind the other, in whatever form their producer gives them. The index file lies
// beside it, under the same name with the extension ".idx": a header, the table of tracks, and one block header per
// payload, in the order written. So no two archives of one folder may differ in their extension alone, and an archive
// must not itself be named "….idx". docs/formats/kta.md shows every byte.
//
// Numbers are stored in the byte order of the machine that writes, without padding.
//
// Thread rule: none. Readers of one path share one data stream, so that a seek of one moves all; opening, subscribing
// and seeking expect one thread at a time in the whole process. A writer belongs to one thread.
#ifndef ARCHIVE_KTA_H
#define ARCHIVE_KTA_H

#include <boost/filesystem/path.hpp>
#include <boost/shared_ptr.hpp>
#include <boost/system/error_code.hpp>
#include <cstdint>
#include <cstring>
#include <fstream>
#include <map>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "archive/detail/kta_pages.h"
#include "base/export.h"

namespace kta {

/// A number at any address, as it stands in a record without padding. Reads and writes like a T.
template <typename T>
class TUnaligned
{
public:
    TUnaligned() = default;  ///< leaves the value unset
    TUnaligned(T value) { std::memcpy(bytes_, &value, sizeof value); }

    operator T() const
    {
        T value;
        std::memcpy(&value, bytes_, sizeof value);
        return value;
    }

private:
    unsigned char bytes_[sizeof(T)];
};

/// The beginning of an index file.
struct Header
{
    char magic[3] = {'K', 'T', 'A'};
    std::uint8_t reserved = 0;
    TUnaligned<std::uint16_t> version = 1;
    std::uint8_t track_count = 0;  ///< modulo 256: an archive of 256 tracks reads as one without tracks
};
static_assert(sizeof(Header) == 7, "stored as raw bytes");

/// One track. The archive knows the name alone; what the other fields say is up to the producer of a recording.
struct ORVO_DEV_API Track
{
    /// How the blocks of a track are signed. Values other than None belong to the producers of recordings.
    enum SignatureType : std::uint8_t
    {
        None = 0
    };

    /// Clears the character fields. The scalar fields hold whatever was in memory: set them before writing.
    Track();

    char name[1024];  ///< ends at the first NUL
    char field1[1024];
    char field2[1024];
    char field3[1024];
    std::uint8_t scalars1[9];  ///< the first byte is the SignatureType
    char field4[1024];
    std::uint8_t scalars2[8];
    char field5[1024];
};
static_assert(sizeof(Track) == 6161, "stored as raw bytes");

/// Where one block lies. The archive knows track and offset alone; what the other fields say is up to the producer.
struct BlockHeader
{
    /// Clears everything but `rest`, which holds whatever was in memory: a writer sets every byte that it wants
    /// defined.
    BlockHeader() : first(0), track(0), offset(0), fields{0, 0, 0, 0} {}

    TUnaligned<std::uint64_t> first;
    std::uint8_t track;                ///< position of the block's track in the table of tracks
    TUnaligned<std::uint64_t> offset;  ///< of the payload, bytes from the start of the data file
    TUnaligned<std::uint64_t> fields[4];
    std::uint8_t rest[64];
};
static_assert(sizeof(BlockHeader) == 113, "stored as raw bytes");

/// The 113 bytes of a block header. A stream that fails says so in its state, as ever; of a header cut short, the bytes
/// that were there are replaced.
ORVO_DEV_API void write(const BlockHeader& block, std::ofstream& out);
ORVO_DEV_API void read(std::ifstream& in, BlockHeader& block);

/// True when the name of the track, up to its first NUL, is `name`: same length, same bytes.
ORVO_DEV_API bool is_track_(const Track& track, const std::string& name);

/// Writes nothing: the place where a producer's build may sign the bytes from one position to another.
ORVO_DEV_API void Write_Signature(std::ofstream& out, long from, long to, Track::SignatureType type);

/// The open files of an archive: the data, then the index.
typedef std::pair<std::ifstream, std::ifstream> tfs;

/// All blocks of an archive, and those of one track, each in file order.
typedef std::vector<BlockHeader, impl::TPageAllocator<BlockHeader>> TBlockList;
typedef std::vector<const BlockHeader*> TTrackBlocks;
typedef std::map<std::uint8_t, TTrackBlocks> TTrackIndex;

namespace impl {

/// An archive that is open for reading.
struct ORVO_DEV_API RDescr
{
    RDescr() = default;
    RDescr(RDescr&&) = default;
    RDescr& operator=(RDescr&&) = delete;
    ~RDescr();  ///< closes the files, so that a reader that still knows them cannot seek in a list that is gone

    Header header;
    std::vector<Track> tracks;
    TBlockList blocks;
    TTrackIndex track_index;  ///< points into `blocks`
    boost::shared_ptr<tfs> files;
};

/// The writers' counterpart.
struct WDescr
{
    Header header;
    std::vector<Track> tracks;
};

}  // namespace impl

/// The archives that are open for reading, by the path that they were opened under. They stay until the process ends or
/// somebody erases them: `kta::r_dir.erase(path)` closes the files and returns the memory. Readers of an erased archive
/// are as good as not open.
extern ORVO_DEV_API std::map<boost::filesystem::path, impl::RDescr> r_dir;

/// Room for programs to note what they are writing; a Writer does not enter itself.
extern ORVO_DEV_API std::map<boost::filesystem::path, impl::WDescr> w_dir;

/// Reads the blocks of one track by their number. Cheap to copy; a copy has the same subscription.
class ORVO_DEV_API Reader
{
public:
    Reader() = default;

    /// Opens `file` and its index, or shares what is already open under this path. The whole index is read into memory.
    ///
    /// Error 9 (bad file descriptor) when one of the two files cannot be opened; then nothing is registered. Bad
    /// content is no error: an index of another version, or one that ends inside its header, gives a reader without
    /// tracks and blocks; one that ends inside the table of tracks has empty records (all zero) in place of those not
    /// read, and no blocks. Blocks of a track that the table does not have are in Index() and in no track's list.
    ///
    /// The list of blocks always ends with one that nobody wrote: the last block once more, its beginning replaced by
    /// what a torn file holds behind it; a block of zeros in an archive without any. It counts as a block of its track.
    ///
    /// A subscription made before stays as it is until the next Subscribe(). Throws std::bad_alloc.
    boost::system::error_code Open(const boost::filesystem::path& file);

    /// Chooses the first track of that name. Error 9 (bad file descriptor) when the archive is not open. A name that no
    /// track has chooses an empty list of blocks.
    boost::system::error_code Subscribe(const std::string& name);

    /// Moves the data stream to block `n` of the track, counted from 0. Error 29 (illegal seek) when there is no such
    /// block or no subscription, and when the stream is not good afterwards. A stream that a read behind its end made
    /// fail stays so, for every reader of the path, until somebody calls ifs_data().clear().
    boost::system::error_code Seek(unsigned long n);

    /// The data stream, shared by all readers of the path; closed once the archive has been erased. It has a small
    /// buffer, made for seeks: read a block in one call. Throws std::logic_error before the first Subscribe().
    std::ifstream& ifs_data();

    /// What the index holds, valid until the archive is erased. These throw std::logic_error on a reader that is not
    /// open; Track() also without a subscription, or when the name subscribed to is not in the table.
    const kta::Header& Header() const;
    const std::vector<kta::Track>& Tracks() const;
    const kta::Track& Track() const;
    const TBlockList& Index() const;
    const TTrackIndex& TrackIDX() const;

private:
    const impl::RDescr& Archive() const;

    boost::filesystem::path path_;
    boost::shared_ptr<tfs> files_;          ///< null before the first subscription
    std::uint8_t track_ = 0;                ///< number of the track subscribed to
    const TTrackBlocks* blocks_ = nullptr;  ///< its blocks, there as long as the files are open
};

/// Writes an archive. Per block: the payload goes to ofs_data(), then Write() takes its header.
///
/// At no moment does the index file hold the header of a block whose payload the operating system has not got, provided
/// that each payload is written before its header: headers wait in memory, at most 8192 of them, and data goes first.
/// So a process that dies leaves an archive that can be read, which lacks what was written since the last Flush(). Once
/// a write of data fails, the headers that wait are lost with it.
class ORVO_DEV_API Writer
{
public:
    Writer();
    ~Writer();  ///< what Close() does
    Writer(const Writer&) = delete;
    Writer& operator=(const Writer&) = delete;

    /// Creates or empties `file` and its index, and writes the header and the tracks. Like every failure of a writer,
    /// one to open shows in Good() alone. An archive that is still open is closed first.
    void Open(const boost::filesystem::path& file, const std::vector<Track>& tracks);

    /// Writes the beginning of an index to any stream. Of the number of tracks, the header holds the last 8 bits.
    void WriteHeader(std::ofstream& out, const std::vector<Track>& tracks);

    /// Takes the payloads. A caller that counts the bytes it writes saves one tellp(), a system call, per block.
    /// Beware of `<<` with an empty stream buffer: the stream fails and takes no more, while headers go on.
    std::ofstream& ofs_data() { return data_; }

    void Write(const BlockHeader& block);

    /// Hands everything written so far to the operating system, the data first. False when any write since Open()
    /// failed.
    bool Flush();

    /// False when opening, a write that reached the operating system, or closing failed since the last Open().
    bool Good() const { return data_.good() && index_.good(); }

    /// Closes both files; the argument is not used. A close that fails shows in Good().
    void Close(const boost::filesystem::path& file);

private:
    std::unique_ptr<char[]> data_buffer_;
    std::ofstream data_;
    std::ofstream index_;
    std::vector<BlockHeader> waiting_;  ///< headers that the index file does not have yet
};

}  // namespace kta

#endif
