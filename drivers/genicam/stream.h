// One stream of a camera's frames, and the buffers that go round in it.
#ifndef GENICAM_STREAM_H
#define GENICAM_STREAM_H

#include <arv.h>

#include <boost/noncopyable.hpp>
#include <boost/shared_ptr.hpp>
#include <chrono>
#include <cstddef>
#include <cstdint>
#include <string>
#include <utility>
#include <vector>

#include "capture/source.h"
#include "genicam/frame_ledger.h"
#include "genicam/owned.h"
#include "orvo_proc_cimage/image.h"

namespace genicam {

/// What a stream carries, the same as long as it lives.
struct TStreamPlan
{
    const cimage::TPixelFormat* format;
    unsigned int width;        ///< of a frame, pixels
    unsigned int height;       ///< likewise
    unsigned int buffers;      ///< how many frames may be under way
    unsigned int packet_size;  ///< bytes; 0 leaves it to the camera and the network
};

/// Runs from construction to destruction. A buffer that Aravis has filled becomes an image without a copy, and goes
/// back to the stream when the last image of it goes, or, when the stream is over by then, to the system: images
/// outlive the stream, the camera and the source.
///
/// One thread at a time, and, for the constructor, Stop() and the destructor, the camera's lock (CAccess::With),
/// because they write to it. Images go on any thread.
class CStream : private boost::noncopyable
{
public:
    /// Starts the camera. Throws std::runtime_error.
    CStream(ArvCamera* camera, const TStreamPlan& plan);
    ~CStream();

    /// Tells the camera to stop; not to be called for one that is gone, for it takes seconds then.
    void Stop(ArvCamera* camera);

    /// The next buffer, good or bad, or null when none came within `wait`.
    Owned<ArvBuffer> Pop(std::chrono::microseconds wait);

    /// What is wrong with a buffer, a name; null for a whole frame as planned.
    const char* Fault(ArvBuffer* buffer) const;

    /// The image in a buffer that has no fault.
    boost::shared_ptr<const cimage::CImage> Share(Owned<ArvBuffer> buffer) const;

    /// Lets the stream fill the buffer again.
    void Return(Owned<ArvBuffer> buffer) const;

    TUnderruns Underruns() const { return underruns_; }
    std::uint64_t Underran() const;

    /// Counts what happened to packets since the last call.
    void CountPackets(capture::CSink& sink);

    /// Bytes of a packet; 0 where there are none.
    unsigned int PacketSize() const { return packet_size_; }

private:
    class CHome;
    struct TCounter
    {
        const char* info;
        const char* name;
        std::uint64_t counted;
    };

    void SetUpNetwork(ArvCamera* camera);
    std::size_t Stride(ArvBuffer* buffer) const;

    const TStreamPlan plan_;
    unsigned int packet_size_ = 0;
    std::size_t payload_ = 0;  ///< bytes of a buffer
    TUnderruns underruns_;
    boost::shared_ptr<CHome> home_;
    std::vector<TCounter> counters_;
};

}  // namespace genicam

#endif
