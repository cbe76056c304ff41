// Track archives beside the bare system calls for the same bytes, in the page cache: what is written is removed before
// a disk gets it, and only processor time counts, without the removal. TMPDIR chooses the file system.
//
//   kta_frames   writes frames of 1.2 MB on four tracks; plain: write() of the frames alone
//   kta_blocks   writes 1,000,000 blocks of 64 bytes, data and index; plain: a loop with two buffers of 1 MiB
//   kta_open     opens an index of 1,000,000 blocks, and gives it back; plain: read() of that file into new memory
//   kta_seek     goes to a random block of a random track and reads its 64 bytes; plain: pread() at known offsets
#include <benchmark/benchmark.h>
#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <boost/filesystem/operations.hpp>
#include <cstring>
#include <ctime>
#include <memory>
#include <random>
#include <stdexcept>
#include <string>
#include <vector>

#include "archive/kta.h"
#include "folder.h"

namespace {

using boost::filesystem::path;

constexpr std::size_t tracks = 4;
constexpr std::size_t frame_bytes = 1200000;
constexpr std::size_t frames = 200;
constexpr std::size_t block_bytes = 64;
constexpr std::size_t blocks = 1000000;
constexpr std::size_t buffer_bytes = std::size_t(1) << 20;

void Require(bool condition, const char* what)
{
    if (!condition)
        throw std::runtime_error(what);
}

/// For the whole run.
const CFolder& Folder()
{
    static const CFolder folder;
    return folder;
}

/// An open file of the system.
class CFile
{
public:
    CFile(const path& file, int flags) : descriptor_(open(file.c_str(), flags | O_CLOEXEC, 0644))
    {
        Require(descriptor_ >= 0, "cannot open a file");
    }
    ~CFile() { close(descriptor_); }
    CFile(const CFile&) = delete;
    CFile& operator=(const CFile&) = delete;

    void Write(const void* bytes, std::size_t count)
    {
        Require(write(descriptor_, bytes, count) == static_cast<ssize_t>(count), "a write fell short");
    }
    void Read(void* bytes, std::size_t count)
    {
        Require(read(descriptor_, bytes, count) == static_cast<ssize_t>(count), "a read fell short");
    }
    void ReadAt(void* bytes, std::size_t count, std::uint64_t offset)
    {
        Require(pread(descriptor_, bytes, count, static_cast<off_t>(offset)) == static_cast<ssize_t>(count),
                "a read fell short");
    }

private:
    const int descriptor_;
};

/// A file that is written through a buffer, by hand.
class CBufferedFile
{
public:
    explicit CBufferedFile(const path& file)
        : file_(file, O_WRONLY | O_CREAT | O_TRUNC), buffer_(new char[buffer_bytes])
    {
    }

    void Write(const void* bytes, std::size_t count)
    {
        if (used_ + count > buffer_bytes)
            Flush();
        std::memcpy(&buffer_[used_], bytes, count);
        used_ += count;
    }
    void Flush()
    {
        file_.Write(buffer_.get(), used_);
        used_ = 0;
    }

private:
    CFile file_;
    std::unique_ptr<char[]> buffer_;
    std::size_t used_ = 0;
};

std::vector<kta::Track> Tracks()
{
    std::vector<kta::Track> made(tracks);
    for (std::size_t i = 0; i < tracks; ++i) {
        made[i].name[0] = static_cast<char>('a' + i);
        std::memset(made[i].scalars1, 0, sizeof made[i].scalars1);
        std::memset(made[i].scalars2, 0, sizeof made[i].scalars2);
    }
    return made;
}

kta::BlockHeader BlockNumber(std::size_t i, std::size_t bytes)
{
    kta::BlockHeader block;
    block.track = static_cast<std::uint8_t>(i % tracks);
    block.offset = i * bytes;
    std::memset(block.rest, 0, sizeof block.rest);
    return block;
}

void WriteArchive(const path& file, const std::vector<char>& payload, std::size_t count)
{
    kta::Writer writer;
    writer.Open(file, Tracks());
    for (std::size_t i = 0; i < count; ++i) {
        writer.ofs_data().write(payload.data(), static_cast<std::streamsize>(payload.size()));
        writer.Write(BlockNumber(i, payload.size()));
    }
    writer.Close(file);
    Require(writer.Good(), "the archive could not be written");
}

void WriteFrames(const path& file, const std::vector<char>& payload, std::size_t count)
{
    CFile data(file, O_WRONLY | O_CREAT | O_TRUNC);
    for (std::size_t i = 0; i < count; ++i)
        data.Write(payload.data(), payload.size());
}

void WriteBlocks(const path& file, const std::vector<char>& payload, std::size_t count)
{
    CBufferedFile data(file);
    CBufferedFile index(path(file).replace_extension(".idx"));
    const kta::Header header;
    index.Write(&header, sizeof header);
    const std::vector<kta::Track> table = Tracks();
    index.Write(table.data(), table.size() * sizeof(kta::Track));
    for (std::size_t i = 0; i < count; ++i) {
        const kta::BlockHeader block = BlockNumber(i, payload.size());
        data.Write(payload.data(), payload.size());
        index.Write(&block, sizeof block);
    }
    data.Flush();
    index.Flush();
}

/// Of this thread, in the kernel too.
double ProcessorSeconds()
{
    timespec time;
    clock_gettime(CLOCK_THREAD_CPUTIME_ID, &time);
    return static_cast<double>(time.tv_sec) + 1e-9 * static_cast<double>(time.tv_nsec);
}

template <void (*write)(const path&, const std::vector<char>&, std::size_t), std::size_t bytes, std::size_t count>
void Write(benchmark::State& state)
{
    const std::vector<char> payload(bytes, 'x');
    const path file = Folder() / "written.kta";
    for (auto _ : state) {
        const double begin = ProcessorSeconds();
        write(file, payload, count);
        state.SetIterationTime(ProcessorSeconds() - begin);
        boost::filesystem::remove(file);
        boost::filesystem::remove(path(file).replace_extension(".idx"));
    }
    state.SetBytesProcessed(state.iterations() * static_cast<std::int64_t>(bytes * count));
}

/// An archive of all blocks, written once.
const path& Archive()
{
    static const path file = Folder() / "read.kta";
    static const bool is_written = (WriteArchive(file, std::vector<char>(block_bytes, 'x'), blocks), true);
    static_cast<void>(is_written);
    return file;
}

void OpenOrvo(benchmark::State& state)
{
    const path file = Archive();
    for (auto _ : state) {
        kta::Reader reader;
        Require(!reader.Open(file) && reader.Index().size() == blocks + 1, "the archive could not be opened");
        kta::r_dir.erase(file);
    }
}

void OpenPlain(benchmark::State& state)
{
    const path index = path(Archive()).replace_extension(".idx");
    const std::size_t bytes = boost::filesystem::file_size(index);
    for (auto _ : state) {
        const std::unique_ptr<char[]> memory(new char[bytes]);
        CFile(index, O_RDONLY).Read(memory.get(), bytes);
        benchmark::DoNotOptimize(memory[bytes - 1]);
    }
}

/// Block numbers in an order that no cache foresees.
const std::vector<std::size_t>& Order()
{
    static const std::vector<std::size_t> order = [] {
        std::vector<std::size_t> numbers(blocks);
        for (std::size_t i = 0; i < blocks; ++i)
            numbers[i] = i;
        std::shuffle(numbers.begin(), numbers.end(), std::mt19937(1));
        return numbers;
    }();
    return order;
}

void SeekOrvo(benchmark::State& state)
{
    std::array<kta::Reader, tracks> readers;
    for (std::size_t i = 0; i < tracks; ++i)
        Require(!readers[i].Open(Archive()) && !readers[i].Subscribe(std::string(1, static_cast<char>('a' + i))),
                "the archive could not be opened");
    std::size_t next = 0;
    char payload[block_bytes];
    for (auto _ : state) {
        const std::size_t block = Order()[next++ % blocks];
        kta::Reader& reader = readers[block % tracks];
        Require(!reader.Seek(block / tracks) && reader.ifs_data().read(payload, block_bytes), "a block is not there");
        benchmark::DoNotOptimize(payload);
    }
    kta::r_dir.erase(Archive());
}

void SeekPlain(benchmark::State& state)
{
    CFile data(Archive(), O_RDONLY);
    std::size_t next = 0;
    char payload[block_bytes];
    for (auto _ : state) {
        data.ReadAt(payload, block_bytes, Order()[next++ % blocks] * block_bytes);
        benchmark::DoNotOptimize(payload);
    }
}

BENCHMARK_TEMPLATE(Write, WriteArchive, frame_bytes, frames)
    ->Name("kta_frames/orvo")
    ->Unit(benchmark::kMillisecond)
    ->UseManualTime();
BENCHMARK_TEMPLATE(Write, WriteFrames, frame_bytes, frames)
    ->Name("kta_frames/plain")
    ->Unit(benchmark::kMillisecond)
    ->UseManualTime();
BENCHMARK_TEMPLATE(Write, WriteArchive, block_bytes, blocks)
    ->Name("kta_blocks/orvo")
    ->Unit(benchmark::kMillisecond)
    ->UseManualTime();
BENCHMARK_TEMPLATE(Write, WriteBlocks, block_bytes, blocks)
    ->Name("kta_blocks/plain")
    ->Unit(benchmark::kMillisecond)
    ->UseManualTime();
BENCHMARK(OpenOrvo)->Name("kta_open/orvo")->Unit(benchmark::kMillisecond);
BENCHMARK(OpenPlain)->Name("kta_open/plain")->Unit(benchmark::kMillisecond);
BENCHMARK(SeekOrvo)->Name("kta_seek/orvo");
BENCHMARK(SeekPlain)->Name("kta_seek/plain");

}  // namespace

BENCHMARK_MAIN();
