// A source of frames out of picture files.
#ifndef IMAGES_IMAGES_SOURCE_H
#define IMAGES_IMAGES_SOURCE_H

#include <boost/shared_ptr.hpp>
#include <chrono>
#include <condition_variable>
#include <mutex>
#include <string>
#include <vector>

#include "capture/source.h"
#include "images/decoder.h"
#include "images/plan.h"
#include "orvo_proc_cimage/image.h"

namespace images {

/// Runs through the files of a plan, each read and decoded when its turn comes. Without a rate it Push()es, so that
/// every picture arrives; with one it keeps time as a live camera does and Offer()s, so that a host that is behind
/// loses pictures. `text` of a frame is the file's path. Once stopped it stays so.
class CImagesSource : public capture::CSource
{
public:
    using DecodeFunction = decltype(&orvo_decode_picture_1);

    /// Pictures come in `format`, which is Mono, Bayer, RGB or BGR with 8 or 16 bits stored per sample; throws
    /// std::runtime_error for any other. `decode` stays callable as long as the source lives.
    CImagesSource(const TPlan& plan, const std::string& format, DecodeFunction decode);

    /// Throws std::runtime_error naming the file that is gone, is no picture, or has another size or format.
    void Run(capture::CSink& sink) override;
    void Stop() override;

private:
    boost::shared_ptr<const cimage::CImage> Read(const std::string& file);
    void ReadRaw(const std::string& file, cimage::CImage* image) const;
    void ReadPicture(const std::string& file, cimage::CImage* image);
    std::string Mismatch(const std::string& file, const std::string& found) const;
    boost::posix_time::ptime Stamp(const std::string& file) const;
    bool Deliver(const dev::TFrame<>& frame, capture::CSink& sink);
    bool IsStopped() const;
    bool WaitForTurn();

    const TPlan plan_;
    const DecodeFunction decode_;
    boost::shared_ptr<const cimage::CImage> prototype_;
    TPixels shape_;                               ///< of a picture in the wanted format
    std::vector<unsigned char> bytes_;            ///< the file being decoded
    std::chrono::steady_clock::time_point turn_;  ///< when the next frame is due; the epoch before the first

    mutable std::mutex mutex_;  ///< guards stopped_
    std::condition_variable stop_asked_;
    bool stopped_ = false;
};

/// "Mono8 640x480" of a picture file, with which an images source can be opened. Throws std::runtime_error for bare
/// pixels, which do not tell, for what is no picture, and for one that fits no format of such a source.
std::string FormatOf(const std::string& file, CImagesSource::DecodeFunction decode);

}  // namespace images

#endif
