// What the checksum of a payload costs beside its way into the page cache. Frames of 1.2 MB, one after the other out of
// a few, as images of a pool come round. Only processor time counts; TMPDIR chooses the file system.
//
//   checksum/orvo    the checksum of a frame
//   checksum/write   write() of a frame to the end of a file, which is emptied again, unmeasured, every 64 frames
#include <benchmark/benchmark.h>
#include <fcntl.h>
#include <unistd.h>

#include <boost/filesystem/operations.hpp>
#include <cstdint>
#include <string>
#include <vector>

#include "rec/payload.h"

namespace {

constexpr std::size_t frame_bytes = 1200000;

std::vector<std::vector<std::uint8_t>> Frames()
{
    std::vector<std::vector<std::uint8_t>> frames;
    for (std::uint8_t i = 0; i < 8; ++i)
        frames.emplace_back(frame_bytes, i);
    return frames;
}

void OrvoChecksum(benchmark::State& state)
{
    const auto frames = Frames();
    std::size_t i = 0;
    for (auto _ : state)
        benchmark::DoNotOptimize(rec::Checksum(frames[i++ % frames.size()].data(), frame_bytes));
}
BENCHMARK(OrvoChecksum)->Name("checksum/orvo");

void Write(benchmark::State& state)
{
    const auto frames = Frames();
    const auto path = boost::filesystem::temp_directory_path() / boost::filesystem::unique_path("orvo-bench-%%%%%%%%");
    const int file = open(path.c_str(), O_CREAT | O_RDWR | O_CLOEXEC, 0600);
    boost::filesystem::remove(path);
    std::size_t i = 0;
    for (auto _ : state) {
        if (write(file, frames[i++ % frames.size()].data(), frame_bytes) != static_cast<ssize_t>(frame_bytes)) {
            state.SkipWithError("the file cannot be written");
            break;
        }
        if (i % 64 == 0) {
            state.PauseTiming();
            if (ftruncate(file, 0) != 0 || lseek(file, 0, SEEK_SET) != 0)
                state.SkipWithError("the file cannot be emptied");
            state.ResumeTiming();
        }
    }
    close(file);
}
BENCHMARK(Write)->Name("checksum/write");

}  // namespace

BENCHMARK_MAIN();
