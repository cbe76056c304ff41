// The driver "test": sources that behave as their location says.
#include <boost/make_shared.hpp>
#include <chrono>
#include <cmath>
#include <condition_variable>
#include <iostream>
#include <mutex>
#include <sstream>
#include <stdexcept>

#include "capture/source.h"
#include "dev/camera/video_property.h"
#include "modules/gate.h"
#include "orvo_proc_cimage/image.h"

namespace {

/// Pixels that tell frames and places apart: 16 y + x + the sequence number, modulo 256.
dev::TFrame<> Frame(const std::string& format, std::uint64_t sequence)
{
    const auto image = cimage::Build(format);
    for (unsigned int y = 0; y < image->Height(); ++y)
        for (std::size_t x = 0; x < image->RowBytes(); ++x)
            image->Data()[y * image->Stride() + x] = static_cast<std::uint8_t>(16 * y + x + sequence);
    dev::TFrame<> frame;
    frame.image = image;
    frame.counter1 = sequence;
    return frame;
}

class CTestSource : public capture::CSource
{
public:
    CTestSource(const std::string& location, const std::string& format) : format_(format)
    {
        std::istringstream(location) >> kind_ >> count_;
    }

    void Run(capture::CSink& sink) override
    {
        std::cout << "test source runs" << std::endl;
        if (kind_ == "flood" || kind_ == "fill")
            Flood(sink);
        else
            PushAll(sink);
        if (kind_ == "fail")
            throw std::runtime_error("the cable came off");
    }

    void Stop() override { gate::Open("stopped"); }

private:
    /// Frames that cannot wait, all of them while the first is being worked on ("TestGate"). That work goes on after
    /// the last, or, of "fill", once the source is told to stop.
    void Flood(capture::CSink& sink)
    {
        sink.Offer(Frame(format_, 0));
        gate::Await("working");
        for (std::uint64_t i = 1; i < count_; ++i)
            sink.Offer(Frame(format_, i));
        std::cout << "test source is waiting" << std::endl;
        if (kind_ == "fill")
            gate::Await("stopped");
        gate::Open("released");
    }

    void PushAll(capture::CSink& sink)
    {
        const std::string format = kind_ == "wrong" ? "Mono8 3x3" : format_;
        if (kind_ == "lossy")
            sink.Lost("incomplete", 2);
        for (std::uint64_t i = 0; count_ == 0 || i < count_; ++i)
            if (!sink.Push(Frame(format, i)))
                return;
    }

    std::string format_;
    std::string kind_;
    std::uint64_t count_ = 0;  ///< 0: without end
};

/// "camera COUNT": a device with settings, an identity and a region of its own, in steps of 2. COUNT frames wait for
/// the host; without end, one comes every millisecond and does not.
class CTestCamera : public capture::CSource
{
public:
    CTestCamera(const capture::TRequest& request, std::uint64_t count)
        : tell_(request.tell), format_(cimage::Build(request.format)->Format().name), count_(count)
    {
        const auto image = cimage::Build(request.format);
        region_ = dev::camera::CRoI(image->Width(), image->Height());
        region_.SetIncrements(2, 2, 2, 2);
        std::string text;
        if (request.settings.efind("ROI", text))
            region_.Resize(text);
        AddProperties();
        tell_("is open");
    }

    void Run(capture::CSink& sink) override
    {
        sink.Count("missing packets", 3);
        if (count_ == 2)
            sink.Interrupted("camera gone");
        for (std::uint64_t i = 0; count_ == 0 || i < count_; ++i) {
            std::unique_lock<std::mutex> lock(mutex_);
            if (stop_.wait_for(lock, std::chrono::milliseconds(1), [this] { return stopped_; }))
                return;
            const auto frame =
                Frame(format_ + ' ' + std::to_string(region_.Width()) + 'x' + std::to_string(region_.Height()), i);
            if (count_ == 0)
                sink.Offer(frame);  // locked, so that none of the old region comes after SetRegion
            else
                sink.Push(frame);
        }
    }

    void Stop() override
    {
        const std::lock_guard<std::mutex> lock(mutex_);
        stopped_ = true;
        stop_.notify_all();
    }

    capture::TIdentity Identity() const override { return {"Test", "One", "007", "Loop"}; }
    VideoProperties Properties() override { return properties_; }
    boost::optional<dev::camera::CRoI> Region() const override { return region_; }
    dev::camera::CRoI SetRegion(const dev::camera::CRoI& region) override
    {
        const std::lock_guard<std::mutex> lock(mutex_);
        return region_ = region;
    }

private:
    using Mode = dev::camera::videoprop::attribute::mode::Type;

    static void Refuse(bool refused, const std::string& wanted)
    {
        if (refused)
            throw std::runtime_error("found something else, wanted " + wanted);
    }

    /// The exposure time can be set in manual mode alone, in steps of 10 us; it limits the rate.
    void AddProperties()
    {
        namespace attribute = dev::camera::videoprop::attribute;
        const auto add = [this](const char* name) {
            properties_.push_back(boost::make_shared<dev::camera::VideoProperty>(name, nullptr));
            return properties_.back();
        };
        const auto exposure = add("Exposure");
        exposure->AddAttribute(attribute::Range<double>(
            "Time",
            [this](double us) {
                Refuse(mode_ != Mode::Manual, "Exposure.Mode Manual");
                Refuse(us < 10 || us > 100000, "10 to 100000 us");
                time_ = 10.0 * std::floor(us / 10.0);
                if (time_ != us)
                    tell_("Exposure.Time: took " + std::to_string(static_cast<int>(time_)));
            },
            [this] { return time_; }, 10, 100000, 10, "us"));
        exposure->AddAttribute(attribute::Mode(
            {Mode::Manual, Mode::Auto},
            [this, exposure = exposure.get()](Mode mode) {
                mode_ = mode;
                exposure->Attribute("Time").Enabled(mode == Mode::Manual);
            },
            [this] { return mode_; }));
        exposure->Attribute("Time").Enabled(false);
        add("Frame Rate")
            ->AddAttribute(attribute::Range<double>(
                "Value", [this](double rate) { Refuse(rate * time_ > 1e6, "a rate for the exposure"), rate_ = rate; },
                [this] { return rate_; }, 1, 1000, 1, ""));
        const auto device = add("Device");
        device->AddAttribute(attribute::Label(
            "Temperature", [](std::string) {}, [] { return std::string("45"); }));
        device->AddAttribute(attribute::Switch(
            "Light", [this](bool on) { light_ = on; }, [this] { return light_; }));
    }

    const capture::Tell tell_;
    const std::string format_;
    const std::uint64_t count_;
    VideoProperties properties_;
    Mode mode_ = Mode::Auto;
    double time_ = 1000;
    double rate_ = 30;
    bool light_ = false;
    std::mutex mutex_;
    std::condition_variable stop_;
    bool stopped_ = false;
    dev::camera::CRoI region_;
};

class CTestDriver : public capture::CDriver
{
public:
    std::string Syntax() const override { return "test:KIND COUNT"; }
    std::string Description() const override { return "Frames for tests."; }
    std::vector<std::string> Keys() const override { return {"TEST KEY"}; }

    std::vector<capture::TFault> Check(const capture::TRequest& request) const override
    {
        std::vector<capture::TFault> faults;
        if (request.location == "nothing")
            faults.push_back({"SOURCE", "nothing", "something"});
        if (request.location == "check throws")
            throw std::runtime_error("the checker broke");
        std::string value;
        if (request.settings.efind("TEST KEY", value) && value != "on")
            faults.push_back({"TEST KEY", value, "on"});
        return faults;
    }

    std::unique_ptr<capture::CSource> Open(const capture::TRequest& request) const override
    {
        if (request.location == "closed")
            throw std::runtime_error("found a closed door, wanted an open one");
        std::string kind;
        std::uint64_t count = 0;
        std::istringstream(request.location) >> kind >> count;
        if (kind == "camera")
            return std::unique_ptr<capture::CSource>(new CTestCamera(request, count));
        return std::unique_ptr<capture::CSource>(new CTestSource(request.location, request.format));
    }

    std::vector<std::string> Locations() const override { return {"camera 0", "closed"}; }

    capture::TDescription Describe(const capture::TRequest& request) const override
    {
        if (request.location == "closed")
            throw std::runtime_error("found a closed door,\nwanted an open one");
        return {{"Test\n", " One", "007", "Loop"}, "Mono8 8x6"};
    }
};

}  // namespace

capture::CDriver* orvo_capture_driver_2()
{
    static CTestDriver driver;
    return &driver;
}
