#include "images/images_source.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <boost/noncopyable.hpp>
#include <cerrno>
#include <cstddef>
#include <stdexcept>
#include <system_error>

namespace images {

namespace {

/// An open file. Everything that fails is a std::runtime_error naming it.
class CFile : private boost::noncopyable
{
public:
    /// Without waiting: nobody may ever write into a pipe that is found instead of a picture.
    explicit CFile(const std::string& path)
        : path_(path), descriptor_(::open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK))
    {
        if (descriptor_ < 0)
            Fail();
    }
    ~CFile() { ::close(descriptor_); }

    std::size_t Size() const
    {
        struct stat status;
        if (::fstat(descriptor_, &status) != 0)
            Fail();
        return static_cast<std::size_t>(status.st_size);
    }

    /// Reads exactly `size` bytes; a file that shrinks meanwhile is an error.
    void Read(unsigned char* data, std::size_t size) const
    {
        while (size > 0) {
            const ::ssize_t count = ::read(descriptor_, data, size);
            if (count < 0 && errno == EINTR)
                continue;
            if (count < 0)
                Fail();
            if (count == 0)
                throw std::runtime_error(path_ + ": found " + std::to_string(size) +
                                         " bytes less than at first, wanted " + "a file that stays as it is");
            data += count;
            size -= static_cast<std::size_t>(count);
        }
    }

private:
    [[noreturn]] void Fail() const
    {
        throw std::runtime_error(path_ + ": found " + std::generic_category().message(errno) +
                                 ", wanted a readable file");
    }

    const std::string path_;
    const int descriptor_;
};

void ReadAll(const std::string& file, std::vector<unsigned char>* bytes)
{
    const CFile input(file);
    bytes->resize(input.Size());
    input.Read(bytes->data(), bytes->size());
}

bool BeginsWith(const std::string& text, const std::string& begin)
{
    return text.compare(0, begin.size(), begin) == 0;
}

/// The shape of a picture file that holds an image of that kind.
TPixels ShapeOf(const cimage::CImage& image)
{
    const std::string name = image.Format().name;
    const bool red_first = BeginsWith(name, "RGB");
    const unsigned int channels = red_first || BeginsWith(name, "BGR") ? 3 : 1;
    const unsigned int bits = image.Format().bits_per_pixel / channels;
    if ((channels == 1 && !BeginsWith(name, "Mono") && !BeginsWith(name, "Bayer")) ||
        image.Format().channels != channels || (bits != 8 && bits != 16))
        throw std::runtime_error("FB: found " + image.Descriptor() +
                                 ", wanted a Mono, Bayer, RGB or BGR format that stores 8 or 16 bits per sample");
    return TPixels{nullptr, image.Width(), image.Height(), channels, bits, red_first};
}

/// "RGB8 640x480" of a picture that was found; its colours are named in the order that was asked for.
std::string Describe(const TPixels& found)
{
    std::string name = "Mono";
    if (found.channels == 3)
        name = found.red_first ? "RGB" : "BGR";
    else if (found.channels > 1)
        name = "RGBa";
    return name + std::to_string(found.bits) + " " + std::to_string(found.width) + "x" + std::to_string(found.height);
}

}  // namespace

CImagesSource::CImagesSource(const TPlan& plan, const std::string& format, DecodeFunction decode)
    : plan_(plan), decode_(decode), prototype_(cimage::Build(format)), shape_(ShapeOf(*prototype_))
{
}

void CImagesSource::Run(capture::CSink& sink)
{
    std::uint64_t sequence = 0;
    for (std::uint64_t pass = 0; plan_.passes == 0 || pass < plan_.passes; ++pass) {
        for (const std::string& file : plan_.files) {
            if (IsStopped())
                return;
            dev::TFrame<> frame;
            frame.text = file;
            frame.counter1 = sequence++;
            frame.image = Read(file);
            if (plan_.fps > 0.0 && !WaitForTurn())
                return;
            frame.time_stamp = Stamp(file);
            if (!Deliver(frame, sink))
                return;
        }
    }
}

void CImagesSource::Stop()
{
    {
        const std::lock_guard<std::mutex> lock(mutex_);
        stopped_ = true;
    }
    stop_asked_.notify_all();
}

boost::shared_ptr<const cimage::CImage> CImagesSource::Read(const std::string& file)
{
    const boost::shared_ptr<cimage::CImage> image = prototype_->New(prototype_->Width(), prototype_->Height());
    IsRaw(file) ? ReadRaw(file, image.get()) : ReadPicture(file, image.get());
    return image;
}

void CImagesSource::ReadRaw(const std::string& file, cimage::CImage* image) const
{
    const CFile input(file);
    const std::size_t wanted = image->RowBytes() * image->Height();
    if (input.Size() != wanted)
        throw std::runtime_error(Mismatch(file, std::to_string(input.Size()) + " bytes") + ": " +
                                 std::to_string(wanted) + " bytes");
    input.Read(image->Data(), wanted);
}

void CImagesSource::ReadPicture(const std::string& file, cimage::CImage* image)
{
    ReadAll(file, &bytes_);
    TPixels pixels = shape_;
    pixels.data = image->Data();
    switch (decode_(bytes_.data(), bytes_.size(), &pixels)) {
        case decoded:
            return;
        case no_picture:
            throw std::runtime_error(Mismatch(file, "no whole picture that can be decoded"));
        case other_shape:
            throw std::runtime_error(Mismatch(file, Describe(pixels)));
    }
}

std::string CImagesSource::Mismatch(const std::string& file, const std::string& found) const
{
    return file + ": found " + found + ", wanted " + prototype_->Descriptor() + " (FB)";
}

boost::posix_time::ptime CImagesSource::Stamp(const std::string& file) const
{
    switch (plan_.stamps) {
        case Stamps::FileTime:
            return TimeOfFile(file);
        case Stamps::FileName:
            return TimeOfName(file);
        case Stamps::Clock:
            break;
    }
    return boost::posix_time::microsec_clock::universal_time();
}

bool CImagesSource::Deliver(const dev::TFrame<>& frame, capture::CSink& sink)
{
    if (plan_.fps > 0.0) {
        sink.Offer(frame);
        return true;
    }
    return sink.Push(frame);
}

bool CImagesSource::IsStopped() const
{
    const std::lock_guard<std::mutex> lock(mutex_);
    return stopped_;
}

bool CImagesSource::WaitForTurn()
{
    using std::chrono::steady_clock;

    // A frame that is late goes out at once and moves the later ones: a camera does not catch up in a burst.
    turn_ = std::max(turn_, steady_clock::now());
    {
        std::unique_lock<std::mutex> lock(mutex_);
        if (stop_asked_.wait_until(lock, turn_, [this] { return stopped_; }))
            return false;
    }
    turn_ += std::chrono::duration_cast<steady_clock::duration>(std::chrono::duration<double>(1.0 / plan_.fps));
    return true;
}

std::string FormatOf(const std::string& file, CImagesSource::DecodeFunction decode)
{
    if (IsRaw(file))
        throw std::runtime_error(file + ": found bare pixels, wanted a picture that tells its size and format");
    std::vector<unsigned char> bytes;
    ReadAll(file, &bytes);
    TPixels pixels{nullptr, 0, 0, 0, 8, true};  // no picture has this shape, so the decoder tells which it has
    if (decode(bytes.data(), bytes.size(), &pixels) != other_shape)
        throw std::runtime_error(file + ": found no whole picture that can be decoded, wanted one");
    if (pixels.channels != 1 && pixels.channels != 3)
        throw std::runtime_error(file + ": found " + Describe(pixels) + ", wanted a grey or colour picture");
    return Describe(pixels);
}

}  // namespace images
