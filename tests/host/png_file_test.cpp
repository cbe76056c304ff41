#include "run/png_file.h"

#include <gmock/gmock.h>
#include <opencv2/imgcodecs.hpp>

#include "host/rig_fixture.h"
#include "orvo_proc_cimage/image.h"

namespace {

using testing::HasSubstr;

class PngFileTest : public host_test::RigFixture
{
protected:
    /// An image of 5x3 pixels that differ in every byte, samples within `max`.
    static boost::shared_ptr<cimage::CImage> Image(const std::string& format, unsigned int max)
    {
        const auto image = cimage::Build(format + " 5x3");
        for (unsigned int y = 0; y < 3; ++y) {
            std::uint8_t* const row = image->Data() + y * image->Stride();
            for (std::size_t i = 0; i < image->RowBytes(); ++i)
                row[i] = static_cast<std::uint8_t>(y * 60 + i * 7 + 1);
            if (max > 255)
                for (std::size_t i = 0; i < image->RowBytes() / 2; ++i)
                    Sample16(row, i) = static_cast<std::uint16_t>(Sample16(row, i) * 31u % (max + 1));
        }
        return image;
    }

    static std::uint16_t& Sample16(std::uint8_t* row, std::size_t i)
    {
        return reinterpret_cast<std::uint16_t*>(row)[i];
    }

    cv::Mat WriteAndRead(const cimage::CImage& image)
    {
        const auto file = folder_ / "picture.png";
        host::WritePng(file, image);
        EXPECT_EQ(std::distance(std::filesystem::directory_iterator(folder_), {}), 1);
        return cv::imread(file.string(), cv::IMREAD_UNCHANGED);
    }
};

TEST_F(PngFileTest, GreyAndMosaicSurviveByteForByte)
{
    for (const char* const format : {"Mono8", "BayerRG8", "Mono16", "BayerGB16"}) {
        const bool wide = std::string(format).find("16") != std::string::npos;
        const auto image = Image(format, wide ? 65535 : 255);
        const cv::Mat read = WriteAndRead(*image);
        ASSERT_EQ(read.size(), cv::Size(5, 3)) << format;
        ASSERT_EQ(read.type(), wide ? CV_16UC1 : CV_8UC1) << format;
        for (int y = 0; y < 3; ++y)
            EXPECT_EQ(std::memcmp(read.ptr(y), image->Data() + static_cast<std::size_t>(y) * image->Stride(),
                                  image->RowBytes()),
                      0)
                << format;
    }
}

TEST_F(PngFileTest, ColoursKeepTheirOrder)
{
    for (const char* const format : {"RGB8", "BGR8", "RGBa8", "BGRa8", "RGB16"}) {
        const bool wide = std::string(format) == "RGB16";
        const auto image = Image(format, wide ? 65535 : 255);
        const cv::Mat read = WriteAndRead(*image);
        const int channels = static_cast<int>(image->Format().channels);
        ASSERT_EQ(read.type(), CV_MAKETYPE(wide ? CV_16U : CV_8U, channels)) << format;
        for (int y = 0; y < 3; ++y) {
            std::uint8_t* const row = image->Data() + static_cast<std::size_t>(y) * image->Stride();
            for (int i = 0; i < 5 * channels; ++i) {
                // The other library always reads blue first.
                const int channel = i % channels;
                const bool swap = format[0] == 'R' && channel < 3;
                const std::size_t ours = static_cast<std::size_t>(swap ? i - channel + 2 - channel : i);
                if (wide)
                    EXPECT_EQ(read.ptr<std::uint16_t>(y)[i], Sample16(row, ours)) << format;
                else
                    EXPECT_EQ(read.ptr(y)[i], row[ours]) << format;
            }
        }
    }
}

TEST_F(PngFileTest, TwelveBitsFillSixteen)
{
    const auto image = Image("Mono12", 4095);
    Sample16(image->Data(), 0) = 4095;
    Sample16(image->Data(), 1) = 0;
    const cv::Mat read = WriteAndRead(*image);
    ASSERT_EQ(read.type(), CV_16UC1);
    EXPECT_EQ(read.at<std::uint16_t>(0, 0), 65535);
    EXPECT_EQ(read.at<std::uint16_t>(0, 1), 0);
    for (int x = 0; x < 5; ++x)
        EXPECT_EQ(read.at<std::uint16_t>(0, x) >> 4, Sample16(image->Data(), static_cast<std::size_t>(x)));
}

TEST_F(PngFileTest, FollowsTheStrideOfAView)
{
    const auto whole = Image("Mono8", 255);
    const auto view = cimage::Wrap(whole->Format(), 2, 2, whole->Stride(), whole->Data() + whole->Stride() + 1, [] {});
    const cv::Mat read = WriteAndRead(*view);
    ASSERT_EQ(read.size(), cv::Size(2, 2));
    EXPECT_EQ(read.at<std::uint8_t>(1, 1), whole->Data()[2 * whole->Stride() + 2]);
}

TEST_F(PngFileTest, RefusesWhatItCannotWrite)
{
    const auto message = [](const std::filesystem::path& file, const std::string& descriptor) -> std::string {
        try {
            host::WritePng(file, *cimage::Build(descriptor));
        } catch (const std::exception& error) {
            return error.what();
        }
        return "written";
    };
    EXPECT_THAT(message(folder_ / "a.png", "YUV422_8 4x4"), HasSubstr("found a YUV422_8 image, wanted"));
    EXPECT_THAT(message(folder_ / "nowhere" / "a.png", "Mono8 4x4"), HasSubstr("No such file or directory"));
    EXPECT_THAT(message("/dev/full/a.png", "Mono8 4x4"), HasSubstr("Not a directory"));
    EXPECT_TRUE(std::filesystem::is_empty(folder_));
}

}  // namespace
