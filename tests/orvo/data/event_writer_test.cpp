#include "data/event_writer.h"

#include <gmock/gmock.h>

#include <boost/filesystem/operations.hpp>
#include <boost/thread/thread.hpp>
#include <iterator>
#include <random>

#include "orvo/base/decimal_comma.h"

namespace {

using boost::filesystem::path;
using boost::posix_time::seconds;
using boost::posix_time::time_duration;
using data::CEvent;
using data::CEventWriter;

class EventWriter : public testing::Test
{
protected:
    EventWriter() { boost::filesystem::create_directories(cache); }
    ~EventWriter() override { boost::filesystem::remove_all(folder); }

    static std::string Read(const std::string& file)
    {
        std::ifstream in(file, std::ios::binary);
        return {std::istreambuf_iterator<char>(in), {}};
    }

    const path folder = boost::filesystem::temp_directory_path() / boost::filesystem::unique_path();
    const std::string file = (folder / "drive.mef").string();
    const std::string cache = (folder / "cache").string();
    const std::string cache_file = cache + "/drive.mef";
    const std::string first_line = "Morvek MEF 20\n";
    const CEvent event{"A", seconds(1), "x"};
    const std::string line = "00:00:01.000000 A x\n";
};

/// What a writer does, in the plainest way: each event is inserted into its sorted place.
struct TModel
{
    using Events = std::vector<CEvent>;

    static void Insert(Events& to, const CEvent& e) { to.insert(std::lower_bound(to.begin(), to.end(), e), e); }
    void Write(const CEvent& e) { text += e.GetString(buffer) + '\n'; }
    void Dump(const CEvent& e, Events& to)
    {
        position = static_cast<std::streamoff>(text.size());
        caching ? Insert(to, e) : Write(e);
    }
    void Flush()
    {
        for (; !persistent.empty(); persistent.pop_back())
            Insert(cache, persistent.back());
        for (const CEvent& e : cache)
            Write(e);
        cache.clear();
    }
    void Remove(const time_duration& t)
    {
        Events kept;
        for (const CEvent& e : cache)
            if (t.is_not_a_date_time() || e.Key().is_not_a_date_time() || e.Key().ticks() >= t.ticks())
                kept.push_back(e);
        cache = kept;
    }

    Events cache, persistent;
    std::string text = "Morvek MEF 20\n", buffer;
    std::streamoff position = 0;
    bool caching = true;
};

/// One of a hundred operations, most of which are dumps, on both.
void Operate(CEventWriter& writer, TModel& model, std::size_t operation, const CEvent& e)
{
    if (operation < 80)
        writer.Dump(e), model.Dump(e, model.cache);
    else if (operation < 90)
        writer.DumpPersistent(e), model.Dump(e, model.persistent);
    else if (operation < 93)
        writer.Cache_Flush(), model.Flush();
    else if (operation < 94)
        writer.Cache_Discard(), model.cache.clear();
    else if (operation < 97)
        writer.Remove_from_cache(e.Key()), model.Remove(e.Key());
    else if (operation < 98)
        writer.WriteOn<CEventWriter::Caching_Disabled>(), model.Flush(), model.caching = false;
    else
        writer.WriteOn<CEventWriter::Caching_Enabled>(), model.caching = true;
}

TEST_F(EventWriter, DoesWhatInsertingOneByOneDoes)
{
    using namespace boost::date_time;
    const time_duration keys[] = {neg_infin, seconds(0), seconds(1), not_a_date_time, seconds(2), pos_infin};
    for (unsigned seed = 0; seed < 5; ++seed) {
        std::mt19937 random(seed);
        TModel model;
        {
            CEventWriter writer(file, "");
            for (int step = 0; step < 1000; ++step) {
                // Now and then a line that is longer than what waits for one write.
                const std::string dots(random() % 200 == 0 ? 300000 : random() % 1000, '.');
                const CEvent e("E", keys[random() % 6], std::to_string(step) + dots);
                Operate(writer, model, random() % 100, e);
                ASSERT_EQ(writer.Position(), model.position) << seed << ' ' << step;
            }
        }
        ASSERT_TRUE(Read(file) == model.text) << seed;  // too long to be shown
    }
}

TEST_F(EventWriter, ReportsHowManyEventsWereGivenWhateverBecameOfThem)
{
    const test::CDecimalComma comma;
    testing::internal::CaptureStdout();
    {
        CEventWriter writer(file, "");
        for (int i = 0; i < 1000; ++i)
            writer << event;
        writer.Cache_Discard();
        writer.WriteOn<CEventWriter::Caching_Disabled>();
        writer.DumpPersistent(CEvent("A-long-identifier", seconds(1), ""));
        writer << event;
    }
    CEventWriter(file, "");
    const std::string enabled = "[II] ::CEventWriter: Event caching enabled\n";
    const std::string heading = "[II] ::CEventWriter: Written Events\n  Name      #         \n";
    EXPECT_EQ(testing::internal::GetCapturedStdout(),
              enabled + "[II] ::CEventWriter: Event caching disabled\n" + heading +
                  "  A         1001      \n  A-long-identifier1         \n" + enabled + heading);
    EXPECT_EQ(Read(file), first_line);
}

TEST_F(EventWriter, MovesTheCacheFileToItsPlaceWhenDestroyed)
{
    {
        CEventWriter writer(file, cache);
        writer.Dump(event);
        writer.Cache_Flush();
        EXPECT_FALSE(boost::filesystem::exists(file));
    }
    EXPECT_EQ(Read(file), first_line + line);
    EXPECT_FALSE(boost::filesystem::exists(cache_file));

    // A cache folder that is the file's own by another name: copying the file onto itself would lose it.
    CEventWriter(cache_file, folder.string() + "/./cache");
    EXPECT_EQ(Read(cache_file), first_line);
}

TEST_F(EventWriter, ThrowsWhenTheCacheFileCannotBeRemovedButNotDuringUnwinding)
{
    const auto live = [&](bool unwinding) {
        const CEventWriter writer(file, cache);
        boost::filesystem::remove(cache_file);
        boost::filesystem::create_directories(cache_file + "/not empty");
        if (unwinding)
            throw std::logic_error("on its way");
    };
    EXPECT_THROW(live(true), std::logic_error);
    boost::filesystem::remove_all(cache_file);
    EXPECT_THROW(live(false), boost::filesystem::filesystem_error);
}

TEST_F(EventWriter, SaysWhichFileCannotBeOpened)
{
    const std::string missing = (folder / "missing").string();
    const auto refused =
        testing::ThrowsMessage<std::runtime_error>("Error opening " + missing + "/drive.mef. Check permissions");
    EXPECT_THAT([&] { CEventWriter(missing + "/drive.mef", ""); }, refused);
    EXPECT_THAT([&] { CEventWriter(file, missing); }, refused);
}

TEST_F(EventWriter, SyncHandsLinesOnAndTellsOfAFullDisk)
{
    CEventWriter good(file, ""), full("/dev/full", "");
    for (CEventWriter* writer : {&good, &full}) {
        writer->write_on_disk(event);
        EXPECT_EQ(writer->Sync(), writer == &good);
        EXPECT_EQ(writer->Sync(), writer == &good) << "a failure is not forgotten";
        writer->Dump(event);
    }
    EXPECT_EQ(Read(file), first_line + line);
    EXPECT_EQ(full.Position(), -1);
}

TEST_F(EventWriter, TakesEventsFromSeveralThreads)
{
    {
        CEventWriter writer(file, "");
        const auto produce = [&] {
            for (int i = 0; i < 1000; ++i)
                writer << event;
            writer.WriteOn<CEventWriter::Caching_Disabled>();
        };
        boost::thread other(produce);
        produce();
        other.join();
    }
    EXPECT_EQ(Read(file).size(), first_line.size() + 2000 * line.size());
}

}  // namespace
