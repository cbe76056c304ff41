// Frames as picture files, ours and those of others.
#include <gmock/gmock.h>

#include "drivers/picture_files.h"
#include "orvo/base/decimal_comma.h"
#include "recording/recording_fixture.h"

namespace recording_test {
namespace {

Image Read(const std::string& bytes, bool* checked = nullptr)
{
    // Exactly as much memory as there may be read.
    const std::vector<std::uint8_t> copy(bytes.begin(), bytes.end());
    return rec::ReadPicture(copy.data(), copy.size(), checked);
}

dev::TFrame<> FrameWithGrid(const std::string& descriptor)
{
    const auto image = MakeImage(descriptor);
    image->SetGrid({0.5, 0.25, 1.0 / 3.0, -1234.5, true});
    return MakeFrame(image, 12, 123456);
}

TEST(Picture, KeepsPixelsFormatAndGrid)
{
    const test::CDecimalComma comma;
    for (const cimage::TPixelFormat& format : cimage::PixelFormats()) {
        for (const rec::PictureKind kind : {rec::PictureKind::Pnm, rec::PictureKind::Png}) {
            for (const bool dirty : {false, true}) {
                SCOPED_TRACE(format.name);
                const dev::TFrame<> frame = FrameWithGrid(std::string(format.name) + " 1200x3");
                if (dirty)
                    std::memset(const_cast<std::uint8_t*>(frame.image->Data()), 0xFF, 2);
                const rec::TPicture picture = rec::MakePicture(frame, kind);
                const bool yuv = format.name[0] == 'Y';
                EXPECT_EQ(picture.extension, format.channels == 4                    ? "png"
                                             : kind == rec::PictureKind::Png && !yuv ? "png"
                                             : format.channels == 3                  ? "ppm"
                                                                                     : "pgm");
                // No sample may be greater than the greatest value that the header tells.
                EXPECT_TRUE(!dirty || format.bits_per_sample == 8 || picture.extension != "pgm" ||
                            picture.bytes.find("\n65535\n") != std::string::npos);
                bool checked = false;
                const Image read = Read(picture.bytes, &checked);
                EXPECT_TRUE(SamePixels(*read, *frame.image));
                EXPECT_EQ(read->Grid(), frame.image->Grid());
                EXPECT_TRUE(checked);
            }
        }
    }
}

TEST(Picture, IsNeverReadOtherwiseThanItWasWritten)
{
    for (const std::string descriptor : {"Mono12 5x4", "BGR8 5x4"}) {
        for (const rec::PictureKind kind : {rec::PictureKind::Pnm, rec::PictureKind::Png}) {
            const dev::TFrame<> frame = FrameWithGrid(descriptor);
            const std::string whole = rec::MakePicture(frame, kind).bytes;
            for (std::size_t i = 0; i < 9 * whole.size(); ++i) {
                // Cut short, or one bit of it flipped.
                std::string bytes = whole.substr(0, i < whole.size() ? i : whole.size());
                if (i >= whole.size())
                    bytes[i % whole.size()] = static_cast<char>(bytes[i % whole.size()] ^ 1 << (i / whole.size() - 1));
                try {
                    bool checked = false;
                    const Image read = Read(bytes, &checked);
                    EXPECT_TRUE(checked && SamePixels(*read, *frame.image) && read->Grid() == frame.image->Grid())
                        << descriptor << " " << i;
                } catch (const std::runtime_error&) {
                }
            }
        }
    }
}

TEST(Picture, MadeElsewhereIsReadAsFarAsItIsOne)
{
    bool checked = true;
    EXPECT_TRUE(SamePixels(*Read("P6 # a comment\n#\n2\t1 255\nabcdef", &checked),
                           *rec::Unpack(reinterpret_cast<const std::uint8_t*>("abcdef"), 6, rec::Compression::None,
                                        cimage::PixelFormat("RGB8"), 2, 1)));
    EXPECT_FALSE(checked);
    for (const std::string& file :
         {std::string("P5 1 1 1000 \x12\x34"), drivers_test::FromHex(drivers_test::grey_16_png)}) {
        const Image wide = Read(file);
        EXPECT_STREQ(wide->Format().name, "Mono16");
    }
    const Image png = Read(drivers_test::FromHex(drivers_test::grey_16_png));
    std::uint16_t sample;
    std::memcpy(&sample, png->Data() + 2 * png->Stride() + 6, 2);
    EXPECT_EQ(sample, 200 * drivers_test::PixelOf(3, 2));

    for (const char* bytes : {"", "P", "P5", "P2 1 1 255 7", "P5 0 1 255 ", "P5 1 1 255", "P5 70000 1 1 ",
                              "P5 1 1 65536 aa", "P5 4294967297 1 255 a", "P5 1 1 255 aa", "P5 1 1 255 ",
                              "P5 # ends here", "P5\n# orvo image Mono8 1x1\n1 1 255 a"})
        EXPECT_THROW(Read(bytes), std::runtime_error) << bytes;
}

TEST(Picture, NameTellsCameraNumberAndTime)
{
    const auto frame = MakeFrame(nullptr, 12, 15 * 60 * 1000000L + 123456);
    EXPECT_EQ(rec::PictureName("left", frame, "pgm"), "left/000012_20261121T101500.123456Z.pgm");
    auto untimed = MakeFrame(nullptr, 18446744073709551615U, 0);
    untimed.time_stamp = boost::posix_time::ptime();
    for (const auto& written : {frame, untimed}) {
        std::string camera;
        dev::TFrame<> parsed;
        ASSERT_TRUE(rec::ParsePictureName("./" + rec::PictureName("my_rig/le.ft", written, "png"), camera, parsed));
        EXPECT_EQ(camera, "my_rig/le.ft");
        EXPECT_EQ(parsed.counter1, written.counter1);
        EXPECT_EQ(parsed.time_stamp, written.time_stamp);
    }
    std::string camera = "kept";
    dev::TFrame<> kept;
    for (const char* name :
         {"", "left", "left/", "000012_untimed.pgm", "left/000012.pgm", "left/12_untimed.pgm",
          "left/-00012_untimed.pgm", "left/000012_untimed.jpg", "left/000012_20261321T101500.123456Z.pgm",
          "left/000012_20261121T251500.123456Z.pgm", "left/000012_20261121T101500Z.pgm", "left/0000012_untimed.pgm",
          "left/18446744073709551616_untimed.pgm"})
        EXPECT_FALSE(rec::ParsePictureName(name, camera, kept)) << name;
    EXPECT_EQ(camera, "kept");
}

}  // namespace
}  // namespace recording_test
