// Every driver passes the checks that users run on their own cameras; and each check fails where it should.
#include <arv.h>
#include <gmock/gmock.h>

#include <atomic>
#include <boost/make_shared.hpp>
#include <chrono>
#include <thread>

#include "conformance/conformance.h"
#include "dev/camera/attributes.h"
#include "dev/camera/video_property.h"
#include "drivers/driver_fixture.h"
#include "recording/recording_fixture.h"

namespace drivers_test {
namespace {

using testing::AllOf;
using testing::HasSubstr;

/// Names of the checks with that verdict.
std::vector<std::string> With(conformance::Verdict verdict, const std::vector<conformance::TResult>& results)
{
    std::vector<std::string> checks;
    for (const auto& result : results)
        if (result.verdict == verdict)
            checks.push_back(result.check);
    return checks;
}

std::string AsText(const std::vector<conformance::TResult>& results)
{
    std::string text;
    for (const auto& result : results)
        text += std::string(conformance::VerdictName(result.verdict)) + " " + result.check + ": " + result.text + "\n";
    return text;
}

/// Pictures whose pixels hold their number.
std::string MakePictures(const CFolder& folder)
{
    for (char i = 0; i < 5; ++i)
        folder.WritePgm("picture" + std::to_string(i) + ".pgm", 6, 4, i);
    return folder.Path("picture*.pgm");
}

/// A millisecond from frame to frame.
std::string MakeRecording(const CFolder& folder)
{
    recording_test::Frames written;
    for (unsigned int i = 0; i < 50; ++i)
        written.push_back(
            {1, recording_test::MakeFrame(cimage::Build("Mono8 6x4"), i, 1000L * i), rec::Compression::Zstd, {}});
    return recording_test::WriteKta(folder.Path("frames.kta"), written) + "#right";
}

/// A GigE Vision camera on the loopback network.
class CLoopbackCamera
{
public:
    ~CLoopbackCamera() { Vanish(); }
    /// Its port may be in use for a moment yet.
    void Appear()
    {
        for (int tries = 0; tries < 200; ++tries) {
            camera_ = ::arv_gv_fake_camera_new("127.0.0.1", "GV01");
            if (::arv_gv_fake_camera_is_running(camera_))
                return;
            Vanish();
            std::this_thread::sleep_for(std::chrono::milliseconds(50));
        }
        throw std::runtime_error("found the port of GigE Vision in use, wanted it free");
    }
    void Vanish()
    {
        if (camera_ != nullptr)
            ::g_object_unref(camera_);
        camera_ = nullptr;
    }

private:
    ::ArvGvFakeCamera* camera_ = nullptr;
};

struct TDriverCase
{
    const char* name;
    const char* driver;
    std::string location;  ///< empty: what `make` gives
    std::string (*make)(const CFolder& folder);
    const char* format;
    Keys keys;
    bool ends;
    std::vector<std::string> skipped;
};

/// Test lists show it, and must show the same in every run.
void PrintTo(const TDriverCase& row, std::ostream* stream)
{
    *stream << row.name;
}

const std::string pictures = "video/x-raw,format=GRAY8,width=320,height=240,framerate=100/1";

const TDriverCase all_drivers[] = {
    {"Images", "images", "", MakePictures, "Mono8 6x4", {}, true, {"region", "properties", "vanish"}},
    {"LiveImages",
     "images",
     "",
     MakePictures,
     "Mono8 6x4",
     {{"LOOP", "TRUE"}, {"FPS", "500"}, {"STAMPS", "CLOCK"}},
     false,
     {"region", "properties", "vanish", "end"}},
    {"Replay", "replay", "", MakeRecording, "Mono8 6x4", {}, true, {"region", "properties", "vanish"}},
    {"Genicam", "genicam", "Fake_1", nullptr, "Mono8 2048x2048", {{"ROI", "256 128"}}, false, {"vanish", "end"}},
    {"GenicamLoopback", "genicam", "127.0.0.1", nullptr, "Mono8 2048x2048", {{"ROI", "256 128"}}, false, {"end"}},
    {"Gst",
     "gst",
     "videotestsrc num-buffers=50 ! " + pictures,
     nullptr,
     "Mono8 320x240",
     {},
     true,
     {"region", "vanish"}},
    {"LiveGst",
     "gst",
     "videotestsrc is-live=true ! " + pictures,
     nullptr,
     "Mono8 320x240",
     {},
     false,
     {"region", "vanish", "end"}},
};

class SourceContract : public testing::TestWithParam<TDriverCase>
{
};

TEST_P(SourceContract, PassesEveryCheck)
{
    const TDriverCase& row = GetParam();
    const CFolder folder;
    const std::string location = row.make == nullptr ? row.location : row.make(folder);
    const kt::ini::INIFile settings = Settings(row.keys);
    const capture::CDriver& driver = LoadDriver(row.driver);
    conformance::TSubject subject{driver,
                                  [&] {
                                      return capture::TRequest{location, "", settings, row.format};
                                  },
                                  row.ends};
    CLoopbackCamera camera;
    if (location == "127.0.0.1") {
        camera.Appear();
        subject.vanish = [&camera] { camera.Vanish(); };
        subject.come_back = [&camera] { camera.Appear(); };
    }
    const auto results = conformance::Check(subject);
    EXPECT_TRUE(conformance::Passed(results)) << AsText(results);
    EXPECT_EQ(With(conformance::Verdict::Skipped, results), row.skipped) << AsText(results);
}

INSTANTIATE_TEST_SUITE_P(Drivers, SourceContract, testing::ValuesIn(all_drivers),
                         [](const testing::TestParamInfo<TDriverCase>& row) { return row.param.name; });

TEST(SourceContractTest, CheckAndOpenAgreeOnALocationThatIsNotThere)
{
    const auto settings = Settings();
    for (const std::string row : {"images:/nowhere/at/all/*.pgm", "replay:/nowhere/at/all.kta#left"}) {
        const capture::CDriver& driver = LoadDriver(row.substr(0, 6));
        const capture::TRequest request{row.substr(7), "", settings, "Mono8 6x4"};
        const auto faults = driver.Check(request);
        ASSERT_EQ(faults.size(), 1U);
        EXPECT_EQ(faults[0].key, "SOURCE");
        EXPECT_THAT([&] { driver.Open(request); },
                    testing::ThrowsMessage<std::runtime_error>(AllOf(HasSubstr("found "), HasSubstr(", wanted "))));
    }
}

// A camera with a region, a setting and a cable, which does one thing wrong.

std::string wrong;  ///< what that is
std::atomic<bool> plugged{true};
std::atomic<bool> let_go{false};  ///< ends what hangs
std::atomic<int> sources{0};      ///< that are there
std::atomic<int> gain{5};         ///< of the device: stays from source to source
std::vector<dev::TFrame<>> hoard;

class CFakeSource : public capture::CSource
{
public:
    CFakeSource() : property_(boost::make_shared<dev::camera::VideoProperty>("Gain", nullptr))
    {
        property_->AddAttribute(dev::camera::videoprop::attribute::Range<int>(
            "Value", [](int value) { SetGain(value); }, [] { return gain.load(); }, 0, 10, 1, "dB"));
        ++sources;
    }
    ~CFakeSource() override { --sources; }

    void Run(capture::CSink& sink) override
    {
        const bool ends = wrong == "ends";
        bool was_plugged = true;
        for (std::uint64_t i = 0; !stopped_ && !(ends && i == 3); ++i) {
            std::this_thread::sleep_for(std::chrono::milliseconds(1));
            if (was_plugged && !plugged) {
                if (wrong == "gives up")
                    return;
                if (wrong != "silent")
                    sink.Interrupted("unplugged");
                if (wrong == "forgets")
                    gain = 5;
            }
            was_plugged = plugged;
            if (plugged && wrong != "dead" && !Deliver(i, sink) && wrong != "insists")
                return;
        }
        if (wrong == "fails")
            throw std::runtime_error("found a fire, wanted none");
        while (wrong == "hangs" && !let_go)
            std::this_thread::sleep_for(std::chrono::milliseconds(1));
    }

    void Stop() override { stopped_ = true; }
    capture::TIdentity Identity() const override { return {"Acme", "Fake", wrong == "impostor" ? "2" : "1", ""}; }
    VideoProperties Properties() override { return {property_}; }

    boost::optional<dev::camera::CRoI> Region() const override
    {
        const std::lock_guard<std::mutex> lock(mutex_);
        return region_;
    }
    dev::camera::CRoI SetRegion(const dev::camera::CRoI& region) override
    {
        const std::lock_guard<std::mutex> lock(mutex_);
        auto changed = MakeRegion();
        const auto geometry = std::to_string(region.Left()) + " " + std::to_string(region.Top()) + " " +
                              std::to_string(region.Right()) + " " + std::to_string(region.Bottom());
        try {
            changed.Resize(geometry);
            if (region.Right() >= 16 || region.Bottom() >= 16)
                throw std::runtime_error("found a region beyond the sensor, wanted one on it");
        } catch (const std::runtime_error&) {
            if (wrong != "any region")
                throw;
        }
        region_ = changed;
        return region_;
    }

private:
    static dev::camera::CRoI MakeRegion()
    {
        dev::camera::CRoI region(16, 16);
        region.SetIncrements(2, 2, 4, 4);
        return region;
    }

    static void SetGain(int value)
    {
        const bool legal = value >= 0 && value <= 10;
        if (legal || wrong == "any number" || wrong == "refuses late")
            gain = wrong == "drifts" ? 7 : value;
        if (!legal && wrong != "any number")
            throw std::runtime_error("found " + std::to_string(value) + ", wanted 0 to 10");
    }

    bool Deliver(std::uint64_t i, capture::CSink& sink)
    {
        const std::lock_guard<std::mutex> lock(mutex_);
        const bool whole = wrong == "whole";
        const auto image = wrong == "one image" && image_
                               ? image_
                               : cimage::Build(cimage::PixelFormat(wrong == "colours" ? "RGB8" : "Mono8"),
                                               whole ? 16 : region_.Width(), whole ? 16 : region_.Height());
        std::memset(image->Data(), static_cast<int>(i), image->Stride() * image->Height());
        image_ = image;
        dev::TFrame<> frame;
        frame.image = image;
        frame.counter1 = wrong == "stutters" ? i / 2 : i;
        frame.time_stamp = boost::posix_time::ptime(boost::gregorian::date(2026, 1, 1)) +
                           boost::posix_time::milliseconds(wrong == "turns back" && i % 4 == 3 ? 0 : i);
        frame.text = wrong == "nameless" ? "" : "fake";
        if (wrong == "hoards")
            hoard.push_back(frame);
        return sink.Push(frame);
    }

    const boost::shared_ptr<dev::camera::VideoProperty> property_;
    mutable std::mutex mutex_;
    dev::camera::CRoI region_ = MakeRegion();
    boost::shared_ptr<cimage::CImage> image_;
    std::atomic<bool> stopped_{false};
};

class CFakeDriver : public capture::CDriver
{
public:
    std::string Syntax() const override { return "fake:"; }
    std::string Description() const override { return "A fake."; }
    std::vector<std::string> Keys() const override { return {}; }
    std::vector<capture::TFault> Check(const capture::TRequest&) const override
    {
        return wrong == "finds faults" ? std::vector<capture::TFault>{{"SOURCE", "a fault", "none"}}
                                       : std::vector<capture::TFault>();
    }
    std::unique_ptr<capture::CSource> Open(const capture::TRequest&) const override
    {
        if (wrong == "leaks")
            descriptors_.push_back(::dup(0));
        return std::unique_ptr<capture::CSource>(wrong == "opens nothing" ? nullptr : new CFakeSource);
    }
    capture::TDescription Describe(const capture::TRequest&) const override
    {
        return {{"Acme", "Fake", "1", ""}, "Mono8 16x16"};
    }
    ~CFakeDriver() override
    {
        for (const int descriptor : descriptors_)
            ::close(descriptor);
    }

private:
    mutable std::vector<int> descriptors_;
};

TEST(SourceContractTest, EveryCheckFailsWhereItShould)
{
    const struct
    {
        const char* wrong;
        const char* check;  ///< the first that fails
        const char* text;
    } rows[] = {
        {"nothing", "", ""},
        {"finds faults", "describe", "found a fault, wanted none"},
        {"opens nothing", "open", "found that the driver opened nothing"},
        {"impostor", "open", "found Acme Fake 2, wanted Acme Fake 1"},
        {"dead", "frames", "found no frame for 200 ms"},
        {"ends", "frames", "found an end after 3 frames"},
        {"colours", "frames", "found RGB8 16x16 in frame 0, wanted Mono8 16x16"},
        {"stutters", "frames", "found the number 0 behind 0"},
        {"turns back", "frames", "found the time 2026-01-01T00:00:00 behind 2026-01-01T00:00:00.002000"},
        {"nameless", "frames", "found no text in frame 0"},
        {"one image", "frames", "found pixels of a delivered image that changed"},
        {"fails", "frames", "Run(): found a fire, wanted none"},
        {"whole", "region", "found Mono8 16x16"},
        {"any region", "region", "found that the region (0, 0, 31, 31) was taken"},
        {"drifts", "properties", "Gain.Value: found \"7\", wanted \"5\""},
        {"any number", "properties", "Gain.Value: found that -1 was taken"},
        {"refuses late", "properties", "Gain.Value: found \"-1\" once -1 was refused"},
        {"insists", "stop", "wanted it to return once the host takes no more"},
        {"gives up", "vanish", "found that Run() returned"},
        {"silent", "vanish", "found no word of the device's going"},
        {"forgets", "vanish", "Gain.Value: found 5 after the device came back, wanted 6"},
        {"leaks", "leak", "open file"},
        {"hoards", "leak", "image"},
        {"hangs", "frames", "found Run() still running after 200 ms"},  // the last: its source stays
    };
    const auto settings = Settings();
    for (const auto& row : rows) {
        SCOPED_TRACE(row.wrong);
        wrong = row.wrong;
        gain = 5;
        let_go = false;
        const CFakeDriver driver;
        conformance::TSubject subject{driver,
                                      [&] {
                                          return capture::TRequest{"", "", settings, "Mono8 16x16"};
                                      },
                                      false, [] { plugged = false; }, [] { plugged = true; }};
        subject.patience = std::chrono::milliseconds(200);
        const auto results = conformance::Check(subject);
        const auto failed = With(conformance::Verdict::Failed, results);
        EXPECT_EQ(failed.empty() ? "" : failed.front(), row.check) << AsText(results);
        EXPECT_THAT(AsText(results), HasSubstr(row.text));
        if (row.check == std::string("properties") || row.check[0] == '\0') {
            EXPECT_EQ(gain, wrong == "drifts" ? 7 : 5) << "it was not put back";
        }
        plugged = true;
        hoard.clear();
    }
    let_go = true;
    while (sources > 0)
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
}

}  // namespace
}  // namespace drivers_test
