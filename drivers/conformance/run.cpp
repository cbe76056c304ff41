#include "conformance/run.h"

#include <boost/date_time/posix_time/posix_time.hpp>

#include "orvo_proc_cimage/image.h"

namespace conformance {

namespace {

constexpr std::size_t kept_images = 3;
constexpr std::size_t watched_images = 64;

/// FNV-1a over the pixels.
std::uint64_t Digest(const cimage::CImage& image)
{
    std::uint64_t digest = 0xCBF29CE484222325U;
    for (unsigned int y = 0; y < image.Height(); ++y) {
        const std::uint8_t* const row = image.Data() + y * image.Stride();
        for (std::size_t i = 0; i < image.RowBytes(); ++i)
            digest = (digest ^ row[i]) * 0x100000001B3U;
    }
    return digest;
}

std::string Seconds(std::chrono::milliseconds time)
{
    return time.count() % 1000 == 0 ? std::to_string(time.count() / 1000) + " s" : std::to_string(time.count()) + " ms";
}

void ThrowError(const TSeen& seen)
{
    if (!seen.error.empty())
        throw failed("Run(): " + seen.error);
}

void ThrowFault(const TSeen& seen)
{
    if (!seen.fault.empty())
        throw failed(seen.fault);
}

}  // namespace

CWatch::CWatch(const std::string& format)
    : whole_(cimage::Build(format)), width_(whole_->Width()), height_(whole_->Height())
{
}

bool CWatch::Push(const dev::TFrame<>& frame)
{
    {
        const std::lock_guard<std::mutex> lock(mutex_);
        if (refusing_)
            return false;
        ++seen_.pushed;
    }
    Take(frame);
    std::unique_lock<std::mutex> lock(mutex_);
    changed_.wait(lock, [this] { return !held_; });
    return true;
}

void CWatch::Take(const dev::TFrame<>& frame)
{
    const std::lock_guard<std::mutex> lock(mutex_);
    ++seen_.frames;
    if (seen_.fault.empty())
        seen_.fault = FaultOf(frame);
    if (seen_.fault.empty()) {
        number_ = frame.counter1;
        time_ = frame.time_stamp;
        if (kept_.size() < kept_images)
            kept_.emplace_back(frame.image, Digest(*frame.image));
        images_.emplace_back(frame.image);
        if (images_.size() > watched_images)
            images_.pop_front();
    }
    changed_.notify_all();
}

std::string CWatch::FaultOf(const dev::TFrame<>& frame) const
{
    const std::string which = " in frame " + std::to_string(frame.counter1);
    if (!frame.image)
        return "found no image" + which + ", wanted " + whole_->Descriptor();
    const cimage::CImage& image = *frame.image;
    if (&image.Format() != &whole_->Format() || (width_ > 0 && (image.Width() != width_ || image.Height() != height_)))
        return "found " + image.Descriptor() + which + ", wanted " +
               cimage::Build(whole_->Format(), width_ > 0 ? width_ : image.Width(),
                             width_ > 0 ? height_ : image.Height())
                   ->Descriptor();
    if (frame.time_stamp.is_special())
        return "found no time stamp" + which + ", wanted one";
    if (frame.text.empty())
        return "found no text" + which + ", wanted one that says where it came from";
    if (seen_.frames > 1 && frame.counter1 <= number_)
        return "found the number " + std::to_string(frame.counter1) + " behind " + std::to_string(number_) +
               ", wanted numbers that rise";
    if (seen_.frames > 1 && frame.time_stamp < time_)
        return "found the time " + boost::posix_time::to_iso_extended_string(frame.time_stamp) + " behind " +
               boost::posix_time::to_iso_extended_string(time_) + ", wanted times that do not go back";
    return {};
}

void CWatch::Lost(const std::string&, std::uint64_t count)
{
    const std::lock_guard<std::mutex> lock(mutex_);
    seen_.lost += count;
}

void CWatch::Interrupted(const std::string&)
{
    const std::lock_guard<std::mutex> lock(mutex_);
    ++seen_.interruptions;
    changed_.notify_all();
}

void CWatch::ExpectSize(unsigned int width, unsigned int height)
{
    const std::lock_guard<std::mutex> lock(mutex_);
    width_ = width;
    height_ = height;
}

void CWatch::Hold()
{
    const std::lock_guard<std::mutex> lock(mutex_);
    held_ = true;
}

void CWatch::Release()
{
    const std::lock_guard<std::mutex> lock(mutex_);
    held_ = false;
    changed_.notify_all();
}

void CWatch::Refuse()
{
    const std::lock_guard<std::mutex> lock(mutex_);
    refusing_ = true;
}

void CWatch::Return(const std::string& error)
{
    const std::lock_guard<std::mutex> lock(mutex_);
    seen_.returned = true;
    seen_.error = error;
    changed_.notify_all();
}

TSeen CWatch::Await(std::chrono::milliseconds patience, const std::function<bool(const TSeen&)>& done)
{
    std::unique_lock<std::mutex> lock(mutex_);
    changed_.wait_for(lock, patience, [&] { return done(seen_); });
    return seen_;
}

TSeen CWatch::Seen() const
{
    const std::lock_guard<std::mutex> lock(mutex_);
    return seen_;
}

void CWatch::CheckKept()
{
    const std::lock_guard<std::mutex> lock(mutex_);
    const auto kept = std::move(kept_);
    kept_.clear();
    for (const auto& image : kept)
        if (Digest(*image.first) != image.second)
            throw failed("found pixels of a delivered image that changed later, wanted them to stay");
}

std::deque<boost::weak_ptr<const cimage::CImage>> CWatch::Images() const
{
    const std::lock_guard<std::mutex> lock(mutex_);
    return images_;
}

CRun::CRun(std::unique_ptr<capture::CSource> source, const std::string& format, std::chrono::milliseconds patience)
    : both_(std::make_shared<TBoth>(format)), patience_(patience)
{
    both_->source = std::move(source);
}

CRun::~CRun()
{
    if (!thread_.joinable())
        return;
    both_->watch.Release();
    both_->source->Stop();
    if (both_->watch.Await(patience_, [](const TSeen& seen) { return seen.returned; }).returned)
        thread_.join();
    else
        thread_.detach();  // it holds the source and the sink
}

void CRun::Start()
{
    const std::shared_ptr<TBoth> both = both_;
    thread_ = std::thread([both] {
        std::string error;
        try {
            both->source->Run(both->watch);
        } catch (const std::exception& thrown) {
            error = thrown.what();
        } catch (...) {
            error = "found an unknown exception, wanted none";
        }
        both->watch.Return(error);
    });
}

TSeen CRun::AwaitFrames(std::uint64_t count)
{
    TSeen seen = both_->watch.Seen();
    while (seen.frames < count && !seen.returned) {
        const std::uint64_t before = seen.frames;
        seen =
            both_->watch.Await(patience_, [before](const TSeen& now) { return now.frames > before || now.returned; });
        if (seen.frames == before && !seen.returned)
            throw failed("found no frame for " + Seconds(patience_) + " behind " + std::to_string(before) +
                         ", wanted frames");
    }
    ThrowFault(seen);
    ThrowError(seen);
    if (seen.frames == 0)
        throw failed("found an end before the first frame, wanted frames");
    return seen;
}

TSeen CRun::AwaitReturn(const std::string& wanted)
{
    const TSeen seen = both_->watch.Await(patience_, [](const TSeen& now) { return now.returned; });
    if (!seen.returned)
        throw failed("found Run() still running after " + Seconds(patience_) + ", wanted " + wanted);
    thread_.join();
    ThrowFault(seen);
    ThrowError(seen);
    return seen;
}

TSeen CRun::Stop()
{
    both_->source->Stop();
    return AwaitReturn("it to return once stopped");
}

}  // namespace conformance
