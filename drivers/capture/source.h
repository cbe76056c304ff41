// What a capture driver is to a host: a shared object with one entry point that opens sources of frames.
//
// A rig names a source as "SCHEME:LOCATION", for instance "images:left*.jpg"; the host loads SCHEME.so from its folder
// of drivers, calls its orvo_capture_driver_2() and lets the driver check the location or open it.
#ifndef CAPTURE_SOURCE_H
#define CAPTURE_SOURCE_H

#include <boost/config.hpp>
#include <boost/optional.hpp>
#include <boost/shared_ptr.hpp>
#include <cstdint>
#include <functional>
#include <memory>
#include <stdexcept>
#include <string>
#include <vector>

#include "dev/camera/roi.h"
#include "dev/frame.h"
#include "orvo_inifiles/inifile.h"

namespace dev {
namespace camera {

class VideoProperty;

}  // namespace camera
}  // namespace dev

namespace capture {

/// One sentence for whoever watches a run or reads its events: "the camera is gone", "Exposure.Time: asked 10 us, the
/// camera took 12 us".
using Tell = std::function<void(const std::string& sentence)>;

/// What a source is asked for. The references are valid during the call alone.
struct TRequest
{
    std::string location;              ///< behind the scheme, variables expanded
    std::string folder;                ///< of the rig file, absolute: what a relative path in the location counts from
    const kt::ini::INIFile& settings;  ///< the camera's section: "ROI", identity, the driver's own keys; read only
    std::string format;                ///< the camera's "FB", "<pixel format> <width>x<height>", of the whole sensor
    /// Where a source tells what happens beside frames, while it is open; safe on any thread. A copy may be kept as
    /// long as the source is there. Empty: nobody listens.
    Tell tell = {};
};

/// Something wrong with a key of the request, told the way the host tells its own.
struct TFault
{
    std::string key;     ///< "SOURCE", "FB", "ROI" or one of the driver's keys
    std::string found;   ///< what is there
    std::string wanted;  ///< what would do
};

/// Where a source puts its frames. Implemented by the host; every call is safe on any thread.
class CSink
{
public:
    virtual ~CSink() = default;

    /// For a source that cannot wait: takes the frame at once. When the host is behind, the oldest waiting frame goes,
    /// and is counted. Never blocks.
    virtual void Offer(const dev::TFrame<>& frame) = 0;

    /// For a source that can wait: blocks until the host has room. Returns false, without the frame, once the run ends,
    /// which it does before the host calls Stop(): nobody sits in here then for long.
    virtual bool Push(const dev::TFrame<>& frame) = 0;

    /// Frames that the source knows were lost before it had them, by the reason's name ("incomplete", "underrun").
    virtual void Lost(const std::string& reason, std::uint64_t count) = 0;

    /// The stream broke off, so that nobody knows how many frames were lost; `reason` is a name ("camera gone"). The
    /// source goes on.
    virtual void Interrupted(const std::string& reason) = 0;

    /// What the source counts beside frames, by name ("missing packets", "resent packets"): shown, and no loss.
    virtual void Count(const std::string& name, std::uint64_t count) = 0;
};

/// Who a device says it is. What it does not say is empty.
struct TIdentity
{
    std::string vendor;
    std::string model;
    std::string serial;
    std::string interface;  ///< "GigE Vision", "USB3 Vision", "V4L2", …
};

/// One open source of frames.
///
/// Threads: Run() has one of the host's to itself; meanwhile the host calls everything else on others, one call at a
/// time but for Stop() and Region(). So a source locks what both sides use. Two rules keep it from hanging:
///   - It holds no lock that its own methods or attributes take while it calls the host, be it the sink, Tell or
///     Update() of an attribute. The host reads an attribute from within its Update(), on the thread that called.
///   - What the host calls never waits for a thread that may sit in Push(): the frame in there may wait for the very
///     thread that would wait. So a source whose region can be moved, or whose setters need Run(), Offer()s.
class CSource
{
public:
    using VideoProperties = std::vector<boost::shared_ptr<dev::camera::VideoProperty>>;

    virtual ~CSource() = default;

    /// Delivers frames until the source ends or Stop() is called; runs on a thread of the host's. Frames carry the
    /// image in the format of the request (it may outlive the source: a camera's tree keeps the last one), a time
    /// stamp, and a sequence number in counter1, which counts from 0 and always rises; a replayed frame keeps the
    /// number, and the stamp, that it was recorded with. `text` says where the frame came from. Throws
    /// std::runtime_error when the source fails; what was delivered stays delivered.
    virtual void Run(CSink& sink) = 0;

    /// Makes Run() return soon, from any thread, before, during or after it. A source that was stopped is done with:
    /// to start again, another one is opened once this one is gone.
    virtual void Stop() = 0;

    virtual TIdentity Identity() const { return {}; }

    /// What can be adjusted, in an order of the driver's, the same objects at each call. Names of properties hold no
    /// dot; no name begins or ends with a blank or holds "=" or a line end, because a rig file has the key
    /// "VIDEO <property>.<attribute>". Attributes are set by one thread at a time and read by any, before and during
    /// Run() and as long as the source is there; whoever still holds one later may read it, and a setter then throws.
    /// A setter throws std::runtime_error, "found …, wanted …", for what the device refuses, and tells when the device
    /// took another value than it was asked for; the getter gives what the device took. The source calls Update() of an
    /// attribute whose value changed by itself or with another one, on the thread where it noticed.
    virtual VideoProperties Properties() { return {}; }

    /// The region that the device itself cuts out of its sensor, with the increments in which it can be moved and
    /// sized; none for a source that delivers whole pictures, out of which the host cuts. Opening has set it from
    /// "ROI", or told what the device took instead. Any thread.
    virtual boost::optional<dev::camera::CRoI> Region() const { return boost::none; }

    /// Moves the region, and returns the one that the device took. Any thread but the one of Run(), before, during
    /// and after it; it may wait for Run() as far as the rules above allow. Once it has returned, every frame that is
    /// delivered shows the new region. Throws std::runtime_error, with the region as it was, for one that the device
    /// cannot have.
    virtual dev::camera::CRoI SetRegion(const dev::camera::CRoI&)
    {
        throw std::runtime_error("found a source that delivers whole pictures, wanted one that cuts a region itself");
    }
};

/// What there is to know of a source that has not been opened yet.
struct TDescription
{
    TIdentity identity;
    std::string format;  ///< an "FB" with which it can be opened
};

/// One kind of source. The object lives as long as the shared object is loaded; calls come on one thread at a time.
class CDriver
{
public:
    virtual ~CDriver() = default;

    virtual std::string Syntax() const = 0;             ///< "images:GLOB"
    virtual std::string Description() const = 0;        ///< one sentence
    virtual std::vector<std::string> Keys() const = 0;  ///< keys of the camera's section that it reads beside "SOURCE"

    /// Everything that can be known to be wrong without opening the source.
    virtual std::vector<TFault> Check(const TRequest& request) const = 0;

    /// Throws std::runtime_error saying what was found and what was wanted.
    virtual std::unique_ptr<CSource> Open(const TRequest& request) const = 0;

    /// The locations of the devices that answer now, in a fixed order; none for a driver whose sources are files. May
    /// take a second. Throws std::runtime_error when it cannot look.
    virtual std::vector<std::string> Locations() const { return {}; }

    /// Looks at a source as it is now, without changing it; the format of the request is not looked at. Throws
    /// std::runtime_error as Open() does, or when the driver has no such ability.
    virtual TDescription Describe(const TRequest&) const
    {
        throw std::runtime_error("found a driver that cannot describe its sources, wanted one that can");
    }
};

}  // namespace capture

/// The entry point: the driver of this shared object, owned by it. The name carries the version of this header.
extern "C" BOOST_SYMBOL_EXPORT capture::CDriver* orvo_capture_driver_2();

#endif
