#include "orvo_proc_cimage/image.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <boost/bind/bind.hpp>
#include <cstdint>
#include <cstring>
#include <set>
#include <sstream>
#include <stdexcept>
#include <thread>
#include <vector>

namespace cimage {
namespace {

using ImagePtr = boost::shared_ptr<CImage>;

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

TEST(Descriptor, BuildsTheImageThatItNames)
{
    const std::vector<std::string> rows[] = {{"Mono8 1280x960", "Mono8 1280x960"},
                                             {" \tMono12 \t 3x2\t ", "Mono12 3x2"},
                                             {"BayerBG8 65535x1", "BayerBG8 65535x1"},
                                             {"RGBa8 1x65535", "RGBa8 1x65535"},
                                             {"Mono8 0640x00480", "Mono8 640x480"}};
    for (const auto& row : rows) {
        EXPECT_EQ(Build(row[0])->Descriptor(), row[1]);
        EXPECT_EQ(Build(row[1])->Descriptor(), row[1]);
    }
}

TEST(Descriptor, IsRefusedWithWhatWasFoundAndWanted)
{
    const std::string wanted = "\", wanted \"<pixel format> <width>x<height>\" with sizes 1 to 65535";
    std::istringstream faulty(
        "|   |Mono8|1280x960|Mono81280x960|Mono8 1280|Mono8 1280x|Mono8 x960|Mono8 1280X960|Mono8 1280 x 960|"
        "Mono8 1280x960 Mono8|Mono8 1280x960x3|Mono8 +1280x960|Mono8 -1x960|Mono8 12.5x960|Mono8 0x960|Mono8 1280x0|"
        "Mono8 65536x1|Mono8 1x65536|Mono8 4294967297x1|Mono8 99999999999999999999999x1|Mono8\n1280x960");
    for (std::string text; std::getline(faulty, text, '|');)
        EXPECT_EQ(MessageOf([&text] { Build(text); }), "found image descriptor \"" + text + wanted);
    EXPECT_THROW(Build(std::string("Mono8 1280x960\0", 15)), std::invalid_argument);
    for (const unsigned int size : {0U, 65536U, 0xFFFFFFFFU}) {
        EXPECT_THROW(Build("Mono8 8x8")->New(size, 8), std::invalid_argument);
        EXPECT_THROW(Build(PixelFormat("Mono8"), 8, size), std::invalid_argument);
    }
    EXPECT_THAT(MessageOf([] { Build("mono8 8x8"); }),
                testing::MatchesRegex("found pixel format \"mono8\", wanted one of Mono8, Mono10, .*, YUV422_8_UYVY"));
}

TEST(Image, OfEveryFormatHoldsItsRowsWithoutGapsOnAnAlignedBuffer)
{
    for (const TPixelFormat& format : PixelFormats()) {
        SCOPED_TRACE(format.name);
        const ImagePtr image = Build(format, 13, 7);
        EXPECT_EQ(image->Stride(), 13 * format.bits_per_pixel / 8);
        EXPECT_EQ(image->RowBytes(), image->Stride());
        EXPECT_EQ(reinterpret_cast<std::uintptr_t>(image->Data()) % 64, 0U);
        std::memset(image->Data(), 1, image->Stride() * 7);  // the address sanitizer knows where it ends
    }
}

TEST(Image, NewGivesTheSameFormatAndGridAtItsOwnSizeAndIndependentPixels)
{
    const ImagePtr image = Build("BayerGR12 32x16");
    TGrid grid;
    grid.offset_y = -0.5;
    image->SetGrid(grid);
    image->Data()[0] = 1;
    const ImagePtr made = image->New(8, 4);
    EXPECT_EQ(made->Descriptor(), "BayerGR12 8x4");
    EXPECT_EQ(made->Grid().offset_y, -0.5);
    const ImagePtr twin = image->New(32, 16);
    twin->Data()[0] = 2;
    EXPECT_EQ(image->Data()[0], 1);
    EXPECT_TRUE(image->IsLike(*twin));
}

TEST(Image, IsLikeAnotherOfTheSameFormatSizeAndGridAlone)
{
    const ImagePtr image = Build("Mono8 8x4");
    const ImagePtr moved = image->New(8, 4);
    EXPECT_TRUE(image->IsLike(*moved));
    for (double TGrid::*field : {&TGrid::scale_x, &TGrid::scale_y, &TGrid::offset_x, &TGrid::offset_y}) {
        TGrid grid;
        grid.*field += 1.0;
        moved->SetGrid(grid);
        EXPECT_FALSE(image->IsLike(*moved));
    }
    TGrid grid;
    grid.rectified = true;
    moved->SetGrid(grid);
    EXPECT_FALSE(image->IsLike(*moved));
    for (const char* other : {"Mono8 8x8", "Mono8 4x4", "BayerRG8 8x4"})
        EXPECT_FALSE(image->IsLike(*Build(other))) << other;
}

/// Memory of a driver, and how often it was released.
struct TLoan
{
    std::vector<std::uint8_t> memory = std::vector<std::uint8_t>(40 * 4);
    int releases = 0;
    std::thread::id released_by;

    void Release()
    {
        ++releases;
        released_by = std::this_thread::get_id();
    }
};

TEST(WrappedImage, ShowsTheMemoryAndReleasesItOnceWhenTheLastReferenceGoesOnWhateverThread)
{
    TLoan loan;
    boost::shared_ptr<const CImage> image =
        Wrap(PixelFormat("Mono16"), 16, 4, 40, loan.memory.data(), boost::bind(&TLoan::Release, &loan));
    EXPECT_EQ(image->Data(), loan.memory.data());
    EXPECT_EQ(image->Stride(), 40U);
    EXPECT_EQ(image->RowBytes(), 32U);
    ImagePtr made = image->New(16, 4);
    EXPECT_EQ(made->Stride(), 32U);
    made->Data()[0] = 7;
    EXPECT_EQ(loan.memory[0], 0) << "a new image owns its pixels";
    made.reset();
    boost::shared_ptr<const CImage> second = image;
    image.reset();
    EXPECT_EQ(loan.releases, 0);

    std::thread thread([&] { second.reset(); });
    const std::thread::id dropper = thread.get_id();
    thread.join();
    EXPECT_EQ(loan.releases, 1);
    EXPECT_EQ(loan.released_by, dropper);
    Wrap(PixelFormat("Mono8"), 16, 4, 40, loan.memory.data(), boost::function<void()>());  // nothing to release
}

TEST(WrappedImage, IsRefusedWithoutCallingTheRelease)
{
    TLoan loan;
    const boost::function<void()> release = boost::bind(&TLoan::Release, &loan);
    const TPixelFormat& format = PixelFormat("Mono16");
    void* const data = loan.memory.data();
    EXPECT_THROW(Wrap(format, 16, 4, 40, nullptr, release), std::invalid_argument);
    EXPECT_THROW(Wrap(format, 16, 4, 31, data, release), std::invalid_argument);
    EXPECT_THROW(Wrap(format, 0, 4, 40, data, release), std::invalid_argument);
    EXPECT_EQ(loan.releases, 0);
}

}  // namespace
}  // namespace cimage
