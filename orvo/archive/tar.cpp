#include "archive/tar.h"

#include <fcntl.h>
#include <grp.h>
#include <pwd.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <boost/current_function.hpp>
#include <cerrno>
#include <cstddef>
#include <cstring>
#include <ctime>
#include <sstream>
#include <stdexcept>

#include "base/log.h"

namespace tar {
namespace {

using boost::filesystem::path;

constexpr std::size_t block_size = 512;
constexpr std::streamoff block_step = 512;  // the same among positions, which have a sign
using TBlock = std::array<char, block_size>;

// The header block: where its fields begin, and how much of them is filled.
constexpr std::size_t name_at = 0, name_length = 100;
constexpr std::size_t mode_at = 100, uid_at = 108, gid_at = 116, short_digits = 7;
constexpr std::size_t size_at = 124, mtime_at = 136, long_digits = 11;
constexpr std::size_t checksum_at = 148, checksum_length = 8, checksum_digits = 7;
constexpr std::size_t type_at = 156;
constexpr std::size_t magic_at = 257;
constexpr std::size_t uname_at = 265, gname_at = 297, owner_length = 32;

constexpr int not_open = 257;  // the error value of a Seek() without an archive

const TBlock zeros = {};

/// Bytes from the end of the data to the next whole block.
std::uint64_t Padding(std::uint64_t size)
{
    return (block_size - size % block_size) % block_size;
}

/// Stands for a header that is not known yet: zeros, and a text at the end that tells it from data.
const TBlock& Placeholder()
{
    static const TBlock block = [] {
        const std::string text = "orvo: this member is not complete";
        TBlock made = zeros;
        std::copy(text.begin(), text.end(), made.end() - static_cast<std::ptrdiff_t>(text.size()));
        return made;
    }();
    return block;
}

bool IsPlaceholder(const char* block)
{
    return std::equal(Placeholder().begin(), Placeholder().end(), block);
}

/// The names of whom members belong to: looked up once per process, because a lookup may ask the network. What is not
/// found stays empty.
struct TOwner
{
    TOwner()
    {
        if (const struct passwd* const entry = getpwuid(getuid()))
            user_name = entry->pw_name;
        if (const struct group* const entry = getgrgid(getgid()))
            group_name = entry->gr_name;
    }

    std::string user_name;
    std::string group_name;
};

const TOwner& Owner()
{
    static const TOwner owner;
    return owner;
}

/// The lowest `digits` octal digits of a value, leading zeros included.
void PutOctal(char* to, std::size_t digits, std::uint64_t value)
{
    for (; digits > 0; value /= 8)
        to[--digits] = static_cast<char>('0' + value % 8);
}

TBlock MakeHeader(const std::string& name, std::uint64_t size, std::uint64_t uid, std::uint64_t gid)
{
    TBlock header = zeros;
    name.copy(&header[name_at], name_length);
    PutOctal(&header[mode_at], short_digits, 0644);
    PutOctal(&header[uid_at], short_digits, uid);
    PutOctal(&header[gid_at], short_digits, gid);
    PutOctal(&header[size_at], long_digits, size);
    PutOctal(&header[mtime_at], long_digits, static_cast<std::uint64_t>(std::time(nullptr)));
    header[type_at] = '0';
    std::memcpy(&header[magic_at],
                "ustar\0"  // the version follows its NUL
                "00",
                8);
    Owner().user_name.copy(&header[uname_at], owner_length);
    Owner().group_name.copy(&header[gname_at], owner_length);

    // The sum is taken with its own field blank, and the last blank stays.
    std::memset(&header[checksum_at], ' ', checksum_length);
    unsigned int sum = 0;
    for (const char byte : header)
        sum += static_cast<unsigned char>(byte);
    PutOctal(&header[checksum_at], checksum_digits, sum);
    return header;
}

/// The size in a header, 0 in a block of zeros. Whatever else stands there gives some number; a wrong one leads to a
/// wrong place or beyond the end.
std::uint64_t MemberSize(const char* header)
{
    std::uint64_t size = 0;
    for (std::size_t at = size_at; at < size_at + long_digits && header[at] != 0; ++at)
        size = size * 8 + (static_cast<unsigned char>(header[at]) - std::uint64_t{'0'});
    return size;
}

/// The header blocks of a file, asked for from front to back. Beside the stream that callers read, because that would
/// fetch 8 KiB for each.
class CBlocks : private boost::noncopyable
{
public:
    explicit CBlocks(const path& file)
        : descriptor_(open(file.c_str(), O_RDONLY | O_CLOEXEC)), bytes_(new char[capacity])
    {
        const off_t end = lseek(descriptor_, 0, SEEK_END);
        file_size_ = end > 0 ? static_cast<std::uint64_t>(end) : 0;
    }
    ~CBlocks()
    {
        if (descriptor_ >= 0)
            close(descriptor_);
    }

    bool IsOpen() const { return descriptor_ >= 0; }
    std::uint64_t FileSize() const { return file_size_; }

    /// The whole block at an offset, valid until the next call; null where the file has none.
    const char* At(std::uint64_t at)
    {
        if (at + block_size > file_size_)
            return nullptr;
        if (at + block_size > begin_ + size_)
            Read(at);
        return at + block_size > begin_ + size_ ? nullptr : &bytes_[at - begin_];
    }

private:
    /// One block, or all that fits: reading on costs less than another call, as long as members are small.
    void Read(std::uint64_t at)
    {
        const std::size_t wanted = at < begin_ + size_ + small_step ? capacity : block_size;
        begin_ = at;
        size_ = 0;
        while (size_ < block_size) {
            const ssize_t count =
                pread(descriptor_, &bytes_[size_], wanted - size_, static_cast<off_t>(begin_ + size_));
            if (count > 0)
                size_ += static_cast<std::size_t>(count);
            else if (count == 0 || errno != EINTR)
                return;
        }
    }

    static constexpr std::uint64_t small_step = 8 * 1024;
    static constexpr std::size_t capacity = 128 * 1024;

    int descriptor_;
    std::uint64_t file_size_;
    std::uint64_t begin_ = 0;
    std::size_t size_ = 0;
    const std::unique_ptr<char[]> bytes_;
};

}  // namespace

/// Keeps members in memory until there are enough for a large write, and the header of the last one within reach.
///
/// A file's buffer passes pieces of 1 KiB and more on to the file at once. This one stands before it and puts them
/// among that buffer's own pending output. So there is one order of bytes, also for a callback that goes past this
/// buffer by way of the file stream's rdbuf().
class Writer::CBuffer : public std::streambuf
{
public:
    explicit CBuffer(std::filebuf& file) : file_(file), bytes_(new char[capacity])
    {
        file_.pubsetbuf(bytes_.get(), capacity);  // holds for every file that is opened from now on
    }

    /// Makes room for a member at `position`, the current one: once a good deal is pending, writes it up to a multiple
    /// of what a file cache likes best. False when writing failed.
    bool MakeRoom(std::streamoff position)
    {
        if (Size() < enough)
            return true;
        const std::string rest(End() - position % alignment, End());
        const auto rest_size = static_cast<std::streamsize>(rest.size());
        Move(-rest_size);
        return file_.pubsync() == 0 && sputn(rest.data(), rest_size) == rest_size;
    }

    /// The bytes from here on are those of a member, whose placeholder was written last.
    void BeginData() { data_ = Size() < block_step ? nullptr : End(); }

    /// How many bytes the member has, when its placeholder is pending before them; otherwise negative. Once something
    /// went to the file, either there is less pending than before, or it has overwritten the placeholder.
    std::streamoff PendingSize() const
    {
        const bool pending = data_ != nullptr && End() >= data_ && IsPlaceholder(data_ - block_step);
        return pending ? End() - data_ : -1;
    }

    void ReplacePlaceholder(const TBlock& header) { std::copy(header.begin(), header.end(), data_ - block_step); }

protected:
    int_type overflow(int_type byte) override
    {
        return traits_type::eq_int_type(byte, traits_type::eof()) ? traits_type::not_eof(byte)
                                                                  : file_.sputc(traits_type::to_char_type(byte));
    }
    std::streamsize xsputn(const char* bytes, std::streamsize count) override
    {
        if (count > Room())
            return file_.sputn(bytes, count);
        std::copy(bytes, bytes + count, End());
        Move(count);
        return count;
    }
    int sync() override { return file_.pubsync(); }
    pos_type seekoff(off_type offset, std::ios::seekdir from, std::ios::openmode which) override
    {
        return file_.pubseekoff(offset, from, which);
    }
    pos_type seekpos(pos_type position, std::ios::openmode which) override { return file_.pubseekpos(position, which); }

private:
    static constexpr std::streamsize enough = 256 * 1024;
    static constexpr std::streamsize capacity = 2 * enough;
    static constexpr std::streamoff alignment = 64 * 1024;

    // The file buffer's pending output. A class may touch that of another buffer by pointers to members alone.
    char* End() const { return (file_.*&CBuffer::pptr)(); }
    std::streamsize Size() const { return End() - (file_.*&CBuffer::pbase)(); }
    std::streamsize Room() const { return (file_.*&CBuffer::epptr)() - End(); }
    void Move(std::streamsize count) { (file_.*&CBuffer::pbump)(static_cast<int>(count)); }

    std::filebuf& file_;
    const std::unique_ptr<char[]> bytes_;
    char* data_ = nullptr;
};

Writer::Writer()
{
    buffer_.reset(new CBuffer(*stream_.rdbuf()));
    static_cast<std::ios&>(stream_).rdbuf(buffer_.get());
}

Writer::~Writer() = default;

void Writer::Open(const path& file)
{
    stream_.close();
    stream_.open(file.string(), std::ios::binary | std::ios::trunc);
    stream_.clear();
    position_ = 0;
    uid_ = getuid();
    gid_ = getgid();
}

bool Writer::IsOpen() const
{
    return stream_.is_open();
}

void Writer::Write(const std::string& name, boost::function<void(std::ofstream&)> writer)
{
    if (name.size() >= name_length)
        throw std::runtime_error("name of an archive member: found " + std::to_string(name.size()) +
                                 " bytes, wanted fewer than " + std::to_string(name_length) + ": " + name);

    if (!buffer_->MakeRoom(position_))
        stream_.setstate(std::ios::badbit);
    stream_.write(Placeholder().data(), block_step);
    buffer_->BeginData();
    try {
        writer(stream_);
    } catch (...) {
        Abandon();
        throw;
    }
    if (stream_)
        Finish(name);
}

void Writer::Finish(const std::string& name)
{
    const std::streamoff data = position_ + block_step;
    const std::streamoff pending = buffer_->PendingSize();
    const std::streamoff end = pending >= 0 ? data + pending : std::streamoff(stream_.tellp());
    const std::streamoff size = std::max<std::streamoff>(end - data, 0);  // a callback may have gone back
    const TBlock header = MakeHeader(name, static_cast<std::uint64_t>(size), uid_, gid_);
    if (pending >= 0) {
        buffer_->ReplacePlaceholder(header);
    } else {
        stream_.seekp(position_);
        stream_.write(header.data(), block_step);
        stream_.seekp(data + size);
    }
    const auto padding = static_cast<std::streamoff>(Padding(static_cast<std::uint64_t>(size)));
    stream_.write(zeros.data(), padding);
    position_ = data + size + padding;
}

void Writer::Abandon()
{
    // What the callback left would pass for further members.
    const std::streamoff end = stream_.tellp();
    stream_.seekp(position_);
    for (std::streamoff at = position_; at < end && stream_; at += block_step)
        stream_.write(zeros.data(), block_step);
    position_ += block_step;
    stream_.seekp(position_);
}

bool Writer::Flush()
{
    // Past the stream, so that what it took before it failed arrives as well.
    if (buffer_->pubsync() != 0)
        stream_.setstate(std::ios::badbit);
    return IsOpen() && stream_.good();
}

bool Writer::Close()
{
    const bool written = Flush();
    stream_.close();
    return written && stream_.good();
}

boost::system::error_code Reader::Open(const path& file, const std::string&)
{
    std::ostringstream quoted;
    quoted << file;
    base::Log(base::Severity::Information, BOOST_CURRENT_FUNCTION, "Opening " + quoted.str());

    members_.clear();
    stream_.close();
    stream_.open(file.string(), std::ios::binary);
    if (stream_.is_open())
        Index(file);
    if (!stream_.is_open())
        return make_error_code(boost::system::errc::no_such_file_or_directory);
    return boost::system::error_code();
}

void Reader::Index(const path& file)
{
    CBlocks blocks(file);
    if (!blocks.IsOpen())
        stream_.close();  // an archive that nobody could look into must not seem to be empty
    std::uint64_t at = 0;
    while (const char* const header = blocks.At(at)) {
        if (IsPlaceholder(header))
            return;  // the writer was stopped there, and what follows are no headers
        FileHeader member;
        member.data_offset = at + block_size;
        member.data_size = MemberSize(header);
        members_.emplace_hint(members_.end(), std::string(header, strnlen(header, name_length)), member);
        if (member.data_size > blocks.FileSize() - member.data_offset)
            return;
        at = member.data_offset + member.data_size + Padding(member.data_size);
    }
}

boost::system::error_code Reader::Seek(const std::string& name)
{
    if (!stream_.is_open())
        return boost::system::error_code(not_open, boost::system::generic_category());
    const auto member = members_.find(name);
    if (member != members_.end()) {
        stream_.clear();
        stream_.seekg(static_cast<std::streamoff>(member->second.data_offset));
    }
    return boost::system::error_code();
}

}  // namespace tar
