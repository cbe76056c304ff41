// Pictures on disk, read back by another library: every kind of pixel, and those of orvo run --output.
#include <gmock/gmock.h>
#include <opencv2/imgcodecs.hpp>

#include "host/rig_fixture.h"
#include "host/spawned_program.h"
#include "orvo_proc_cimage/image.h"
#include "run/png_file.h"

namespace {

using host_test::good_rig;
using host_test::With;
using testing::ElementsAre;
using testing::HasSubstr;

class PicturesTest : public host_test::RigFixture
{
protected:
    cv::Mat ReadPicture(const std::string& name) const
    {
        return cv::imread((folder_ / name).string(), cv::IMREAD_UNCHANGED);
    }

    host_test::TEnded Run(const std::string& rig)
    {
        return host_test::Orvo({"run", Write("rig.ini", rig).string(), "--output", folder_.string()});
    }

    std::vector<std::string> Files(const std::string& camera) const
    {
        std::vector<std::string> names;
        for (const auto& entry : std::filesystem::directory_iterator(folder_ / camera))
            names.push_back(entry.path().filename());
        std::sort(names.begin(), names.end());
        return names;
    }
};

TEST_F(PicturesTest, KeepEverySample)
{
    const std::vector<std::string> formats = {"Mono8", "BayerRG8", "Mono12", "Mono16", "BayerGB16",
                                              "RGB8",  "BGR8",     "RGBa8",  "BGRa8",  "RGB16"};
    for (const std::string& format : formats) {
        SCOPED_TRACE(format);
        const bool wide = format.find('1') != std::string::npos;
        const bool twelve = format == "Mono12";
        const auto whole = cimage::Build(format + " 5x3");
        // A view, whose rows lie further apart than they are long.
        const auto image =
            cimage::Wrap(whole->Format(), 4, 3, whole->Stride(), whole->Data() + whole->RowBytes() / 5, [] {});
        const int channels = static_cast<int>(whole->Format().channels);
        const auto sample = [&](int y, int i) {
            return y + i == 0 ? (twelve ? 4095
                                 : wide ? 65535
                                        : 255)
                              : (y * 60 + i * 7) * (twelve ? 20
                                                    : wide ? 250
                                                           : 1);
        };
        for (int y = 0; y < 3; ++y)
            for (int i = 0; i < 4 * channels; ++i) {
                const std::size_t bytes = wide ? 2 : 1;  // little-endian
                const int value = sample(y, i);
                std::memcpy(
                    image->Data() + static_cast<std::size_t>(y) * image->Stride() + static_cast<std::size_t>(i) * bytes,
                    &value, bytes);
            }
        host::WritePng(folder_ / "picture.png", *image);
        EXPECT_EQ(std::distance(std::filesystem::directory_iterator(folder_), {}), 1);
        const cv::Mat read = ReadPicture("picture.png");
        ASSERT_EQ(read.size(), cv::Size(4, 3));
        ASSERT_EQ(read.type(), CV_MAKETYPE(wide ? CV_16U : CV_8U, channels));
        for (int y = 0; y < 3; ++y)
            for (int i = 0; i < 4 * channels; ++i) {
                // The other library always reads blue first.
                const int channel = i % channels;
                const int ours = format[0] == 'R' && channel < 3 ? i - channel + 2 - channel : i;
                const int value = wide ? read.ptr<std::uint16_t>(y)[i] : read.ptr(y)[i];
                EXPECT_EQ(twelve ? value >> 4 : value, sample(y, ours));
            }
        EXPECT_TRUE(!twelve || read.at<std::uint16_t>(0, 0) == 65535);  // twelve bits fill sixteen
    }
}

TEST_F(PicturesTest, ThatCannotBeWrittenLeaveNothing)
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
    EXPECT_TRUE(std::filesystem::is_empty(folder_));
}

TEST_F(PicturesTest, OfARunAreTheRegionsThatTheOutputNodesMade)
{
    ASSERT_EQ(Run(With(good_rig, "ROI = 0 0 7 5", "ROI = 2 1 5 4")).code, 0);
    // The output node of the left camera takes every second frame; the right one's is the root.
    EXPECT_THAT(Files("left"), ElementsAre("000001.png", "000003.png"));
    EXPECT_THAT(Files("right"), ElementsAre("000000.png", "000001.png", "000002.png"));
    const cv::Mat picture = ReadPicture("left/000003.png");
    ASSERT_EQ(picture.size(), cv::Size(4, 4));
    for (int y = 0; y < 4; ++y)
        for (int x = 0; x < 4; ++x)
            EXPECT_EQ(picture.at<std::uint8_t>(y, x), 16 * (y + 1) + x + 2 + 3);
}

TEST_F(PicturesTest, OfARunThatCannotBeWrittenAreDataLost)
{
    const auto ended = Run(With(good_rig, "Mono8 8x6\nROI", "YUV422_8 8x6\nROI"));
    EXPECT_EQ(ended.code, 3);
    EXPECT_THAT(ended.talk, HasSubstr("left: output: found a YUV422_8 image, wanted"));
    EXPECT_EQ(Files("right").size(), 3u);
}

}  // namespace
