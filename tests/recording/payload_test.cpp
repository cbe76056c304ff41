// Images packed and unpacked, bit for bit; and what is no image refused.
#include <gtest/gtest.h>

#include "recording/recording_fixture.h"

namespace recording_test {
namespace {

using rec::Compression;

const Compression all_compressions[] = {Compression::None, Compression::Png, Compression::Zstd};

boost::shared_ptr<cimage::CImage> UnpackAs(const std::string& descriptor, const rec::TPayload& payload,
                                           std::size_t size)
{
    const auto wanted = cimage::Build(descriptor);
    // Exactly as much memory as there may be read.
    const std::vector<std::uint8_t> bytes(payload.data, payload.data + std::min(size, payload.size));
    return rec::Unpack(bytes.data(), size, payload.compression, wanted->Format(), wanted->Width(), wanted->Height());
}

TEST(Payload, KeepsEveryBitOfEveryFormat)
{
    for (const cimage::TPixelFormat& format : cimage::PixelFormats()) {
        SCOPED_TRACE(format.name);
        const auto whole = MakeImage(std::string(format.name) + " 40x30");
        const auto smooth = MakeImage(std::string(format.name) + " 40x30", false);
        // Rows that lie further apart than they are long; and bits above the significant ones.
        const auto view = cimage::Wrap(format, 30, 30, whole->Stride(), whole->Data(), [] {});
        const auto dirty = MakeImage(std::string(format.name) + " 40x30");
        std::memset(dirty->Data(), 0xFF, 2);
        for (const Image& image : {Image(whole), Image(smooth), Image(view), Image(dirty)}) {
            for (const Compression wanted : all_compressions) {
                const rec::TPayload payload = rec::Pack(image, wanted);
                EXPECT_TRUE(SamePixels(*image, *UnpackAs(image->Descriptor(), payload, payload.size)));
                // Noise does not get smaller, and PNG holds no packed YUV.
                const bool packed = wanted == Compression::Png    ? format.name[0] != 'Y'
                                    : wanted == Compression::Zstd ? payload.size < image->RowBytes() * image->Height()
                                                                  : false;
                EXPECT_EQ(payload.compression, packed ? wanted : Compression::None);
                EXPECT_TRUE(packed || image != smooth || wanted != Compression::Zstd);
            }
        }
        EXPECT_EQ(rec::Pack(whole, Compression::None).data, whole->Data());
    }
}

TEST(Payload, OfAnythingElseThanOneImageIsRefused)
{
    const Image image = MakeImage("Mono12 40x30", false);
    for (const Compression compression : all_compressions) {
        SCOPED_TRACE(rec::Name(compression));
        rec::TPayload payload = rec::Pack(image, compression);
        ASSERT_EQ(payload.compression, compression);
        for (std::size_t size = 0; size < payload.size; ++size)
            EXPECT_THROW(UnpackAs("Mono12 40x30", payload, size), std::runtime_error) << size;
        for (const char* other : {"Mono12 41x30", "Mono12 40x29", "Mono8 40x30", "RGB8 40x30"})
            EXPECT_THROW(UnpackAs(other, payload, payload.size), std::runtime_error) << other;
        std::string longer(reinterpret_cast<const char*>(payload.data), payload.size);
        longer += longer;
        payload.data = reinterpret_cast<const std::uint8_t*>(longer.data());
        payload.size = longer.size();
        EXPECT_THROW(UnpackAs("Mono12 40x30", payload, payload.size), std::runtime_error);
    }
}

}  // namespace
}  // namespace recording_test
