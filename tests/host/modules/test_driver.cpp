// The driver "test": sources that behave as their location says.
#include <atomic>
#include <iostream>
#include <sstream>
#include <stdexcept>

#include "capture/source.h"
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
        return std::unique_ptr<capture::CSource>(new CTestSource(request.location, request.format));
    }
};

}  // namespace

capture::CDriver* orvo_capture_driver_1()
{
    static CTestDriver driver;
    return &driver;
}
