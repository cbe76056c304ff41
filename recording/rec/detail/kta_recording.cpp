// A recording in a KTA archive.
#include <algorithm>
#include <boost/filesystem/operations.hpp>
#include <mutex>

#include "archive/kta.h"
#include "orvo_proc_cimage/image.h"
#include "rec/detail/archive_file.h"

namespace rec {

namespace {

using boost::filesystem::path;

path IndexOf(const path& data)
{
    return path(data).replace_extension(".idx");
}

/// The index of an archive, out of the library's registry, which knows one thread alone and keeps what it has for ever:
/// here it is one recording's own, gone with it, and a file that was written anew is read anew.
kta::impl::RDescr TakeIndex(const path& data)
{
    static std::mutex mutex;
    // A spelling that other users of the registry do not have, so that nobody's index is taken away.
    const path key = data.parent_path() / "." / data.filename();
    const std::lock_guard<std::mutex> lock(mutex);
    const boost::system::error_code error = kta::Reader().Open(key);
    if (error)
        throw std::runtime_error(data.string() + ": found " + error.message() + ", wanted a readable archive");
    const auto entry = kta::r_dir.find(key);
    kta::impl::RDescr archive(std::move(entry->second));
    kta::r_dir.erase(entry);
    return archive;
}

class CKtaRecording : public CRecording
{
public:
    explicit CKtaRecording(const path& data) : data_(data), index_(IndexOf(data)), archive_(TakeIndex(data))
    {
        CheckIndex();
        const bool sound_track = ReadTracks();
        const bool sound_block = ReadBlocks();
        if (!sound_track && !sound_block)
            throw std::runtime_error(data_.Path() +
                                     ": found an archive without the checksums of a recording, wanted one that orvo "
                                     "recorded: who made this one says himself what its fields mean");
        archive_.track_index.clear();
        archive_.files.reset();
    }

    std::string File() const override { return data_.Path(); }
    const std::vector<TTrack>& Tracks() const override { return tracks_; }
    const std::vector<TDamage>& Damage() const override { return damage_; }
    std::size_t Frames(std::size_t track) const override { return frames_.at(track).size(); }

    TBlock Block(std::size_t track, std::size_t frame) const override
    {
        TBlock block;
        ReadBlockHeader(*frames_.at(track).at(frame), block);
        return block;
    }

    dev::TFrame<> Read(std::size_t track, std::size_t frame) override
    {
        const TBlock block = Block(track, frame);
        const std::vector<std::uint8_t>& bytes = Payload(block);
        dev::TFrame<> read;
        try {
            const auto image =
                Unpack(bytes.data(), bytes.size(), block.compression, *block.format, block.width, block.height);
            image->SetGrid(block.grid);
            read.image = image;
        } catch (const std::runtime_error& error) {
            throw Damaged(data_, tracks_[track], block, error.what());
        }
        read.time_stamp = block.time;
        read.counter1 = block.sequence;
        read.text = PlaceOf(data_, tracks_[track], block);
        return read;
    }

    bool Check(std::size_t track, std::size_t frame) override
    {
        Payload(Block(track, frame));
        return true;
    }

private:
    std::uint64_t BlocksBegin() const { return sizeof(kta::Header) + sizeof(kta::Track) * archive_.tracks.size(); }

    void Note(const CArchiveFile& file, std::uint64_t offset, std::uint64_t bytes, const std::string& what)
    {
        TDamage damage;
        damage.where = file.Name();
        damage.offset = offset;
        damage.bytes = bytes;
        damage.what = what;
        damage_.push_back(damage);
    }

    /// What no recording can be without.
    void CheckIndex() const
    {
        const kta::Header& header = archive_.header;
        const auto fail = [this](const std::string& what) { throw std::runtime_error(index_.Path() + ": " + what); };
        if (index_.Size() < sizeof header)
            fail("found " + std::to_string(index_.Size()) + " bytes, wanted the index of an archive");
        if (!std::equal(header.magic, header.magic + 3, "KTA") || header.reserved != 0)
            fail("found another beginning, wanted the \"KTA\" of an archive's index");
        if (header.version != 1)
            fail("found version " + std::to_string(header.version) + ", wanted 1");
        if (archive_.tracks.empty())
            fail("found no tracks, wanted at least one");
        if (index_.Size() < BlocksBegin())
            fail("found the end of the file at byte " + std::to_string(index_.Size()) + ", wanted a table of " +
                 std::to_string(archive_.tracks.size()) + " tracks, up to byte " + std::to_string(BlocksBegin()));
    }

    /// True when at least one record is sound.
    bool ReadTracks()
    {
        bool sound = false;
        for (std::size_t i = 0; i < archive_.tracks.size(); ++i) {
            TTrack track;
            if (ReadTrack(archive_.tracks[i], track))
                sound = true;
            else
                Note(index_, sizeof(kta::Header) + i * sizeof(kta::Track), sizeof(kta::Track),
                     "found a track record with another checksum or unknown contents, wanted one as it was written");
            tracks_.push_back(track);
        }
        frames_.resize(tracks_.size());
        return sound;
    }

    /// True when at least one header is sound.
    bool ReadBlocks()
    {
        const std::size_t count = archive_.blocks.size() - 1;  // the last one is the library's own
        std::size_t damaged = 0;                               // headers one behind the other, up to this one
        std::uint64_t end = 0;                                 // of the payloads so far
        std::uint64_t torn_end = 0;                            // of those that the file no longer has
        std::size_t torn = 0;
        for (std::size_t i = 0; i < count; ++i) {
            TBlock block;
            if (!ReadBlockHeader(archive_.blocks[i], block) || block.track >= tracks_.size()) {
                ++damaged;
                continue;
            }
            NoteHeaders(i, damaged);
            damaged = 0;
            if (block.size > data_.Size() || block.offset > data_.Size() - block.size) {
                ++torn;
                torn_end = std::max(torn_end, block.offset + block.size);
                continue;
            }
            NoteGap(end, block);
            end = std::max(end, block.offset + block.size);
            frames_[block.track].push_back(&archive_.blocks[i]);
        }
        NoteHeaders(count, damaged);
        NoteEnds(count, end, torn, torn_end);
        return damaged < count;
    }

    /// `damaged` headers before the one of that number.
    void NoteHeaders(std::size_t number, std::size_t damaged)
    {
        constexpr std::size_t size = sizeof(kta::BlockHeader);
        if (damaged > 0)
            Note(index_, BlocksBegin() + (number - damaged) * size, damaged * size,
                 "found block headers with another checksum or unknown contents, wanted " + std::to_string(damaged) +
                     " as they were written");
    }

    /// Payloads lie one behind the other.
    void NoteGap(std::uint64_t end, const TBlock& block)
    {
        if (block.offset > end)
            Note(data_, end, block.offset - end, "found bytes that no block refers to, wanted a payload");
        else if (block.offset < end)
            Note(data_, block.offset, std::min(end - block.offset, block.size),
                 "found bytes that two blocks refer to, wanted payloads one behind the other");
    }

    void NoteEnds(std::size_t count, std::uint64_t end, std::size_t torn, std::uint64_t torn_end)
    {
        if (torn > 0)
            Note(data_, end, torn_end - std::min(torn_end, end),
                 "found the end of the file at byte " + std::to_string(data_.Size()) + ", wanted " +
                     std::to_string(torn) + " more frames, up to byte " + std::to_string(torn_end));
        else if (data_.Size() > end)
            Note(data_, end, data_.Size() - end, "found bytes that no block refers to, wanted the end of the file");
        const std::uint64_t blocks_end = BlocksBegin() + count * sizeof(kta::BlockHeader);
        if (index_.Size() > blocks_end)
            Note(index_, blocks_end, index_.Size() - blocks_end,
                 "found the end of the file, wanted the " + std::to_string(sizeof(kta::BlockHeader)) +
                     " bytes of a block header");
    }

    /// The bytes of a block, which have the checksum that they were stored with; valid until the next call.
    const std::vector<std::uint8_t>& Payload(const TBlock& block)
    {
        const std::vector<std::uint8_t>& bytes = data_.Read(block.offset, block.size);
        if (Checksum(bytes.data(), bytes.size()) != block.checksum)
            throw Damaged(data_, tracks_[block.track], block,
                          "found a payload with another checksum, wanted it as it was written");
        return bytes;
    }

    CArchiveFile data_;
    CArchiveFile index_;
    kta::impl::RDescr archive_;
    std::vector<TTrack> tracks_;
    std::vector<TDamage> damage_;
    std::vector<kta::TTrackBlocks> frames_;  ///< of each track, in `archive_`
};

}  // namespace

std::unique_ptr<CRecording> OpenKta(const path& data)
{
    return std::make_unique<CKtaRecording>(data);
}

}  // namespace rec
