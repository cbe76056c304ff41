#include "orvo_proc_cimage/image.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <boost/bind/bind.hpp>
#include <cstdint>
#include <cstring>
#include <set>
#include <stdexcept>
#include <thread>
#include <vector>

namespace cimage {
namespace {

using ImagePtr = boost::shared_ptr<CImage>;

/// Fills the pixels of every row and nothing else.
void Paint(CImage& image, int value)
{
    for (unsigned int y = 0; y < image.Height(); ++y)
        std::memset(image.Data() + y * image.Stride(), value, image.RowBytes());
}

bool IsPainted(const CImage& image, int value)
{
    for (unsigned int y = 0; y < image.Height(); ++y)
        for (std::size_t x = 0; x < image.RowBytes(); ++x)
            if (image.Data()[y * image.Stride() + x] != value)
                return false;
    return true;
}

template <typename Call>
std::string MessageOf(Call call)
{
    try {
        call();
    } catch (const std::invalid_argument& error) {
        return error.what();
    }
    return "(nothing thrown)";
}

TEST(PixelFormatTable, KeepsTheLawsOfTheNamingConvention)
{
    std::set<std::string> names;
    std::set<std::uint32_t> values;
    for (const TPixelFormat& format : PixelFormats()) {
        SCOPED_TRACE(format.name);
        const std::string name = format.name;
        EXPECT_TRUE(names.insert(name).second);
        EXPECT_TRUE(values.insert(format.pfnc).second);
        // The value tells the bits of a pixel as stored, and whether it is one component (1) or several (2).
        EXPECT_EQ((format.pfnc >> 16U) & 0xFFU, format.bits_per_pixel);
        const bool one = name.compare(0, 4, "Mono") == 0 || name.compare(0, 5, "Bayer") == 0;
        EXPECT_EQ(format.pfnc >> 24U, one ? 1U : 2U);
        // The digits of the name tell the significant bits; 4:2:2 has two samples in each pixel.
        const std::size_t digits = name.find_first_of("0123456789", name.compare(0, 3, "YUV") == 0 ? 6 : 0);
        EXPECT_EQ(std::stoul(name.substr(digits)), format.bits_per_sample);
        const unsigned int samples = name.compare(0, 3, "YUV") == 0 ? 2 : format.channels;
        EXPECT_EQ(samples * ((format.bits_per_sample + 7) / 8 * 8), format.bits_per_pixel);
        EXPECT_EQ(&PixelFormat(name), &format);
    }
}

TEST(PixelFormatTable, HasTheValuesThatCamerasSend)
{
    EXPECT_EQ(PixelFormat("Mono8").pfnc, 0x01080001U);
    EXPECT_EQ(PixelFormat("Mono12").pfnc, 0x01100005U);
    EXPECT_EQ(PixelFormat("RGB8").pfnc, 0x02180014U);
    EXPECT_EQ(PixelFormat("BayerRG8").pfnc, 0x01080009U);
    EXPECT_EQ(PixelFormat("BayerGB12").pfnc, 0x01100012U);
    EXPECT_EQ(PixelFormat("YUV422_8").pfnc, 0x02100032U);
    EXPECT_EQ(PixelFormat("YUV422_8_UYVY").pfnc, 0x0210001FU);
}

TEST(PixelFormatTable, NamesWhatItKnowsWhenANameIsUnknown)
{
    const std::string message = MessageOf([] { PixelFormat("mono8"); });
    EXPECT_THAT(message, testing::StartsWith("found pixel format \"mono8\", wanted one of Mono8, Mono10, "));
    EXPECT_THAT(message, testing::EndsWith(", YUV422_8_UYVY"));
}

TEST(Descriptor, BuildsTheImageThatItNames)
{
    struct TRow
    {
        const char* text;
        const char* canonical;
        std::size_t stride;
    };
    const TRow rows[] = {
        {"Mono8 1280x960", "Mono8 1280x960", 1280},
        {" \tMono12 \t 3x2\t ", "Mono12 3x2", 6},
        {"RGB16 1x1", "RGB16 1x1", 6},
        {"BayerBG8 65535x1", "BayerBG8 65535x1", 65535},
        {"RGBa8 1x65535", "RGBa8 1x65535", 4},
        {"Mono8 0640x00480", "Mono8 640x480", 640},
    };
    for (const TRow& row : rows) {
        SCOPED_TRACE(row.text);
        const ImagePtr image = Build(row.text);
        EXPECT_EQ(image->Descriptor(), row.canonical);
        EXPECT_EQ(image->Stride(), row.stride);
        EXPECT_EQ(Build(image->Descriptor())->Descriptor(), row.canonical);
    }
}

TEST(Descriptor, IsRefusedWithWhatWasFoundAndWanted)
{
    const std::string wanted = "\", wanted \"<pixel format> <width>x<height>\" with sizes 1 to 65535";
    const std::string faulty[] = {
        "",
        "   ",
        "Mono8",
        "Mono8 ",
        "1280x960",
        "Mono81280x960",
        "Mono8 1280",
        "Mono8 1280x",
        "Mono8 x960",
        "Mono8 1280X960",
        "Mono8 1280 x 960",
        "Mono8 1280x960 Mono8",
        "Mono8 1280x960x3",
        "Mono8 +1280x960",
        "Mono8 -1x960",
        "Mono8 12.5x960",
        "Mono8 0x960",
        "Mono8 1280x0",
        "Mono8 65536x1",
        "Mono8 1x65536",
        "Mono8 4294967297x1",
        "Mono8 99999999999999999999999x1",
        "Mono8\n1280x960",
    };
    for (const std::string& text : faulty) {
        SCOPED_TRACE(text);
        EXPECT_EQ(MessageOf([&text] { Build(text); }), "found image descriptor \"" + text + wanted);
    }
    EXPECT_THROW(Build(std::string("Mono8 1280x960\0", 15)), std::invalid_argument);
    EXPECT_THAT(MessageOf([] { Build("Mono7 8x8"); }),
                testing::StartsWith("found pixel format \"Mono7\", wanted one "));
}

TEST(Image, OfEveryFormatHoldsItsRowsWithoutGapsOnAnAlignedBuffer)
{
    for (const TPixelFormat& format : PixelFormats()) {
        SCOPED_TRACE(format.name);
        const ImagePtr image = Build(format, 13, 7);
        EXPECT_EQ(image->Stride(), 13 * format.bits_per_pixel / 8);
        EXPECT_EQ(image->RowBytes(), image->Stride());
        EXPECT_EQ(reinterpret_cast<std::uintptr_t>(image->Data()) % 64, 0U);
        Paint(*image, 0x5A);  // the address sanitizer knows where it ends
        EXPECT_TRUE(IsPainted(*image, 0x5A));
    }
}

TEST(Image, KeepsItsPixelsInPlaceHoweverItIsLookedAt)
{
    const ImagePtr image = Build("Mono8 16x16");
    const std::uint8_t* const first = boost::const_pointer_cast<const CImage>(image)->Data();
    EXPECT_EQ(image->Data(), first);
}

TEST(Image, NewGivesTheSameFormatAndGridAtItsOwnSizeAndIndependentPixels)
{
    const ImagePtr image = Build("BayerGR12 32x16");
    TGrid grid;
    grid.scale_x = 2.0;
    grid.offset_y = -0.5;
    grid.rectified = true;
    image->SetGrid(grid);
    Paint(*image, 1);

    const ImagePtr made = image->New(8, 4);
    EXPECT_EQ(made->Descriptor(), "BayerGR12 8x4");
    EXPECT_EQ(&made->Format(), &image->Format());
    EXPECT_EQ(made->Grid().scale_x, 2.0);
    EXPECT_EQ(made->Grid().scale_y, 1.0);
    EXPECT_EQ(made->Grid().offset_y, -0.5);
    EXPECT_TRUE(made->Grid().rectified);

    const ImagePtr twin = image->New(32, 16);
    Paint(*twin, 2);
    EXPECT_TRUE(IsPainted(*image, 1));
    made->SetGrid(TGrid());
    EXPECT_TRUE(image->Grid().rectified);
}

TEST(Image, IsLikeAnotherOfTheSameFormatSizeAndGridAlone)
{
    const auto IsLikeAfter = [](void (*change)(TGrid&)) {
        const ImagePtr image = Build("Mono8 8x4");
        const ImagePtr other = image->New(8, 4);
        TGrid grid;
        change(grid);
        other->SetGrid(grid);
        return image->IsLike(*other);
    };
    EXPECT_TRUE(IsLikeAfter([](TGrid&) {}));
    EXPECT_FALSE(IsLikeAfter([](TGrid& grid) { grid.scale_x = 2.0; }));
    EXPECT_FALSE(IsLikeAfter([](TGrid& grid) { grid.scale_y = 2.0; }));
    EXPECT_FALSE(IsLikeAfter([](TGrid& grid) { grid.offset_x = 1.0; }));
    EXPECT_FALSE(IsLikeAfter([](TGrid& grid) { grid.offset_y = 1.0; }));
    EXPECT_FALSE(IsLikeAfter([](TGrid& grid) { grid.rectified = true; }));

    const ImagePtr image = Build("Mono8 8x4");
    EXPECT_FALSE(image->IsLike(*Build("Mono8 4x8")));
    EXPECT_FALSE(image->IsLike(*Build("Mono8 8x8")));
    EXPECT_FALSE(image->IsLike(*Build("BayerRG8 8x4")));
}

TEST(Image, NewAndBuildRefuseASizeThatNoImageHas)
{
    const ImagePtr image = Build("Mono8 8x8");
    const unsigned int sizes[][2] = {{0, 8}, {8, 0}, {65536, 8}, {8, 65536}, {0xFFFFFFFFU, 8}};
    for (const auto& size : sizes) {
        const std::string message = "found image size " + std::to_string(size[0]) + "x" + std::to_string(size[1]) +
                                    ", wanted 1x1 to 65535x65535";
        EXPECT_EQ(MessageOf([&] { image->New(size[0], size[1]); }), message);
        EXPECT_EQ(MessageOf([&] { Build(image->Format(), size[0], size[1]); }), message);
    }
}

TEST(Image, DoesNotDependOnACallersCopyOfItsFormat)
{
    ImagePtr image;
    {
        const TPixelFormat copy = PixelFormat("RGB8");
        image = Build(copy, 2, 2);
    }
    EXPECT_EQ(&image->Format(), &PixelFormat("RGB8"));
}

/// Memory of a driver, and how often it was released.
struct TLoan
{
    std::vector<std::uint8_t> memory = std::vector<std::uint8_t>(40 * 4);
    int releases = 0;
    std::thread::id released_by;

    ImagePtr Wrap(std::size_t stride = 40)
    {
        return cimage::Wrap(PixelFormat("Mono16"), 16, 4, stride, memory.data(), boost::bind(&TLoan::Release, this));
    }
    void Release()
    {
        ++releases;
        released_by = std::this_thread::get_id();
    }
};

TEST(WrappedImage, ShowsTheMemoryItselfWithItsStride)
{
    TLoan loan;
    const ImagePtr image = loan.Wrap();
    EXPECT_EQ(image->Data(), loan.memory.data());
    EXPECT_EQ(image->Stride(), 40U);
    EXPECT_EQ(image->RowBytes(), 32U);
    EXPECT_EQ(image->Descriptor(), "Mono16 16x4");
}

TEST(WrappedImage, ReleasesTheMemoryOnceWhenTheLastReferenceGoesOnWhateverThread)
{
    TLoan loan;
    boost::shared_ptr<const CImage> image = loan.Wrap();
    boost::shared_ptr<const CImage> second = image;
    image.reset();
    EXPECT_EQ(loan.releases, 0);

    std::thread::id dropper;
    std::thread thread([&] {
        dropper = std::this_thread::get_id();
        second.reset();
    });
    thread.join();
    EXPECT_EQ(loan.releases, 1);
    EXPECT_EQ(loan.released_by, dropper);
}

TEST(WrappedImage, GivesNewImagesThatOwnTheirPixels)
{
    TLoan loan;
    ImagePtr image = loan.Wrap();
    ImagePtr made = image->New(16, 4);
    EXPECT_EQ(made->Stride(), 32U);
    Paint(*made, 7);
    made.reset();
    EXPECT_EQ(loan.releases, 0);
    image.reset();
    EXPECT_EQ(loan.releases, 1);
    EXPECT_THAT(loan.memory, testing::Each(0));
}

TEST(WrappedImage, MayComeWithNothingToRelease)
{
    std::uint8_t pixel = 9;
    ImagePtr image = Wrap(PixelFormat("Mono8"), 1, 1, 1, &pixel, boost::function<void()>());
    image.reset();
    EXPECT_EQ(pixel, 9);
}

TEST(WrappedImage, IsRefusedWithoutCallingTheRelease)
{
    TLoan loan;
    const boost::function<void()> release = boost::bind(&TLoan::Release, &loan);
    const TPixelFormat& format = PixelFormat("Mono16");
    void* const data = loan.memory.data();
    EXPECT_EQ(MessageOf([&] { Wrap(format, 16, 4, 40, nullptr, release); }),
              "found a null pointer, wanted the pixels of an image");
    EXPECT_EQ(MessageOf([&] { Wrap(format, 16, 4, 31, data, release); }),
              "found a stride of 31 bytes, wanted at least the 32 of a row");
    EXPECT_EQ(MessageOf([&] { Wrap(format, 0, 4, 40, data, release); }),
              "found image size 0x4, wanted 1x1 to 65535x65535");
    EXPECT_EQ(loan.releases, 0);
}

}  // namespace
}  // namespace cimage
