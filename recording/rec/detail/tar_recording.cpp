// A recording in a TAR archive. Members are found by their headers alone, one behind the other, rather than by
// tar::Reader, which trusts what it reads: here a damaged header costs the frames up to the next sound one.
#include <algorithm>
#include <map>

#include "orvo_proc_cimage/image.h"
#include "rec/detail/archive_file.h"
#include "rec/picture.h"

namespace rec {

namespace {

constexpr std::uint64_t block_size = 512;
constexpr std::size_t name_length = 100, size_at = 124, checksum_at = 148, type_at = 156, magic_at = 257;
constexpr std::size_t prefix_at = 345, prefix_length = 155;

/// A field of octal digits, with blanks before and a blank or NUL behind. False when it holds something else.
bool ParseOctal(const std::uint8_t* field, std::size_t length, std::uint64_t& value)
{
    const std::uint8_t* const end = field + length;
    field = std::find_if(field, end, [](std::uint8_t c) { return c != ' '; });
    value = 0;
    for (; field != end && *field >= '0' && *field <= '7'; ++field)
        value = value * 8 + (*field - unsigned('0'));
    return field == end || *field == ' ' || *field == 0;
}

std::string Text(const std::uint8_t* field, std::size_t length)
{
    return std::string(field, std::find(field, field + length, 0));
}

struct THeader
{
    std::string name;
    std::uint64_t size = 0;
    bool is_file = false;
};

/// False for anything but a header whose checksum is right.
bool ReadHeader(const std::vector<std::uint8_t>& block, THeader& header)
{
    std::uint64_t wanted = 0;
    std::uint64_t sum = 8 * ' ';  // its own field counts as blanks
    for (std::size_t i = 0; i < block.size(); ++i)
        if (i < checksum_at || i >= checksum_at + 8)
            sum += block[i];
    if (!ParseOctal(&block[checksum_at], 8, wanted) || sum != wanted || !ParseOctal(&block[size_at], 12, header.size))
        return false;
    header.name = Text(block.data(), name_length);
    // Long paths of other programs; older archives, which have no NUL behind "ustar", keep other things there.
    const std::string prefix = Text(&block[prefix_at], prefix_length);
    if (Text(&block[magic_at], 6) == "ustar" && !prefix.empty())
        header.name = prefix + "/" + header.name;
    header.is_file = block[type_at] == '0' || block[type_at] == 0;
    return true;
}

class CTarRecording : public CRecording
{
public:
    explicit CTarRecording(const boost::filesystem::path& file) : file_(file)
    {
        Walk();
        for (auto& track : found_) {
            std::vector<TMember>& members = track.second;
            // Whoever unpacked an archive and packed it again put them in the order of his file system.
            std::stable_sort(members.begin(), members.end(),
                             [](const TMember& a, const TMember& b) { return a.sequence < b.sequence; });
            tracks_.emplace_back();
            tracks_.back().name = track.first;
            tracks_.back().compression = members.front().compression;
            frames_.push_back(std::move(members));
        }
        found_.clear();
    }

    std::string File() const override { return file_.Path(); }
    const std::vector<TTrack>& Tracks() const override { return tracks_; }
    const std::vector<TDamage>& Damage() const override { return damage_; }
    std::size_t Frames(std::size_t track) const override { return frames_.at(track).size(); }

    TBlock Block(std::size_t track, std::size_t frame) const override
    {
        const TMember& member = frames_.at(track).at(frame);
        TBlock block;
        block.track = static_cast<unsigned int>(track);
        block.offset = member.offset;
        block.size = member.size;
        block.compression = member.compression;
        block.time = member.time;
        block.sequence = member.sequence;
        return block;
    }

    dev::TFrame<> Read(std::size_t track, std::size_t frame) override
    {
        bool checked = false;
        return Read(track, frame, checked);
    }

    bool Check(std::size_t track, std::size_t frame) override
    {
        bool checked = false;
        Read(track, frame, checked);
        return checked;
    }

private:
    struct TMember
    {
        std::uint64_t offset;
        std::uint64_t size;
        std::uint64_t sequence;
        boost::posix_time::ptime time;
        Compression compression;
    };

    dev::TFrame<> Read(std::size_t track, std::size_t frame, bool& checked)
    {
        const TBlock block = Block(track, frame);
        const std::vector<std::uint8_t>& bytes = file_.Read(block.offset, block.size);
        dev::TFrame<> read;
        try {
            read.image = ReadPicture(bytes.data(), bytes.size(), &checked);
        } catch (const std::runtime_error& error) {
            throw Damaged(file_, tracks_[track], block, error.what());
        }
        read.time_stamp = block.time;
        read.counter1 = block.sequence;
        read.text = PlaceOf(file_, tracks_[track], block);
        return read;
    }

    void Note(std::uint64_t begin, std::uint64_t end, const std::string& what)
    {
        TDamage damage;
        damage.where = file_.Name();
        damage.offset = begin;
        damage.bytes = end - begin;
        damage.what = what;
        damage_.push_back(damage);
    }

    void NoteHeaders(std::uint64_t begin, std::uint64_t end)
    {
        if (begin < end)
            Note(begin, end, "found no sound header of a member, wanted one");
    }

    void Walk()
    {
        bool any = file_.Size() == 0;
        std::uint64_t at = 0;
        std::uint64_t damaged = 0;  // blocks up to `at` in which a header was looked for in vain, in bytes
        while (file_.Size() - at >= block_size) {
            THeader header;
            const std::vector<std::uint8_t>& block = file_.Read(at, block_size);
            if (ReadHeader(block, header)) {
                NoteHeaders(at - damaged, at);
                damaged = 0;
                any = true;
                at = Member(at, header);
            } else {
                // Blocks of zeros end archives, or stand where a writer gave a member up.
                const bool zeros = std::all_of(block.begin(), block.end(), [](std::uint8_t byte) { return byte == 0; });
                damaged += damaged > 0 || !zeros ? block_size : 0;
                at += block_size;
            }
        }
        NoteHeaders(at - damaged, file_.Size() - at < block_size && damaged > 0 ? file_.Size() : at);
        if (damaged == 0 && at < file_.Size())
            Note(at, file_.Size(), "found the end of the file, wanted a header of 512 bytes");
        if (!any)
            throw std::runtime_error(file_.Path() + ": found no header of a member, wanted a TAR archive");
    }

    /// The member whose header lies at `at`. Returns where the next one is looked for.
    std::uint64_t Member(std::uint64_t at, const THeader& header)
    {
        const std::uint64_t data = at + block_size;
        const std::uint64_t room = file_.Size() - data;
        if (header.size > room) {
            Note(at, file_.Size(),
                 "found the end of the file, wanted " + std::to_string(header.size) + " bytes of " + header.name);
            return file_.Size();
        }
        std::string camera;
        dev::TFrame<> frame;
        if (header.is_file && ParsePictureName(header.name, camera, frame)) {
            const bool is_png = header.name.compare(header.name.size() - 4, 4, ".png") == 0;
            found_[camera].push_back(
                {data, header.size, frame.counter1, frame.time_stamp, is_png ? Compression::Png : Compression::None});
        }
        const std::uint64_t padding = (block_size - header.size % block_size) % block_size;
        if (padding > room - header.size) {
            Note(data + header.size, file_.Size(),
                 "found the end of the file, wanted " + std::to_string(padding) + " bytes of padding");
            return file_.Size();
        }
        return data + header.size + padding;
    }

    CArchiveFile file_;
    std::vector<TTrack> tracks_;
    std::vector<TDamage> damage_;
    std::map<std::string, std::vector<TMember>> found_;  ///< by camera, while the archive is walked through
    std::vector<std::vector<TMember>> frames_;           ///< of each track
};

}  // namespace

std::unique_ptr<CRecording> OpenTar(const boost::filesystem::path& file)
{
    return std::make_unique<CTarRecording>(file);
}

}  // namespace rec
