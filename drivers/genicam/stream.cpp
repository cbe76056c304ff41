#include "genicam/stream.h"

#include <algorithm>
#include <boost/make_shared.hpp>
#include <cstddef>
#include <mutex>
#include <stdexcept>

#include "genicam/error.h"

namespace genicam {

namespace {

constexpr unsigned int packet_overhead = 36;  // bytes of the IP, UDP and GVSP headers of a packet
constexpr int socket_bytes = 8 << 20;

const char* StatusName(ArvBufferStatus status)
{
    switch (status) {
        case ARV_BUFFER_STATUS_SUCCESS:
            return nullptr;
        case ARV_BUFFER_STATUS_TIMEOUT:
            return "timed out";
        case ARV_BUFFER_STATUS_MISSING_PACKETS:
            return "incomplete";
        case ARV_BUFFER_STATUS_WRONG_PACKET_ID:
            return "wrong packet";
        case ARV_BUFFER_STATUS_SIZE_MISMATCH:
            return "wrong size";
        case ARV_BUFFER_STATUS_ABORTED:
            return "aborted";
        default:
            return "unusable";
    }
}

}  // namespace

/// Where buffers go when nobody looks at them any more. Safe on any thread.
class CStream::CHome : private boost::noncopyable
{
public:
    explicit CHome(ArvStream* stream) : stream_(stream) {}

    ArvStream* Stream() const { return stream_.get(); }

    void Take(ArvBuffer* buffer)
    {
        const std::lock_guard<std::mutex> lock(mutex_);
        if (stream_)
            arv_stream_push_buffer(stream_.get(), buffer);
        else
            g_object_unref(buffer);
    }

    /// The stream ends; Stream() is null from now on.
    void Close()
    {
        Owned<ArvStream> stream;
        const std::lock_guard<std::mutex> lock(mutex_);
        stream.swap(stream_);
    }

private:
    std::mutex mutex_;
    Owned<ArvStream> stream_;
};

CStream::CStream(ArvCamera* camera, const TStreamPlan& plan) : plan_(plan)
{
    SetUpNetwork(camera);
    CError error;
    ArvStream* const stream = arv_camera_create_stream(camera, nullptr, nullptr, error);
    if (stream == nullptr)
        throw std::runtime_error("stream: " + error.Text());
    home_ = boost::make_shared<CHome>(stream);
    payload_ = arv_camera_get_payload(camera, error);
    error.Check("PayloadSize");

    underruns_.numbered = !ARV_IS_FAKE_DEVICE(arv_camera_get_device(camera));
    if (ARV_IS_GV_STREAM(stream)) {
        // A size of its own, as large as the system gives: one that follows the frames holds no frame of large packets,
        // because the system counts what a packet occupies.
        g_object_set(stream, "socket-buffer", ARV_GV_STREAM_SOCKET_BUFFER_FIXED, "socket-buffer-size", socket_bytes,
                     nullptr);
        packet_size_ = arv_camera_gv_get_packet_size(camera, error);
        error.Check("packet size");
        const std::size_t carried = packet_size_ > packet_overhead ? packet_size_ - packet_overhead : 1;
        underruns_.per_frame = (payload_ + carried - 1) / carried + 2;  // and one at either end
        for (const auto& counter :
             {std::make_pair("n_missing_packets", "missing packets"),
              std::make_pair("n_resent_packets", "resent packets"), std::make_pair("n_error_packets", "error packets"),
              std::make_pair("n_duplicated_packets", "duplicated packets")})
            counters_.push_back({counter.first, counter.second, 0});
    }
    for (unsigned int i = 0; i < plan_.buffers; ++i) {
        // Aravis' own way to allocate ends the program where there is no memory.
        void* const memory = g_try_malloc(payload_);
        if (memory == nullptr)
            throw std::runtime_error("BUFFERS: found no memory for " + std::to_string(plan_.buffers) + " frames of " +
                                     std::to_string(payload_) + " bytes, wanted room for all of them");
        arv_stream_push_buffer(stream, arv_buffer_new_full(payload_, memory, memory, g_free));
    }
    arv_camera_start_acquisition(camera, error);
    error.Check("AcquisitionStart");
}

CStream::~CStream()
{
    if (home_)
        home_->Close();
}

void CStream::SetUpNetwork(ArvCamera* camera)
{
    if (!arv_camera_is_gv_device(camera))
        return;
    // Packet sockets bring nothing to root.
    arv_camera_gv_set_stream_options(camera, ARV_GV_STREAM_OPTION_PACKET_SOCKET_DISABLED);
    if (plan_.packet_size == 0) {
        arv_camera_gv_set_packet_size_adjustment(camera, ARV_GV_PACKET_SIZE_ADJUSTMENT_ONCE);
        return;
    }
    arv_camera_gv_set_packet_size_adjustment(camera, ARV_GV_PACKET_SIZE_ADJUSTMENT_NEVER);
    CError error;
    arv_camera_gv_set_packet_size(camera, static_cast<gint>(plan_.packet_size), error);
    error.Check("PACKET SIZE");
}

void CStream::Stop(ArvCamera* camera)
{
    CError ignored;  // the stream ends all the same
    arv_camera_stop_acquisition(camera, ignored);
}

Owned<ArvBuffer> CStream::Pop(std::chrono::microseconds wait)
{
    return Owned<ArvBuffer>(arv_stream_timeout_pop_buffer(home_->Stream(), static_cast<guint64>(wait.count())));
}

const char* CStream::Fault(ArvBuffer* buffer) const
{
    const ArvBufferStatus status = arv_buffer_get_status(buffer);
    if (status != ARV_BUFFER_STATUS_SUCCESS)
        return StatusName(status);
    if (arv_buffer_get_n_parts(buffer) == 0 ||
        arv_buffer_get_part_data_type(buffer, 0) != ARV_BUFFER_PART_DATA_TYPE_2D_IMAGE)
        return "no image";
    std::size_t size = 0;
    std::size_t ignored = 0;
    const auto* const begin = static_cast<const char*>(arv_buffer_get_data(buffer, &ignored));
    const auto* const image = static_cast<const char*>(arv_buffer_get_image_data(buffer, &size));
    // Where an image lies in its buffer, and how long it is, may be what the camera says.
    const std::size_t room = payload_ - std::min(payload_, static_cast<std::size_t>(image - begin));
    if (arv_buffer_get_image_pixel_format(buffer) != plan_.format->pfnc ||
        arv_buffer_get_image_width(buffer) != static_cast<gint>(plan_.width) ||
        arv_buffer_get_image_height(buffer) != static_cast<gint>(plan_.height) ||
        std::min(size, room) < Stride(buffer) * plan_.height)
        return "wrong size";
    return nullptr;
}

std::size_t CStream::Stride(ArvBuffer* buffer) const
{
    gint padding = 0;
    gint ignored = 0;
    arv_buffer_get_image_padding(buffer, &padding, &ignored);
    const std::size_t row = (static_cast<std::size_t>(plan_.width) * plan_.format->bits_per_pixel + 7) / 8;
    return row + static_cast<std::size_t>(padding);
}

boost::shared_ptr<const cimage::CImage> CStream::Share(Owned<ArvBuffer> buffer) const
{
    std::size_t size = 0;
    const void* const data = arv_buffer_get_image_data(buffer.get(), &size);
    ArvBuffer* const shared = buffer.get();
    const boost::shared_ptr<CHome> home = home_;
    const auto image = cimage::Wrap(*plan_.format, plan_.width, plan_.height, Stride(shared), const_cast<void*>(data),
                                    [home, shared] { home->Take(shared); });
    buffer.release();  // the image's now
    return image;
}

void CStream::Return(Owned<ArvBuffer> buffer) const
{
    home_->Take(buffer.release());
}

std::uint64_t CStream::Underran() const
{
    guint64 completed = 0;
    guint64 failures = 0;
    guint64 underruns = 0;
    arv_stream_get_statistics(home_->Stream(), &completed, &failures, &underruns);
    return underruns;
}

void CStream::CountPackets(capture::CSink& sink)
{
    for (TCounter& counter : counters_) {
        const std::uint64_t now = arv_stream_get_info_uint64_by_name(home_->Stream(), counter.info);
        if (now > counter.counted)
            sink.Count(counter.name, now - counter.counted);
        counter.counted = now;
    }
}

}  // namespace genicam
