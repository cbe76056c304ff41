// What a capture driver is to a host: a shared object with one entry point that opens sources of frames.
//
// A rig names a source as "SCHEME:LOCATION", for instance "images:left*.jpg"; the host loads SCHEME.so from its folder
// of drivers, calls its orvo_capture_driver_1() and lets the driver check the location or open it.
#ifndef CAPTURE_SOURCE_H
#define CAPTURE_SOURCE_H

#include <boost/config.hpp>
#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "dev/frame.h"
#include "orvo_inifiles/inifile.h"

namespace capture {

/// What a source is asked for. The references are valid during the call alone.
struct TRequest
{
    std::string location;              ///< behind the scheme, variables expanded
    std::string folder;                ///< of the rig file, absolute: what a relative path in the location counts from
    const kt::ini::INIFile& settings;  ///< the camera's section, for the driver's own keys; read only
    std::string format;                ///< the camera's "FB", "<pixel format> <width>x<height>"
};

/// Something wrong with a key of the request, told the way the host tells its own.
struct TFault
{
    std::string key;     ///< "SOURCE" or one of the driver's keys
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

    /// For a source that can wait: blocks until the host has room. Returns false, without the frame, once the run ends.
    virtual bool Push(const dev::TFrame<>& frame) = 0;

    /// Frames that the source knows were lost before it had them, by the reason's name ("incomplete", "underrun").
    virtual void Lost(const std::string& reason, std::uint64_t count) = 0;
};

/// One open source of frames.
class CSource
{
public:
    virtual ~CSource() = default;

    /// Delivers frames until the source ends or Stop() is called; runs on a thread of the host's. Frames carry the
    /// image in the format of the request (it may outlive the source: a camera's tree keeps the last one), a time
    /// stamp, and a sequence number in counter1, which counts from 0 and always rises; a replayed frame keeps the
    /// number, and the stamp, that it was recorded with. `text` says where the frame came from. Throws
    /// std::runtime_error when the source fails; what was delivered stays delivered.
    virtual void Run(CSink& sink) = 0;

    /// Makes Run() return soon, from any thread, before, during or after it.
    virtual void Stop() = 0;
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
};

}  // namespace capture

/// The entry point: the driver of this shared object, owned by it. The name carries the version of this header.
extern "C" BOOST_SYMBOL_EXPORT capture::CDriver* orvo_capture_driver_1();

#endif
