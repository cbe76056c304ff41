// GenICam cameras: the fake one in the process, and one on the loopback network that can vanish.
#include <arv.h>
#include <gmock/gmock.h>

#include <condition_variable>
#include <mutex>
#include <set>
#include <thread>

#include "drivers/driver_fixture.h"
#include "genicam/frame_ledger.h"

namespace drivers_test {
namespace {

using testing::HasSubstr;
using Losses = std::map<std::string, std::uint64_t>;
using Numbers = std::vector<std::uint64_t>;

TEST(FrameLedger, NumbersFramesAndCountsEachLostOneOnce)
{
    struct TArrival
    {
        std::uint64_t id;
        const char* fault;
        std::uint64_t underran;  // the stream's count by then
    };
    const char* const bad = "incomplete";
    const struct
    {
        const char* what;
        genicam::TUnderruns underruns;
        std::vector<TArrival> arrivals;
        std::uint64_t underran_at_end;
        Numbers numbers;  // of the good ones
        Losses lost;
    } rows[] = {
        {"short ids wrap past 0", {}, {{65534, {}, 0}, {65535, {}, 0}, {1, {}, 0}}, 0, {0, 1, 2}, {}},
        {"a gap over the wrap", {}, {{65533, {}, 0}, {3, {}, 0}}, 0, {0, 5}, {{"missing", 4}}},
        {"wide ids", {}, {{65535, {}, 0}, {65536, {}, 0}, {65539, {}, 0}}, 0, {0, 1, 4}, {{"missing", 2}}},
        {"counts anew", {}, {{70000, {}, 0}, {1, {}, 0}, {2, {}, 0}}, 0, {0, 1, 2}, {}},
        {"counts anew, short", {}, {{900, {}, 0}, {1, {}, 0}}, 0, {0, 1}, {}},
        {"no ids", {}, {{0, {}, 0}, {0, {}, 0}, {0, {}, 0}}, 0, {0, 1, 2}, {}},
        {"damaged", {}, {{1, {}, 0}, {2, bad, 0}, {4, {}, 0}}, 0, {0, 3}, {{"incomplete", 1}, {"missing", 1}}},
        {"damaged first", {}, {{1, bad, 0}, {2, {}, 0}, {4, {}, 0}}, 0, {0, 2}, {{"missing", 1}}},
        {"underruns", {true, 10}, {{1, {}, 0}, {5, {}, 20}}, 20, {0, 4}, {{"underrun", 2}, {"missing", 1}}},
        {"first packets", {true, 10}, {{1, {}, 0}, {2, bad, 9}, {4, {}, 9}}, 9, {0, 3}, {{bad, 1}, {"missing", 1}}},
        {"underruns at the end", {true, 10}, {{1, {}, 0}}, 39, {0}, {{"underrun", 3}}},
        {"without ids", {false, 1}, {{1, {}, 0}, {2, {}, 3}}, 4, {0, 4}, {{"underrun", 4}}}};
    for (const auto& row : rows) {
        SCOPED_TRACE(row.what);
        CFakeSink sink;
        genicam::CFrameLedger ledger;
        ledger.Begin(row.underruns);
        Numbers numbers;
        for (const TArrival& arrival : row.arrivals) {
            ledger.Underran(arrival.underran, sink);
            if (const auto number = ledger.Arrived(arrival.id, arrival.fault, sink))
                numbers.push_back(*number);
        }
        ledger.Underran(row.underran_at_end, sink);
        ledger.End(sink);
        EXPECT_EQ(numbers, row.numbers);
        EXPECT_EQ(sink.lost, row.lost);
    }
}

/// A source that runs on a thread of its own, and what it delivers and tells.
class CRunning : private capture::CSink
{
public:
    CRunning(const capture::CDriver& driver, const std::string& location, const std::string& format, const Keys& keys)
        : source(driver.Open({location, "", Settings(keys), format,
                              [this](const std::string& sentence) {
                                  const std::lock_guard<std::mutex> lock(mutex_);
                                  told_ += sentence + "\n";
                                  changed_.notify_all();
                              }})),
          runner_([this] { source->Run(*this); })
    {
    }
    ~CRunning() override { Stop(); }

    void Stop()
    {
        source->Stop();
        if (runner_.joinable())
            runner_.join();
    }

    /// False when it does not come true for long.
    template <typename Condition>
    bool Wait(Condition condition)
    {
        std::unique_lock<std::mutex> lock(mutex_);
        return changed_.wait_for(lock, std::chrono::seconds(60), condition);
    }
    bool WaitForFrames(std::size_t more)
    {
        std::unique_lock<std::mutex> lock(mutex_);
        const std::size_t enough = numbers.size() + more;
        return changed_.wait_for(lock, std::chrono::seconds(60), [&] { return numbers.size() >= enough; });
    }
    /// "", or all that was told when no sentence with that part in it comes.
    std::string WaitForWord(const std::string& part)
    {
        return Wait([&] { return told_.find(part) != std::string::npos; }) ? "" : told_;
    }
    std::uint64_t AllLost() const
    {
        std::uint64_t sum = 0;
        for (const auto& each : lost)
            sum += each.second;
        return sum;
    }

    std::unique_ptr<capture::CSource> source;

    // Within Wait(), or after Stop().
    Numbers numbers;
    std::set<const void*> places;                               // of pixels
    std::vector<boost::shared_ptr<const cimage::CImage>> held;  // the last ones
    std::size_t hold = 1;                                       // so many
    Losses lost;
    Losses interruptions;
    Losses counted;

private:
    void Offer(const dev::TFrame<>& frame) override
    {
        const std::lock_guard<std::mutex> lock(mutex_);
        EXPECT_EQ(frame.counter1, numbers.size() + AllLost());  // each lost one is in the numbers, once
        numbers.push_back(frame.counter1);
        places.insert(frame.image->Data());
        held.push_back(frame.image);
        if (held.size() > hold)
            held.erase(held.begin());
        changed_.notify_all();
    }
    bool Push(const dev::TFrame<>&) override
    {
        ADD_FAILURE() << "a live source cannot wait";
        return true;
    }
    void Lost(const std::string& reason, std::uint64_t count) override { Add(lost, reason, count); }
    void Interrupted(const std::string& reason) override { Add(interruptions, reason, 1); }
    void Count(const std::string& name, std::uint64_t count) override { Add(counted, name, count); }
    void Add(Losses& where, const std::string& reason, std::uint64_t count)
    {
        const std::lock_guard<std::mutex> lock(mutex_);
        where[reason] += count;
        changed_.notify_all();
    }

    std::mutex mutex_;
    std::condition_variable changed_;
    std::string told_;
    std::thread runner_;
};

template <typename Work>
std::string ErrorOf(Work work)
{
    try {
        work();
    } catch (const std::runtime_error& error) {
        return error.what();
    }
    return "no error";
}

const char* const full = "Mono8 2048x2048";

class Genicam : public testing::Test
{
protected:
    ~Genicam() override { arv_set_fake_camera_genicam_filename(nullptr); }

    std::string ErrorOfOpen(const std::string& location, const std::string& format, const Keys& keys)
    {
        return ErrorOf([&] { driver_.Open({location, "", Settings(keys), format}); });
    }

    const capture::CDriver& driver_ = LoadDriver("genicam");
};

/// The camera at 127.0.0.1.
using Loopback = std::unique_ptr<ArvGvFakeCamera, decltype(&g_object_unref)>;
Loopback MakeLoopback(const char* serial)
{
    Loopback camera(arv_gv_fake_camera_new("127.0.0.1", serial), g_object_unref);
    EXPECT_TRUE(arv_gv_fake_camera_is_running(camera.get())) << "is another one there?";
    return camera;
}

std::uint32_t WidthOf(const Loopback& camera)
{
    std::uint32_t width = 0;
    arv_fake_camera_read_register(arv_gv_fake_camera_get_fake_camera(camera.get()), ARV_FAKE_CAMERA_REGISTER_WIDTH,
                                  &width);
    return width;
}

TEST_F(Genicam, ImagesAreTheCamerasBuffersAndUnderrunsEndWhenTheyComeBack)
{
    boost::shared_ptr<const cimage::CImage> last;
    {
        CRunning run(driver_, "Fake_1", full, {{"BUFFERS", "3"}, {"ROI", "64 64"}});
        ASSERT_TRUE(run.WaitForFrames(6));
        ASSERT_TRUE(run.Wait([&] { return (run.hold = 3, true); }));
        ASSERT_TRUE(run.Wait([&] { return run.lost["underrun"] > 2; }));
        ASSERT_TRUE(run.Wait([&] { return (run.hold = 1, run.held.clear(), true); }));
        ASSERT_TRUE(run.WaitForFrames(3));
        run.Stop();
        EXPECT_EQ(run.places.size(), 3U);
        last = run.held.back();
    }
    EXPECT_EQ(last->Descriptor(), "Mono8 64x64");
    EXPECT_EQ(std::vector<std::uint8_t>(last->Data(), last->Data() + 64 * 64).size(), 4096U);  // still readable
}

TEST_F(Genicam, RegionsKeepToTheIncrementsOfTheCameraAlsoWhileItStreams)
{
    const std::unique_ptr<ArvFakeCamera, decltype(&g_object_unref)> fake(arv_fake_camera_new("any"), g_object_unref);
    std::size_t size = 0;
    std::string xml = arv_fake_camera_get_genicam_xml(fake.get(), &size);
    const std::pair<const char*, const char*> steps[] = {
        {"OffsetXRegister", "8"}, {"OffsetYRegister", "2"}, {"WidthRegister", "16"}, {"HeightRegister", "4"}};
    for (const auto& step : steps)
        xml.replace(xml.find("<Inc>1", xml.find(std::string("<pValue>") + step.first)), 6,
                    std::string("<Inc>") + step.second);
    const CFolder folder;
    arv_set_fake_camera_genicam_filename(folder.Write("fake.xml", xml).c_str());

    for (const char* roi : {"4, 0, 67, 63", "0, 1, 63, 64", "0, 0, 62, 63", "0, 0, 63, 64", "2000, 0, 2063, 63"})
        EXPECT_THAT(ErrorOfOpen("Fake_1", full, {{"ROI", roi}}), HasSubstr("steps of 8 and 2, width")) << roi;

    CRunning run(driver_, "Fake_1", full, {{"ROI", "8, 2, 71, 65"}});
    ASSERT_TRUE(run.WaitForFrames(2));
    const auto region = [](const char* geometry) {
        dev::camera::CRoI roi(2048, 2048);
        roi.Resize(geometry);
        return roi;
    };
    EXPECT_THAT(ErrorOf([&] { run.source->SetRegion(region("8, 2, 72, 65")); }), HasSubstr("wanted a region"));
    EXPECT_EQ(*run.source->Region(), region("8, 2, 71, 65"));
    ASSERT_TRUE(run.WaitForFrames(2));
    for (const char* geometry : {"1984, 1984, 2047, 2047", "0, 0, 2047, 2047", "1024, 1024, 1151, 1055"}) {
        const auto taken = run.source->SetRegion(region(geometry));
        EXPECT_EQ(taken, region(geometry));
        ASSERT_TRUE(run.Wait([&] { return (run.hold = 1000, run.held.clear(), true); }));
        ASSERT_TRUE(run.WaitForFrames(3));
        ASSERT_TRUE(run.Wait([&] {
            for (const auto& image : run.held)
                EXPECT_TRUE(image->Width() == taken.Width() && image->Height() == taken.Height());
            return (run.hold = 1, true);
        }));
    }
    run.Stop();
    EXPECT_EQ(run.source->SetRegion(region("0, 0, 15, 3")).Width(), 16U);
}

TEST_F(Genicam, RefusesAnotherCameraAndWritesNothingToIt)
{
    const Loopback camera = MakeLoopback("GV77");
    EXPECT_THAT(driver_.Locations(), testing::ElementsAre("Aravis-Fake-GV77", "Fake_1"));
    const auto description = driver_.Describe({"GV77", "", Settings(), ""});
    EXPECT_EQ(description.identity.vendor + description.identity.model + description.identity.serial, "AravisFakeGV77");
    EXPECT_EQ(description.identity.interface, "GigE Vision");
    EXPECT_EQ(description.format, full);

    const struct
    {
        const char* location;
        const char* format;
        Keys keys;
        const char* message;
    } rows[] = {{"127.0.0.1", full, {{"SERIAL", "GV78"}}, "SERIAL: found the device \"GV77\", wanted \"GV78\""},
                {"127.0.0.1", "Mono8 640x480", {}, "FB: found Mono8 640x480, wanted the whole sensor: Mono8 2048x2048"},
                {"127.0.0.1", "Mono12 2048x2048", {}, "one of the camera's: BayerBG8, BayerGB8"},
                {"GV78", full, {}, "found no camera \"GV78\" among those that answer (Fake_1, Aravis-Fake-GV77)"},
                {"127.0.0.1", full, {{"BUFFERS", "1"}, {"PACKET SIZE", "9k"}}, "\nPACKET SIZE: found \"9k\", wanted"}};
    for (const auto& row : rows)
        EXPECT_THAT(ErrorOfOpen(row.location, row.format, row.keys), HasSubstr(row.message));
    EXPECT_EQ(WidthOf(camera), 512U);

    const auto source = driver_.Open({"127.0.0.1", "", Settings({{"SERIAL", "GV77"}}), full});
    EXPECT_EQ(WidthOf(camera), 2048U);
    EXPECT_THAT(ErrorOfOpen("127.0.0.1", full, {}), HasSubstr("under the control of another program"));
}

TEST_F(Genicam, FramesThatLostPacketsAreCountedAndTheirPacketsToo)
{
    const Loopback camera = MakeLoopback("GV77");
    g_object_set(camera.get(), "gvsp-lost-ratio", 0.005, nullptr);
    CRunning run(driver_, "127.0.0.1", full, {{"ROI", "256 256"}, {"PACKET SIZE", "1400"}});
    ASSERT_TRUE(run.Wait([&] { return run.lost["incomplete"] + run.lost["timed out"] > 5; }));
    ASSERT_TRUE(run.WaitForFrames(1));
    run.Stop();
    EXPECT_GT(run.counted["missing packets"], 0U);
}

TEST_F(Genicam, ACameraThatVanishesIsNotReplacedByAnother)
{
    Loopback camera = MakeLoopback("GV77");
    CRunning run(driver_, "127.0.0.1", full, {{"ROI", "640, 128, 767, 255"}});
    ASSERT_TRUE(run.WaitForFrames(3));
    camera.reset();
    ASSERT_TRUE(run.Wait([&] { return run.interruptions["camera gone"] == 1; }));
    EXPECT_THAT(ErrorOf([&] { run.source->SetRegion(dev::camera::CRoI(2048, 2048)); }), HasSubstr("it is gone"));
    camera = MakeLoopback("GV78");
    ASSERT_EQ(run.WaitForWord("SERIAL: found the device \"GV78\", wanted \"GV77\""), "");
    EXPECT_EQ(WidthOf(camera), 512U);
    run.Stop();
    EXPECT_EQ(run.held.back()->Descriptor(), "Mono8 128x128");
}

}  // namespace
}  // namespace drivers_test
