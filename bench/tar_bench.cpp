// TAR archives beside libarchive: write 10,000 members of 10 KiB, and find out what an archive of 100,000 holds.
//
// Processor time: writing ends in the page cache, because neither side synchronises. Archives are in the temporary
// folder (TMPDIR); "tar_write_in_memory" is in /dev/shm, where no disk works in the background. Both sides read the
// members of 10 KiB of "tar_index_larger" with a call for each, so that is a measure of the system more than of them.
#include <archive.h>
#include <archive_entry.h>
#include <benchmark/benchmark.h>

#include <iostream>
#include <memory>
#include <stdexcept>
#include <string>
#include <vector>

#include "archive/tar.h"
#include "folder.h"

namespace {

using boost::filesystem::path;

constexpr std::size_t members = 10000;
constexpr std::size_t member_size = 10 * 1024;
// What libarchive writes at once, and what it reads: the usual block of tapes, as in its own program.
constexpr std::size_t peer_block_size = 256 * 1024;
constexpr std::size_t peer_read_size = 20 * 512;

std::vector<std::string> Names(std::size_t count)
{
    std::vector<std::string> names;
    for (std::size_t i = 0; i < count; ++i)
        names.push_back("recording/left/" + std::to_string(1000000 + i) + ".raw");
    return names;
}

void WriteOrvo(const path& file, const std::vector<std::string>& names, const std::string& data)
{
    tar::Writer writer;
    writer.Open(file);
    for (const std::string& name : names)
        writer.Write(name, [&data](std::ofstream& stream) {
            stream.write(data.data(), static_cast<std::streamsize>(data.size()));
        });
    if (!writer.Close())
        throw std::runtime_error("cannot write " + file.string());
}

void Check(int result, archive* peer)
{
    if (result != ARCHIVE_OK)
        throw std::runtime_error(archive_error_string(peer));
}

void WriteLibarchive(const path& file, const std::vector<std::string>& names, const std::string& data)
{
    const std::unique_ptr<archive, decltype(&archive_write_free)> peer(archive_write_new(), archive_write_free);
    const std::unique_ptr<archive_entry, decltype(&archive_entry_free)> entry(archive_entry_new(), archive_entry_free);
    Check(archive_write_set_format_ustar(peer.get()), peer.get());
    Check(archive_write_set_bytes_per_block(peer.get(), peer_block_size), peer.get());
    Check(archive_write_open_filename(peer.get(), file.c_str()), peer.get());
    for (const std::string& name : names) {
        archive_entry_clear(entry.get());
        archive_entry_set_pathname(entry.get(), name.c_str());
        archive_entry_set_size(entry.get(), static_cast<la_int64_t>(data.size()));
        archive_entry_set_filetype(entry.get(), AE_IFREG);
        archive_entry_set_perm(entry.get(), 0644);
        archive_entry_set_mtime(entry.get(), 1700000000, 0);
        archive_entry_set_uname(entry.get(), "root");
        archive_entry_set_gname(entry.get(), "root");
        Check(archive_write_header(peer.get(), entry.get()), peer.get());
        if (archive_write_data(peer.get(), data.data(), data.size()) != static_cast<la_ssize_t>(data.size()))
            throw std::runtime_error(archive_error_string(peer.get()));
    }
    Check(archive_write_close(peer.get()), peer.get());
}

using WriteFunction = void (*)(const path&, const std::vector<std::string>&, const std::string&);

void Write(benchmark::State& state, const path& parent, WriteFunction write)
{
    const CFolder folder(parent);
    const std::vector<std::string> names = Names(members);
    const std::string data(member_size, 'x');
    for (auto _ : state) {
        write(folder / "archive.tar", names, data);
        state.PauseTiming();
        boost::filesystem::remove(folder / "archive.tar");
        state.ResumeTiming();
    }
}

/// An archive to open, with members of that size.
path IndexedFile(std::size_t size, std::size_t count)
{
    static const CFolder folder(boost::filesystem::temp_directory_path());
    const path file = folder / (std::to_string(size) + ".tar");
    if (!boost::filesystem::exists(file))
        WriteOrvo(file, Names(count), std::string(size, 'x'));
    return file;
}

void IndexOrvo(benchmark::State& state, std::size_t size, std::size_t count)
{
    const path file = IndexedFile(size, count);
    std::cout.setstate(std::ios::failbit);  // no console lines among the results
    for (auto _ : state) {
        std::unique_ptr<tar::Reader> reader(new tar::Reader);
        reader->Open(file, "");
        if (reader->Members().size() != count)
            throw std::runtime_error("lost members");
        state.PauseTiming();
        reader.reset();
        state.ResumeTiming();
    }
    std::cout.clear();
}

void IndexLibarchive(benchmark::State& state, std::size_t size, std::size_t count)
{
    const path file = IndexedFile(size, count);
    for (auto _ : state) {
        const std::unique_ptr<archive, decltype(&archive_read_free)> peer(archive_read_new(), archive_read_free);
        Check(archive_read_support_format_tar(peer.get()), peer.get());
        Check(archive_read_open_filename(peer.get(), file.c_str(), peer_read_size), peer.get());
        std::size_t found = 0;
        archive_entry* entry = nullptr;
        while (archive_read_next_header(peer.get(), &entry) == ARCHIVE_OK)
            ++found;
        if (found != count)
            throw std::runtime_error("libarchive lost members");
    }
}

using IndexFunction = void (*)(benchmark::State&, std::size_t, std::size_t);

void RegisterIndexes(const std::string& name, std::size_t size, std::size_t count)
{
    for (const bool is_orvo : {true, false}) {
        const IndexFunction index = is_orvo ? IndexOrvo : IndexLibarchive;
        benchmark::RegisterBenchmark((name + (is_orvo ? "/orvo" : "/libarchive")).c_str(), index, size, count)
            ->Unit(benchmark::kMillisecond);
    }
}

void RegisterWrites(const std::string& name, const path& parent)
{
    for (const bool is_orvo : {true, false})
        benchmark::RegisterBenchmark((name + (is_orvo ? "/orvo" : "/libarchive")).c_str(), Write, parent,
                                     is_orvo ? WriteOrvo : WriteLibarchive)
            ->Unit(benchmark::kMillisecond);
}

}  // namespace

int main(int argc, char** argv)
{
    RegisterWrites("tar_write", boost::filesystem::temp_directory_path());
    RegisterWrites("tar_write_in_memory", "/dev/shm");
    RegisterIndexes("tar_index", 1024, 100000);
    RegisterIndexes("tar_index_larger", member_size, 20000);
    benchmark::Initialize(&argc, argv);
    if (benchmark::ReportUnrecognizedArguments(argc, argv))
        return 2;
    benchmark::RunSpecifiedBenchmarks();
}
