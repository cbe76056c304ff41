#include "rec/block.h"

#include <algorithm>
#include <cstring>
#include <limits>
#include <stdexcept>

#include "orvo_proc_cimage/image.h"

namespace rec {

namespace {

using boost::posix_time::ptime;

// Of a track record.
constexpr std::uint8_t signature = 1;  ///< its type of signature; other producers leave 0 there

// Of a block header: where fields begin.
constexpr std::size_t time_at = 0, track_at = 8, offset_at = 9, size_at = 17, sequence_at = 25, payload_sum_at = 33;
constexpr std::size_t width_at = 41, height_at = 45, format_at = 49, compression_at = 53, flags_at = 54;
constexpr std::size_t scale_x_at = 57, scale_y_at = 65, offset_x_at = 73, offset_y_at = 81, header_sum_at = 105;
constexpr std::uint8_t rectified_flag = 1;
constexpr std::uint8_t last_compression = static_cast<std::uint8_t>(Compression::Zstd);
constexpr std::uint32_t most_pixels = 65535;  ///< of a row, and rows

constexpr std::int64_t unstamped = std::numeric_limits<std::int64_t>::min();

const ptime& Epoch()
{
    static const ptime epoch(boost::gregorian::date(1970, 1, 1));
    return epoch;
}

std::int64_t ToMicroseconds(const ptime& time)
{
    return time.is_special() ? unstamped : (time - Epoch()).total_microseconds();
}

/// False for what no ptime can hold.
bool FromMicroseconds(std::int64_t microseconds, ptime& time)
{
    static const std::int64_t first = ToMicroseconds(ptime(boost::posix_time::min_date_time));
    static const std::int64_t last = ToMicroseconds(ptime(boost::posix_time::max_date_time));
    time = ptime();
    if (microseconds == unstamped)
        return true;
    if (microseconds < first || microseconds > last)
        return false;
    time = Epoch() + boost::posix_time::microseconds(microseconds);
    return true;
}

/// Numbers are little-endian.
template <typename T>
void Put(std::uint8_t* to, T value)
{
    for (std::size_t i = 0; i < sizeof value; ++i)
        to[i] = static_cast<std::uint8_t>(value >> 8 * i);
}

template <typename T>
T Get(const std::uint8_t* from)
{
    std::uint64_t value = 0;
    for (std::size_t i = 0; i < sizeof(T); ++i)
        value |= static_cast<std::uint64_t>(from[i]) << 8 * i;
    return static_cast<T>(value);
}

void PutDouble(std::uint8_t* to, double value)
{
    std::uint64_t bits;
    std::memcpy(&bits, &value, sizeof bits);
    Put(to, bits);
}

double GetDouble(const std::uint8_t* from)
{
    const auto bits = Get<std::uint64_t>(from);
    double value;
    std::memcpy(&value, &bits, sizeof value);
    return value;
}

template <std::size_t size>
void PutText(char (&to)[size], const std::string& text, const char* field)
{
    if (text.size() >= size || text.find('\0') != std::string::npos)
        throw std::invalid_argument(std::string(field) + " of a track: found " +
                                    (text.size() >= size ? std::to_string(text.size()) + " bytes" : "a NUL in it") +
                                    ", wanted less than " + std::to_string(size) + " bytes without a NUL");
    text.copy(to, size);
}

template <std::size_t size>
std::string GetText(const char (&from)[size])
{
    return std::string(from, std::find(from, from + size, '\0'));
}

/// The checksum of a record: of all its bytes, its own taken as zero.
std::uint64_t ChecksumOf(kta::Track record)
{
    std::fill(std::begin(record.scalars2), std::end(record.scalars2), std::uint8_t(0));
    return Checksum(&record, sizeof record);
}

const cimage::TPixelFormat* FormatOf(std::uint32_t pfnc)
{
    for (const cimage::TPixelFormat& format : cimage::PixelFormats())
        if (format.pfnc == pfnc)
            return &format;
    return nullptr;
}

}  // namespace

kta::Track MakeTrack(const TTrack& track)
{
    const std::int64_t start = ToMicroseconds(track.start);
    if (start < 0)
        throw std::invalid_argument("start of a track: found " +
                                    std::string(track.start.is_special() ? "no time" : "a time before 1970") +
                                    ", wanted the time at which the recording began");
    kta::Track record;
    PutText(record.name, track.name, "name");
    PutText(record.field1, track.node, "node");
    PutText(record.field2, Name(track.compression), "compression");
    PutText(record.field3, track.source, "source");
    PutText(record.field4, track.producer, "producer");
    PutText(record.field5, track.description, "description");
    record.scalars1[0] = signature;
    Put(record.scalars1 + 1, static_cast<std::uint64_t>(start));
    Put(record.scalars2, ChecksumOf(record));
    return record;
}

bool ReadTrack(const kta::Track& record, TTrack& track)
{
    track.name = GetText(record.name);
    track.node = GetText(record.field1);
    track.source = GetText(record.field3);
    track.producer = GetText(record.field4);
    track.description = GetText(record.field5);
    bool known =
        record.scalars1[0] == signature && FromMicroseconds(Get<std::int64_t>(record.scalars1 + 1), track.start);
    try {
        track.compression = ParseCompression(GetText(record.field2));
    } catch (const std::invalid_argument&) {
        track.compression = Compression::None;
        known = false;
    }
    return known && Get<std::uint64_t>(record.scalars2) == ChecksumOf(record);
}

TBlock Describe(const dev::TFrame<>& frame, const TPayload& payload)
{
    TBlock block;
    block.size = payload.size;
    block.checksum = Checksum(payload.data, payload.size);
    block.compression = payload.compression;
    block.time = frame.time_stamp;
    block.sequence = frame.counter1;
    block.format = &frame.image->Format();
    block.width = frame.image->Width();
    block.height = frame.image->Height();
    block.grid = frame.image->Grid();
    return block;
}

kta::BlockHeader MakeBlockHeader(const TBlock& block)
{
    std::uint8_t bytes[sizeof(kta::BlockHeader)] = {};
    Put(bytes + time_at, static_cast<std::uint64_t>(ToMicroseconds(block.time)));
    bytes[track_at] = static_cast<std::uint8_t>(block.track);
    Put(bytes + offset_at, block.offset);
    Put(bytes + size_at, block.size);
    Put(bytes + sequence_at, block.sequence);
    Put(bytes + payload_sum_at, block.checksum);
    Put(bytes + width_at, block.width);
    Put(bytes + height_at, block.height);
    Put(bytes + format_at, block.format->pfnc);
    bytes[compression_at] = static_cast<std::uint8_t>(block.compression);
    bytes[flags_at] = block.grid.rectified ? rectified_flag : 0;
    PutDouble(bytes + scale_x_at, block.grid.scale_x);
    PutDouble(bytes + scale_y_at, block.grid.scale_y);
    PutDouble(bytes + offset_x_at, block.grid.offset_x);
    PutDouble(bytes + offset_y_at, block.grid.offset_y);
    Put(bytes + header_sum_at, Checksum(bytes, header_sum_at));
    kta::BlockHeader header;
    std::memcpy(static_cast<void*>(&header), bytes, sizeof header);
    return header;
}

bool ReadBlockHeader(const kta::BlockHeader& header, TBlock& block)
{
    std::uint8_t bytes[sizeof header];
    std::memcpy(bytes, &header, sizeof header);
    block.track = bytes[track_at];
    block.offset = Get<std::uint64_t>(bytes + offset_at);
    block.size = Get<std::uint64_t>(bytes + size_at);
    block.sequence = Get<std::uint64_t>(bytes + sequence_at);
    block.checksum = Get<std::uint64_t>(bytes + payload_sum_at);
    block.width = Get<std::uint32_t>(bytes + width_at);
    block.height = Get<std::uint32_t>(bytes + height_at);
    block.format = FormatOf(Get<std::uint32_t>(bytes + format_at));
    block.compression = static_cast<Compression>(std::min(bytes[compression_at], last_compression));
    block.grid.rectified = (bytes[flags_at] & rectified_flag) != 0;
    block.grid.scale_x = GetDouble(bytes + scale_x_at);
    block.grid.scale_y = GetDouble(bytes + scale_y_at);
    block.grid.offset_x = GetDouble(bytes + offset_x_at);
    block.grid.offset_y = GetDouble(bytes + offset_y_at);
    const bool timed = FromMicroseconds(Get<std::int64_t>(bytes + time_at), block.time);
    const auto is_size = [](std::uint32_t pixels) { return pixels > 0 && pixels <= most_pixels; };
    return Get<std::uint64_t>(bytes + header_sum_at) == Checksum(bytes, header_sum_at) && timed &&
           block.format != nullptr && bytes[compression_at] <= last_compression && block.size > 0 &&
           is_size(block.width) && is_size(block.height);
}

}  // namespace rec
