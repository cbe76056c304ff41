// orvo run --output: the pictures of the output nodes, read back by another library.
#include <gmock/gmock.h>
#include <opencv2/imgcodecs.hpp>

#include "host/rig_fixture.h"
#include "host/spawned_program.h"

namespace {

using host_test::good_rig;
using host_test::Orvo;
using host_test::With;
using testing::ElementsAre;
using testing::HasSubstr;

class ProgramPicturesTest : public host_test::RigFixture
{
protected:
    std::vector<std::string> Files(const std::string& camera) const
    {
        std::vector<std::string> names;
        for (const auto& entry : std::filesystem::directory_iterator(folder_ / "pictures" / camera))
            names.push_back(entry.path().filename());
        std::sort(names.begin(), names.end());
        return names;
    }

    int Run(const std::string& rig)
    {
        const auto ended = Orvo({"run", Write("rig.ini", rig).string(), "--output", (folder_ / "pictures").string()});
        talk_ = ended.talk;
        return ended.code;
    }

    std::string talk_;
};

TEST_F(ProgramPicturesTest, AreThoseThatTheOutputNodeMade)
{
    ASSERT_EQ(Run(good_rig), 0);
    // The output node of the left camera takes every second frame; the right one's is the root.
    EXPECT_THAT(Files("left"), ElementsAre("000001.png", "000003.png"));
    EXPECT_THAT(Files("right"), ElementsAre("000000.png", "000001.png", "000002.png"));
    const cv::Mat picture = cv::imread((folder_ / "pictures/left/000003.png").string(), cv::IMREAD_UNCHANGED);
    ASSERT_EQ(picture.size(), cv::Size(8, 6));
    for (int y = 0; y < 6; ++y)
        for (int x = 0; x < 8; ++x)
            EXPECT_EQ(picture.at<std::uint8_t>(y, x), 16 * y + x + 3);
}

TEST_F(ProgramPicturesTest, ShowTheRegion)
{
    ASSERT_EQ(Run(With(good_rig, "ROI = 0 0 7 5", "ROI = 2 1 5 4")), 0);
    const cv::Mat picture = cv::imread((folder_ / "pictures/left/000001.png").string(), cv::IMREAD_UNCHANGED);
    ASSERT_EQ(picture.size(), cv::Size(4, 4));
    EXPECT_EQ(picture.at<std::uint8_t>(0, 0), 16 * 1 + 2 + 1);
    EXPECT_EQ(picture.at<std::uint8_t>(3, 3), 16 * 4 + 5 + 1);
}

TEST_F(ProgramPicturesTest, ThatCannotBeWrittenAreDataLost)
{
    EXPECT_EQ(Run(With(good_rig, "Mono8 8x6\nROI", "YUV422_8 8x6\nROI")), 3);
    EXPECT_THAT(talk_, HasSubstr("left: output: found a YUV422_8 image, wanted"));
    EXPECT_EQ(Files("right").size(), 3u);
}

}  // namespace
