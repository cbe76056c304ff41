// The recorder over a disk in memory: slow, failing, full, not there.
#include <gmock/gmock.h>
#include <boost/make_shared.hpp>
#include <condition_variable>
#include <future>
#include <mutex>

#include "host/rig_fixture.h"
#include "orvo_proc_cimage/image.h"
#include "orvo_ui/widget.h"
#include "record/frame_writable.h"
#include "record/recorder.h"
#include "ui/value.h"
#include "ui/variable.h"

namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::Pair;
using testing::UnorderedElementsAre;

using Written = std::vector<std::pair<unsigned int, std::uint64_t>>;  // track and sequence number

/// What a test knows of its disk; outlives the writer.
struct TDisk
{
    std::mutex mutex;
    std::condition_variable changed;
    bool stuck = false;
    std::size_t room = 1000;  ///< writes that succeed
    bool flushes = true;
    Written written;
    bool closed = false;
};

class CMemoryWriter : public dev::CDiskWriter
{
public:
    explicit CMemoryWriter(TDisk& disk) : disk_(disk) {}
    bool Flush() override { return disk_.flushes; }
    bool Close() override { return disk_.closed = true; }

protected:
    void On_Write(const boost::shared_ptr<dev::CWritable>& writable, unsigned char track) override
    {
        std::unique_lock<std::mutex> lock(disk_.mutex);
        disk_.changed.wait(lock, [this] { return !disk_.stuck; });
        if (disk_.written.size() == disk_.room)
            throw std::runtime_error("frames: the disk is full");
        disk_.written.emplace_back(track, writable->Sequence());
    }

private:
    TDisk& disk_;
};

class RecorderTest : public host_test::RigFixture
{
protected:
    void Open(std::uint64_t min_free = 0)
    {
        Open([this](auto) { return std::make_unique<CMemoryWriter>(disk_); }, min_free);
    }

    void Open(const host::CRecorder::Open& open, std::uint64_t min_free = 0)
    {
        const auto pack = [](const dev::TFrame<>& frame) {
            return boost::make_shared<host::CFrameWritable>(0, "cam", frame, rec::Compression::None);
        };
        host::TRecorderSetup setup{folder_, "pair: left, right", {{"left", pack}, {"right", pack}}, min_free};
        recorder_ = std::make_unique<host::CRecorder>(setup, open, console_);
    }

    void Offer(std::size_t track, std::uint64_t count)
    {
        dev::TFrame<> frame;
        frame.image = cimage::Build("Mono8 4x2");
        for (std::uint64_t i = 0; i < count; ++i) {
            frame.counter1 = offered_[track]++;
            recorder_->Offer(track, frame);
        }
    }

    void Unstick()
    {
        const std::lock_guard<std::mutex> lock(disk_.mutex);
        disk_.stuck = false;
        disk_.changed.notify_all();
    }

    /// Ends the recording; its counts then add up.
    void Finish()
    {
        std::promise<void> done;
        recorder_->Finish("end of the test", [&done] { done.set_value(); });
        done.get_future().wait();
        for (std::size_t track = 0; track < 2; ++track) {
            const host::TTrackReport report = recorder_->Report(track);
            EXPECT_EQ(report.offered, offered_[track]);
            EXPECT_EQ(report.offered, report.recorded + host::Sum(report.dropped));
        }
    }

    std::string Events() const { return Read(folder_ / "events.mef"); }

    TDisk disk_;
    std::uint64_t offered_[2] = {0, 0};
    std::unique_ptr<host::CRecorder> recorder_;
};

TEST_F(RecorderTest, ASlowDiskDropsWholeFramesOfTheCameraThatFillsItsShare)
{
    disk_.stuck = true;
    Open();
    Offer(0, 20);
    Offer(1, 3);
    recorder_->NoteDrops(0, {{"queue full", 2}});
    recorder_->NoteDrops(0, {{"queue full", 7}});
    Unstick();
    Finish();
    EXPECT_TRUE(disk_.closed);
    EXPECT_EQ(recorder_->Report(0).recorded, 8u);
    EXPECT_EQ(recorder_->Report(0).bytes, 64u);
    EXPECT_THAT(recorder_->Report(0).dropped, ElementsAre(Pair("recorder full", 12)));
    EXPECT_EQ(recorder_->Report(1).recorded, 3u);
    for (unsigned int track : {0u, 1u}) {
        Written of_track;
        std::copy_if(disk_.written.begin(), disk_.written.end(), std::back_inserter(of_track),
                     [track](const auto& each) { return each.first == track; });
        for (std::uint64_t i = 0; i < of_track.size(); ++i)
            EXPECT_EQ(of_track[i].second, i);
    }
    EXPECT_EQ(recorder_->Failure(), "");
    EXPECT_THAT(Events(), testing::MatchesRegex("Morvek MEF 20\n"
                                                ".* start 20.*Z pair: left, right\n"
                                                ".* drop left: queue full 2\n"
                                                ".* drop left: recorder full 12\n"
                                                ".* drop left: queue full 5\n"
                                                ".* stop end of the test; left: 8 recorded, 12 not; "
                                                "right: 3 recorded, 0 not\n"));
}

TEST_F(RecorderTest, TheFirstErrorEndsTheStoringAndKeepsWhatIsThere)
{
    disk_.room = 2;
    Open();
    Offer(1, 5);
    Finish();
    EXPECT_THAT(disk_.written, ElementsAre(Pair(1, 0), Pair(1, 1)));
    EXPECT_TRUE(disk_.closed);
    EXPECT_THAT(recorder_->Report(1).dropped, ElementsAre(Pair("write failed", 3)));
    EXPECT_EQ(recorder_->Failure(), "frames: the disk is full");
    EXPECT_THAT(Events(), HasSubstr(" error frames: the disk is full\n"));
    EXPECT_THAT(Events(), HasSubstr(" drop right: write failed 3\n"));
}

TEST_F(RecorderTest, ADiskThatIsNearlyFullOrNotThereCostsTheFramesAlone)
{
    Open(std::uint64_t{1} << 60U);
    Offer(0, 2);
    Finish();
    EXPECT_THAT(recorder_->Report(0).dropped, ElementsAre(Pair("disk low", 2)));
    EXPECT_THAT(recorder_->Failure(), HasSubstr("free on the disk, wanted to leave 1"));

    offered_[0] = 0;
    Open([](auto) -> std::unique_ptr<dev::CDiskWriter> { throw std::runtime_error("no disk"); });
    Offer(0, 2);
    Finish();
    EXPECT_THAT(recorder_->Report(0).dropped, ElementsAre(Pair("write failed", 2)));
    EXPECT_EQ(recorder_->Failure(), "no disk");

    offered_[0] = 0;
    disk_.flushes = false;
    Open();
    Finish();
    EXPECT_THAT(recorder_->Failure(), HasSubstr("could not be closed"));

    EXPECT_THROW(Open([](auto) -> std::unique_ptr<dev::CDiskWriter> { throw host::recording_exists("there"); }),
                 host::recording_exists);
}

TEST_F(RecorderTest, NotesParametersThatChangeWhileItLives)
{
    double gain = 1.5;
    const ui::var::TBase<ui::detail::value<double>> variable(&gain);
    const auto slider = ui::wgt::Widget("slider", variable.Id()).Label("Gain");
    variable.Update();
    Open();
    gain = 2.5;
    variable.Update();
    recorder_->NoteError("left", "two\nlines");
    Finish();
    recorder_.reset();
    variable.Update();
    const std::string id = std::to_string(variable.Id());
    EXPECT_THAT(Events(), testing::MatchesRegex("Morvek.*\n.* start .*\n.* parameter " + id + " \"Gain\" = 2.5\n" +
                                                ".* error left: two lines\n.* stop .*\n"));
}

}  // namespace
