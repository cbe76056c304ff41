#include "orvo_proc_cimage/image.h"

#include <algorithm>
#include <new>
#include <stdexcept>

#include "orvo_proc_cimage/detail/pool.h"

namespace cimage {
namespace {

constexpr unsigned int max_side = 65535;

void CheckSize(unsigned int width, unsigned int height)
{
    if (width < 1 || width > max_side || height < 1 || height > max_side)
        throw std::invalid_argument("found image size " + std::to_string(width) + "x" + std::to_string(height) +
                                    ", wanted 1x1 to 65535x65535");
}

/// Images keep a pointer to their format, so it must be the table's own and not a caller's copy.
const TPixelFormat& Known(const TPixelFormat& format)
{
    const std::vector<TPixelFormat>& formats = PixelFormats();
    for (const TPixelFormat& known : formats)
        if (&known == &format)
            return known;
    return PixelFormat(format.name);
}

std::size_t RowBytes(const TPixelFormat& format, unsigned int width)
{
    return std::size_t{width} * format.bits_per_pixel / 8;
}

/// Around memory of somebody else.
class CWrappedImage final : public CImage
{
public:
    CWrappedImage(const TPixelFormat& format, unsigned int width, unsigned int height, std::size_t stride, void* data,
                  const boost::function<void()>& release)
        : CImage(format, width, height, stride, static_cast<std::uint8_t*>(data)), release_(release)
    {
    }
    ~CWrappedImage() override
    {
        Detach();
        if (release_)
            release_();
    }

private:
    const boost::function<void()> release_;
};

/// Where the image stands in its block, behind the reference counts.
constexpr std::size_t image_offset = 64;

/// Puts the reference counts at the front of a block that is there already.
template <typename T>
struct TCountsAllocator
{
    using value_type = T;

    explicit TCountsAllocator(void* memory) : block(memory) {}
    template <typename U>
    TCountsAllocator(const TCountsAllocator<U>& other) : block(other.block)
    {
    }

    T* allocate(std::size_t)
    {
        static_assert(sizeof(T) <= image_offset && alignof(T) <= detail::alignment, "runs into the image");
        return static_cast<T*>(block);
    }
    void deallocate(T* counts, std::size_t) noexcept { detail::GiveBlock(counts); }

    void* block;
};

template <typename Image>
struct TDestroy
{
    void operator()(Image* image) const { image->Image::~Image(); }
};

/// An image and its reference counts in one recycled block. boost::allocate_shared would do the same, but copies the
/// pointer that it returns: two more locked instructions, as much as all the rest of this.
template <typename Image, typename... Args>
boost::shared_ptr<CImage> Make(const Args&... args)
{
    static_assert(image_offset + sizeof(Image) <= detail::block_bytes, "does not fit into a block");
    void* const block = detail::TakeBlock();
    Image* image = nullptr;
    try {
        image = ::new (static_cast<char*>(block) + image_offset) Image(args...);
    } catch (...) {
        detail::GiveBlock(block);
        throw;
    }
    return boost::shared_ptr<CImage>(image, TDestroy<Image>(), TCountsAllocator<Image>(block));
}

/// The text of a descriptor as it is taken apart, from front to back.
class CDescriptorText
{
public:
    explicit CDescriptorText(const std::string& text) : text_(text) {}

    bool AtEnd() const { return at_ == text_.size(); }

    void SkipBlanks() { at_ = std::min(text_.find_first_not_of(" \t", at_), text_.size()); }

    std::string Word()
    {
        const std::size_t begin = at_;
        at_ = std::min(text_.find_first_of(" \t", at_), text_.size());
        return text_.substr(begin, at_ - begin);
    }

    bool Skip(char wanted)
    {
        if (AtEnd() || text_[at_] != wanted)
            return false;
        ++at_;
        return true;
    }

    /// A run of digits, 0 when there is none or it says more than 65535.
    unsigned int Side()
    {
        unsigned int value = 0;
        for (; !AtEnd() && text_[at_] >= '0' && text_[at_] <= '9'; ++at_)
            if (value <= max_side)
                value = value * 10 + static_cast<unsigned int>(text_[at_] - '0');
        return value <= max_side ? value : 0;
    }

private:
    const std::string& text_;
    std::size_t at_ = 0;
};

}  // namespace

CImage::CImage(const TPixelFormat& format, unsigned int width, unsigned int height, const TGrid& grid)
    : format_(&format),
      width_(width),
      height_(height),
      stride_(cimage::RowBytes(format, width)),
      data_(nullptr),
      grid_(grid)
{
}

CImage::CImage(const TPixelFormat& format, unsigned int width, unsigned int height, std::size_t stride,
               std::uint8_t* data)
    : format_(&format), width_(width), height_(height), stride_(stride), data_(data)
{
}

CImage::~CImage()
{
    // Whoever wrote the pointer did so before it dropped its reference.
    std::uint8_t* const data = data_.load(std::memory_order_relaxed);
    if (data != nullptr)
        detail::GiveBuffer(data, stride_ * height_);
}

std::size_t CImage::RowBytes() const
{
    return cimage::RowBytes(*format_, width_);
}

std::string CImage::Descriptor() const
{
    return std::string(format_->name) + " " + std::to_string(width_) + "x" + std::to_string(height_);
}

std::uint8_t* CImage::Touch() const
{
    std::uint8_t* const fresh = detail::TakeBuffer(stride_ * height_);
    std::uint8_t* first = nullptr;
    if (data_.compare_exchange_strong(first, fresh, std::memory_order_acq_rel, std::memory_order_acquire))
        return fresh;
    detail::GiveBuffer(fresh, stride_ * height_);  // another reader was faster
    return first;
}

boost::shared_ptr<CImage> CImage::New(unsigned int width, unsigned int height) const
{
    CheckSize(width, height);
    return Make<CImage>(*format_, width, height, grid_);
}

boost::shared_ptr<CImage> Build(const TPixelFormat& format, unsigned int width, unsigned int height)
{
    CheckSize(width, height);
    return Make<CImage>(Known(format), width, height, TGrid());
}

boost::shared_ptr<CImage> Build(const std::string& descriptor)
{
    CDescriptorText text(descriptor);
    text.SkipBlanks();
    const std::string name = text.Word();
    text.SkipBlanks();
    const unsigned int width = text.Side();
    const bool separated = text.Skip('x');
    const unsigned int height = text.Side();
    text.SkipBlanks();
    if (width == 0 || !separated || height == 0 || !text.AtEnd())
        throw std::invalid_argument("found image descriptor \"" + descriptor +
                                    "\", wanted \"<pixel format> <width>x<height>\" with sizes 1 to 65535");
    return Build(PixelFormat(name), width, height);
}

boost::shared_ptr<CImage> Wrap(const TPixelFormat& format, unsigned int width, unsigned int height, std::size_t stride,
                               void* data, const boost::function<void()>& release)
{
    CheckSize(width, height);
    const TPixelFormat& known = Known(format);
    if (data == nullptr)
        throw std::invalid_argument("found a null pointer, wanted the pixels of an image");
    if (stride < RowBytes(known, width))
        throw std::invalid_argument("found a stride of " + std::to_string(stride) + " bytes, wanted at least the " +
                                    std::to_string(RowBytes(known, width)) + " of a row");
    return Make<CWrappedImage>(known, width, height, stride, data, release);
}

TPoolStatus PoolStatus()
{
    const detail::TIdle idle = detail::IdleBuffers();
    return TPoolStatus{idle.buffers, idle.bytes};
}

}  // namespace cimage
