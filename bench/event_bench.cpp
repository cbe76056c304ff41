// Event files: events written as they come, beside the file sink of spdlog, and events that a cache sorts, beside a
// multiset. Both sides of a pair write the same lines, of 60 bytes, to a file in the temporary folder (TMPDIR);
// processor time is what counts, so the disk takes no part, but the kernel's work for new pages of the file does. It is
// most of what a direct write costs, and the same for both; "event_direct_null" leaves it out.
#include <benchmark/benchmark.h>
#include <spdlog/sinks/basic_file_sink.h>
#include <spdlog/spdlog.h>

#include <algorithm>
#include <boost/filesystem/operations.hpp>
#include <fstream>
#include <iostream>
#include <random>
#include <set>
#include <string>
#include <vector>

#include "data/event_writer.h"

namespace {

using boost::filesystem::path;
using Events = std::vector<data::CEvent>;

enum class Target
{
    File,
    Null  ///< where everything goes for nothing
};

/// A file name, and no file afterwards.
class CFile
{
public:
    explicit CFile(Target target = Target::File)
        : target_(target),
          path_(target == Target::Null
                    ? path("/dev/null")
                    : boost::filesystem::temp_directory_path() / boost::filesystem::unique_path("orvo-bench-%%%%%%%%"))
    {
    }
    ~CFile()
    {
        boost::system::error_code ignored;
        if (target_ == Target::File)
            boost::filesystem::remove(path_, ignored);
    }
    CFile(const CFile&) = delete;
    CFile& operator=(const CFile&) = delete;

    std::string Name() const { return path_.string(); }

private:
    Target target_;
    path path_;
};

enum class Order
{
    Ascending,
    Jitter,  ///< nothing more than ten places from its own
    Random
};

/// Events a millisecond apart, with lines of 60 bytes.
Events Generate(std::size_t count, Order order)
{
    std::mt19937 random(1);
    std::vector<std::size_t> times(count);
    for (std::size_t i = 0; i < count; ++i)
        times[i] = i;
    if (order == Order::Random)
        std::shuffle(times.begin(), times.end(), random);
    if (order == Order::Jitter) {
        // Sorting by a place that is moved by up to five to either side moves nothing by more than ten.
        std::vector<double> places(count);
        for (std::size_t i = 0; i < count; ++i)
            places[i] = static_cast<double>(i) + std::uniform_real_distribution<>(-5, 5)(random);
        std::sort(times.begin(), times.end(), [&](std::size_t a, std::size_t b) { return places[a] < places[b]; });
    }
    Events events;
    for (const std::size_t time : times)
        events.emplace_back("FRAME", boost::posix_time::milliseconds(static_cast<long>(time)),
                            "left of the front pair, seq 1234567890");
    return events;
}

std::string Line(const data::CEvent& event)
{
    std::string buffer;
    return event.GetString(buffer);
}

/// The writer's console lines stay out of the table.
class CQuiet
{
public:
    CQuiet() : old_(std::cout.rdbuf(nullptr)) {}
    ~CQuiet()
    {
        std::cout.rdbuf(old_);
        std::cout.clear();
    }

private:
    std::streambuf* old_;
};

/// A whole file in each run, from opening to closing: bytes that still wait in a buffer would cost nothing. A new one,
/// because emptying an old one waits until the disk has it.
constexpr std::size_t direct_count = 100000;

void DirectOrvo(benchmark::State& state, Target target)
{
    const CQuiet quiet;
    const data::CEvent event = Generate(1, Order::Ascending).front();
    for (auto _ : state) {
        const CFile file(target);
        data::CEventWriter writer(file.Name(), "");
        writer.WriteOn<data::CEventWriter::Caching_Disabled>();
        for (std::size_t i = 0; i < direct_count; ++i)
            writer.Dump(event);
    }
    state.SetItemsProcessed(state.iterations() * static_cast<std::int64_t>(direct_count));
}

void DirectSpdlog(benchmark::State& state, Target target)
{
    const std::string line = Line(Generate(1, Order::Ascending).front());
    for (auto _ : state) {
        const CFile file(target);
        spdlog::logger logger("bench", std::make_shared<spdlog::sinks::basic_file_sink_st>(file.Name(), true));
        logger.set_pattern("%v");
        for (std::size_t i = 0; i < direct_count; ++i)
            logger.info(line);
    }
    state.SetItemsProcessed(state.iterations() * static_cast<std::int64_t>(direct_count));
}

void CacheOrvo(benchmark::State& state, std::size_t count, Order order)
{
    const CFile file;
    const CQuiet quiet;
    const Events events = Generate(count, order);
    data::CEventWriter writer(file.Name(), "");
    for (auto _ : state) {
        for (const data::CEvent& event : events)
            writer.Dump(event);
        writer.Cache_Flush();
    }
    state.SetItemsProcessed(state.iterations() * static_cast<std::int64_t>(count));
}

void CacheMultiset(benchmark::State& state, std::size_t count, Order order)
{
    const CFile file;
    const Events events = Generate(count, order);
    std::vector<char> buffer(256 * 1024);  // as large as the writer's
    std::ofstream stream;
    stream.rdbuf()->pubsetbuf(buffer.data(), static_cast<std::streamsize>(buffer.size()));
    stream.open(file.Name(), std::ios::binary);
    std::multiset<data::CEvent> cache;
    std::string line;
    for (auto _ : state) {
        for (const data::CEvent& event : events)
            cache.insert(event);
        for (const data::CEvent& event : cache) {
            event.GetString(line);
            stream.write(line.data(), static_cast<std::streamsize>(line.size())).put('\n');
        }
        cache.clear();
    }
    state.SetItemsProcessed(state.iterations() * static_cast<std::int64_t>(count));
}

BENCHMARK_CAPTURE(DirectOrvo, file, Target::File)->Name("event_direct/orvo");
BENCHMARK_CAPTURE(DirectSpdlog, file, Target::File)->Name("event_direct/spdlog");
BENCHMARK_CAPTURE(DirectOrvo, null, Target::Null)->Name("event_direct_null/orvo");
BENCHMARK_CAPTURE(DirectSpdlog, null, Target::Null)->Name("event_direct_null/spdlog");
BENCHMARK_CAPTURE(CacheOrvo, ascending, 50000, Order::Ascending)->Name("event_cache_in_order/orvo");
BENCHMARK_CAPTURE(CacheMultiset, ascending, 50000, Order::Ascending)->Name("event_cache_in_order/multiset");
BENCHMARK_CAPTURE(CacheOrvo, jitter, 50000, Order::Jitter)->Name("event_cache_jitter/orvo");
BENCHMARK_CAPTURE(CacheMultiset, jitter, 50000, Order::Jitter)->Name("event_cache_jitter/multiset");
BENCHMARK_CAPTURE(CacheOrvo, random, 50000, Order::Random)->Name("event_cache_random/orvo");
BENCHMARK_CAPTURE(CacheMultiset, random, 50000, Order::Random)->Name("event_cache_random/multiset");
BENCHMARK_CAPTURE(CacheOrvo, random_5000, 5000, Order::Random)->Name("event_cache_random_5000/orvo");

}  // namespace

BENCHMARK_MAIN();
