// Images: a pixel format, a size, and pixels that cost nothing until somebody touches them.
//
// What the device layer relies on: an image is shared as a pointer to const once it is filled; New() makes an
// independent image of the same format at the price of a few dozen nanoseconds, and without a system call or a page
// fault once a camera is running, because buffers and the image objects themselves are recycled.
//
// The pool belongs to the process. Of what nobody uses it keeps at most 64 pixel buffers, together at most 128 MiB; of
// more, the one that has lain idle longest goes back to the system. A buffer serves any image of its size. Of image
// objects (192 bytes each) it keeps at most 1024, and 64 more per thread that made or dropped one.
//
// Thread rule: an image is filled by one thread; after that any number may read it. Creation and destruction are safe
// on any thread.
#ifndef ORVO_PROC_CIMAGE_IMAGE_H
#define ORVO_PROC_CIMAGE_IMAGE_H

#include <atomic>
#include <boost/function.hpp>
#include <boost/noncopyable.hpp>
#include <boost/shared_ptr.hpp>
#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

#include "orvo_proc_cimage/export.h"

namespace cimage {

/// A pixel format by its GenICam name (GenICam Pixel Format Naming Convention 2.4, and its pixel format values).
struct TPixelFormat
{
    const char* name;              ///< "Mono8", "BayerRG8", …
    std::uint32_t pfnc;            ///< the 32-bit PFNC value, for instance 0x01080001 for Mono8
    unsigned int bits_per_pixel;   ///< as stored: 16 for Mono12
    unsigned int channels;         ///< 1 for grey, Bayer and packed YUV 4:2:2, 3 for RGB, 4 with alpha
    unsigned int bits_per_sample;  ///< significant bits of one sample: 12 for Mono12
};

/// The format of that name. Throws std::invalid_argument listing the known names.
ORVO_PROC_CIMAGE_API const TPixelFormat& PixelFormat(const std::string& name);

/// All known formats, in table order.
ORVO_PROC_CIMAGE_API const std::vector<TPixelFormat>& PixelFormats();

/// Where an image's pixels lie on the image of the camera that it came from, pixel centres at whole numbers:
/// x_camera = scale_x * x + offset_x, likewise y. An operation that crops or scales sets it on its output, so that a
/// later one can find the intrinsics of what it is given; New() hands it on.
struct TGrid
{
    double scale_x = 1.0;
    double scale_y = 1.0;
    double offset_x = 0.0;
    double offset_y = 0.0;
    bool rectified = false;  ///< true once the lens distortion has been taken out
};

inline bool operator==(const TGrid& a, const TGrid& b)
{
    return a.scale_x == b.scale_x && a.scale_y == b.scale_y && a.offset_x == b.offset_x && a.offset_y == b.offset_y &&
           a.rectified == b.rectified;
}
inline bool operator!=(const TGrid& a, const TGrid& b)
{
    return !(a == b);
}

class CImage;

/// "<pixel format> <width>x<height>", for instance "Mono8 1280x960", sizes 1 to 65535. Blanks and tabs may surround it
/// and are needed once between format and size. Throws std::invalid_argument saying what was found and what was wanted.
/// The image is lazy: no pixel memory until Data().
ORVO_PROC_CIMAGE_API boost::shared_ptr<CImage> Build(const std::string& descriptor);
ORVO_PROC_CIMAGE_API boost::shared_ptr<CImage> Build(const TPixelFormat& format, unsigned int width,
                                                     unsigned int height);

/// An image around `data`, `stride` bytes per row, that somebody else owns. `release` is called once, on whatever
/// thread drops the last reference; it must not throw, and may be empty. Nothing is copied.
/// Throws std::invalid_argument for a null pointer, a bad size, or a stride shorter than a row; `release` is then not
/// called.
ORVO_PROC_CIMAGE_API boost::shared_ptr<CImage> Wrap(const TPixelFormat& format, unsigned int width, unsigned int height,
                                                    std::size_t stride, void* data,
                                                    const boost::function<void()>& release);

/// What the pool keeps of pixel memory that nobody uses.
constexpr std::size_t max_idle_buffers = 64;
constexpr std::size_t max_idle_bytes = 128U << 20U;
constexpr std::size_t max_idle_objects = 1024;

/// What lies idle in the pool at this moment: pixel buffers, and their bytes together.
struct TPoolStatus
{
    std::size_t idle_buffers;
    std::size_t idle_bytes;
};
ORVO_PROC_CIMAGE_API TPoolStatus PoolStatus();

class ORVO_PROC_CIMAGE_API CImage : private boost::noncopyable
{
public:
    /// Only Build, Wrap, New and derived classes construct: `format` is an entry of PixelFormats(), the sizes are
    /// checked. The image takes a buffer from the pool when it is first touched.
    CImage(const TPixelFormat& format, unsigned int width, unsigned int height, const TGrid& grid);
    virtual ~CImage();

    unsigned int Width() const { return width_; }
    unsigned int Height() const { return height_; }
    const TPixelFormat& Format() const { return *format_; }

    /// Bytes from one row to the next. An image of the pool has no padding between rows.
    std::size_t Stride() const { return stride_; }

    /// Bytes of a row that hold pixels.
    std::size_t RowBytes() const;

    /// "<pixel format> <width>x<height>", the text that Build() understands.
    std::string Descriptor() const;

    /// First pixel of the first row, 64-byte aligned in an image of the pool. The pixels of an image that nobody wrote
    /// to are undefined. Throws std::bad_alloc when there is no memory; the image stays as it was.
    std::uint8_t* Data() { return Pixels(); }
    const std::uint8_t* Data() const { return Pixels(); }

    const TGrid& Grid() const { return grid_; }
    void SetGrid(const TGrid& grid) { grid_ = grid; }

    /// True when `other` has the same format, size and grid, and so may stand in for it if nobody else holds it.
    bool IsLike(const CImage& other) const
    {
        return format_ == other.format_ && width_ == other.width_ && height_ == other.height_ && grid_ == other.grid_;
    }

    /// A new, independent image of the same format and grid. Pixels are not copied.
    /// Throws std::invalid_argument for a size outside 1 to 65535.
    virtual boost::shared_ptr<CImage> New(unsigned int width, unsigned int height) const;

protected:
    /// Around memory that the derived class answers for: its destructor calls Detach(), or the pool takes the memory.
    CImage(const TPixelFormat& format, unsigned int width, unsigned int height, std::size_t stride, std::uint8_t* data);
    void Detach() { data_.store(nullptr, std::memory_order_relaxed); }

private:
    std::uint8_t* Pixels() const
    {
        std::uint8_t* const data = data_.load(std::memory_order_acquire);
        return data != nullptr ? data : Touch();
    }
    /// Gives the image its buffer; of several readers that come at once the first one's stays.
    std::uint8_t* Touch() const;

    const TPixelFormat* format_;
    unsigned int width_;
    unsigned int height_;
    std::size_t stride_;
    mutable std::atomic<std::uint8_t*> data_;
    TGrid grid_;
};

}  // namespace cimage

#endif
