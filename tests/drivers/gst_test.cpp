// Sources that GStreamer opens.
#include <arpa/inet.h>
#include <gmock/gmock.h>
#include <sys/socket.h>
#include <unistd.h>

#include <cstdlib>
#include <future>

#include "dev/camera/video_property.h"
#include "drivers/driver_fixture.h"
#include "orvo_ui/panel_manager.h"

namespace drivers_test {
namespace {

using testing::AllOf;
using testing::ElementsAreArray;
using testing::EndsWith;
using testing::HasSubstr;
using testing::StartsWith;

class Gst : public testing::Test
{
protected:
    capture::TRequest Request(const std::string& location, const std::string& format, const Keys& keys = {})
    {
        settings_.push_back(std::make_unique<kt::ini::INIFile>(Settings(keys)));
        return {location, folder_.Path(""), *settings_.back(), format,
                [this](const std::string& sentence) { told_.push_back(sentence); }};
    }
    std::unique_ptr<capture::CSource> Open(const std::string& line, const std::string& format, const Keys& keys = {})
    {
        return driver_.Open(Request(line, format, keys));
    }
    /// What the error says of opening and running, or nothing.
    std::string Error(const std::string& line, const std::string& format)
    {
        try {
            Open(line, format)->Run(sink_);
        } catch (const std::runtime_error& error) {
            return error.what();
        }
        return {};
    }
    /// The bytes of a row that hold pixels.
    static std::vector<int> Row(const dev::TFrame<>& frame, unsigned int y)
    {
        const std::uint8_t* const row = frame.image->Data() + y * frame.image->Stride();
        return {row, row + frame.image->RowBytes()};
    }

    CFolder folder_;
    CFakeSink sink_;
    std::vector<std::string> told_;
    std::vector<std::unique_ptr<kt::ini::INIFile>> settings_;
    const capture::CDriver& driver_ = LoadDriver("gst");
};

TEST_F(Gst, KeepsEveryPixelInItsPlaceWhateverLiesBetweenRows)
{
    // Rows of five bytes: one after another in the file, padded to eight by the element that makes new frames.
    folder_.Write("frames.raw", "abcdefghijklmnoABCDEFGHIJKLMNO");
    const std::string read =
        "filesrc location=frames.raw ! rawvideoparse format=gray8 width=5 height=3 plane-strides=<5>";
    for (const bool mirrored : {false, true}) {
        SCOPED_TRACE(mirrored);
        sink_.frames.clear();
        Open(read + (mirrored ? " ! videoflip video-direction=horiz" : ""), "Mono8 5x3")->Run(sink_);
        ASSERT_EQ(sink_.frames.size(), 2U);  // the source is gone, the images stay
        EXPECT_THAT(Row(sink_.frames[0], 1), ElementsAreArray(mirrored ? "jihgf" : "fghij", 5));
        EXPECT_THAT(Row(sink_.frames[1], 2), ElementsAreArray(mirrored ? "ONMLK" : "KLMNO", 5));
        EXPECT_EQ(sink_.frames[1].image->Stride(), mirrored ? 8U : 5U);
    }
}

TEST_F(Gst, NamesColoursInTheOrderInWhichTheyLie)
{
    const std::string orange = "videotestsrc num-buffers=1 pattern=solid-color foreground-color=0xffff8000";
    const std::string red = "videotestsrc num-buffers=1 pattern=red";
    const struct
    {
        std::string line;
        const char* format;
        std::vector<int> begin;
    } table[] = {{orange, "RGB8 6x4", {255, 128, 0}},
                 {orange, "BGR8 6x4", {0, 128, 255}},
                 {orange, "RGBa8 6x4", {255, 128, 0, 255}},
                 {orange, "BGRa8 6x4", {0, 128, 255, 255}},
                 {red, "BayerRG8 6x4", {255, 0, 255, 0}},
                 {red, "BayerGR8 6x4", {0, 255, 0, 255}},
                 {red, "BayerGB8 6x4", {0, 0, 0, 0}},
                 {red, "BayerBG8 6x4", {0, 0, 0, 0}},
                 {orange, "Mono16 6x4", {}}};
    for (const auto& row : table) {
        SCOPED_TRACE(row.format);
        sink_.frames.clear();
        Open(row.line, row.format)->Run(sink_);
        ASSERT_EQ(sink_.frames.size(), 1U);
        EXPECT_EQ(sink_.frames[0].image->Descriptor(), row.format);
        for (std::size_t i = 0; i < row.begin.size(); ++i)
            EXPECT_NEAR(Row(sink_.frames[0], 0)[i], row.begin[i], 3);
    }
}

TEST_F(Gst, PlaysAFileWithItsTimes)
{
    // Another branch of the line writes what ours delivers.
    Open(
        "videotestsrc num-buffers=8 ! video/x-raw,framerate=25/1 ! tee name=t ! queue ! jpegenc ! avimux ! "
        "filesink location=clip.avi t. ! queue",
        "Mono8 64x48")
        ->Run(sink_);
    CFakeSink played;
    // There is no sound in it, of which the element warns.
    Open("filesrc location=clip.avi ! decodebin name=d d. ! audioconvert d.", "Mono8 64x48")->Run(played);
    EXPECT_THAT(told_, testing::ElementsAre(StartsWith("d: Delayed linking failed.")));
    ASSERT_EQ(played.frames.size(), 8U);
    EXPECT_EQ(played.offered, 0U);
    for (std::size_t i = 0; i < 8; ++i) {
        EXPECT_EQ(played.frames[i].counter1, i);
        EXPECT_EQ((played.frames[i].time_stamp - played.frames[0].time_stamp).total_milliseconds(),
                  static_cast<long>(i) * 40);
        for (const unsigned int y : {0U, 20U, 40U})
            EXPECT_THAT(Row(played.frames[i], y), testing::Pointwise(testing::FloatNear(30), Row(sink_.frames[i], y)));
    }
}

TEST_F(Gst, OffersALiveStreamWithTheTimesOfItsFrames)
{
    const auto source = Open("videotestsrc is-live=true ! video/x-raw,framerate=200/1", "Mono8 64x48");
    const auto before = boost::posix_time::microsec_clock::universal_time();
    sink_.on_frame = [&](const dev::TFrame<>&) {
        if (sink_.frames.size() == 10)
            source->Stop();
        return true;
    };
    source->Run(sink_);
    const auto after = boost::posix_time::microsec_clock::universal_time();
    EXPECT_EQ(sink_.offered, sink_.frames.size());
    ASSERT_GE(sink_.frames.size(), 10U);
    EXPECT_GE(sink_.frames[0].time_stamp, before);
    EXPECT_LE(sink_.frames.back().time_stamp, after);
    for (std::size_t i = 1; i < sink_.frames.size(); ++i)
        EXPECT_GT(sink_.frames[i].time_stamp, sink_.frames[i - 1].time_stamp);
}

TEST_F(Gst, PlaysAtTheStreamsOwnPaceWhenAsked)
{
    const auto start = std::chrono::steady_clock::now();
    Open("videotestsrc num-buffers=4 ! video/x-raw,framerate=20/1", "Mono8 64x48", {{"SYNC", "TRUE"}})->Run(sink_);
    EXPECT_EQ(sink_.frames.size(), 4U);
    EXPECT_GE(std::chrono::steady_clock::now() - start, std::chrono::milliseconds(150));
}

TEST_F(Gst, NamesTheElementThatFailsAndKeepsTheFramesBefore)
{
    for (int run = 0; run < 2; ++run) {  // the second time, the numbers of the elements are the same
        sink_.frames.clear();
        EXPECT_THAT(Error("videotestsrc ! identity error-after=4", "Mono8 64x48"),
                    AllOf(StartsWith("identity0: found "), EndsWith(", wanted a pipeline that runs")));
        EXPECT_EQ(sink_.frames.size(), 3U);
    }
}

TEST_F(Gst, SaysWhatItFoundAndWanted)
{
    for (const std::string name : {"0.jpg Mono8 64x48", "1.jpg Mono8 32x24"})
        Open("videotestsrc num-buffers=1 ! tee name=t ! queue ! jpegenc ! filesink location=" + name.substr(0, 5) +
                 " t. ! queue",
             name.substr(6))
            ->Run(sink_);
    const std::string grey = " ! video/x-raw,format=GRAY8,width=64,height=48";
    const std::string yuv = "videotestsrc ! video/x-raw,format=I420,width=64,height=48";
    const struct
    {
        std::string line;
        const char* format;
        const char* says;
    } table[] = {
        {"videotestsrc" + grey, "Mono8 32x24", "found GRAY8 64x48 (Mono8 64x48), wanted Mono8 32x24 (FB)"},
        {yuv, "Mono8 64x48", "found I420 64x48, wanted Mono8 64x48 (FB)"},
        {yuv + " ! jpegenc ! jpegdec", "Mono8 64x48", "found I420 64x48, wanted Mono8 64x48 (FB)"},
        {yuv + " ! jpegenc ! decodebin", "Mono8 64x48", "found I420 64x48, wanted Mono8 64x48 (FB)"},
        {yuv + " ! videoconvert", "Mono8 32x24", "found I420 64x48, many formats 64x48, wanted Mono8 32x24 (FB)"},
        {"filesrc location=0.jpg", "Mono8 64x48", "found frames without caps, wanted Mono8 64x48 (FB)"},
        {"multifilesrc location=%d.jpg caps=image/jpeg ! jpegdec", "Mono8 64x48",
         "found GRAY8 32x24 (Mono8 32x24), wanted Mono8 64x48 (FB)"},
        {"filesrc location=nowhere.avi ! decodebin", "Mono8 64x48", "filesrc0: found Resource not found"},
    };
    for (const auto& row : table) {
        SCOPED_TRACE(row.line);
        sink_.frames.clear();
        EXPECT_THAT(Error(row.line, row.format), StartsWith(row.says));
    }
}

TEST_F(Gst, ChecksALineWithoutStartingIt)
{
    const struct
    {
        const char* line;
        const char* format;
        const char* key;
        const char* found;
    } table[] = {
        {"", "Mono8 6x4", "SOURCE", "nothing"},
        {"videotestsrc !", "Mono8 6x4", "SOURCE", "syntax error"},
        {"videotestsrc ! nosuchelement", "Mono8 6x4", "SOURCE", "nosuchelement"},
        {"videotestsrc colour=red", "Mono8 6x4", "SOURCE", "colour"},
        {"videotestsrc ! filesink location=written", "Mono8 6x4", "SOURCE", "filesink"},
        {"v4l2:/dev/nowhere", "Mono8 6x4", "SOURCE", "/dev/nowhere: No such file"},
        {"videotestsrc", "Mono12 6x4", "FB", "Mono12 6x4"},
    };
    for (const auto& row : table) {
        SCOPED_TRACE(row.line);
        const auto faults = driver_.Check(Request(row.line, row.format));
        ASSERT_EQ(faults.size(), 1U);
        EXPECT_EQ(faults[0].key, row.key);
        EXPECT_THAT(faults[0].found, HasSubstr(row.found));
    }
    EXPECT_TRUE(driver_.Check(Request("rtsp://127.0.0.1/none", "Mono8 6x4", {{"SYNC", "FALSE"}})).empty());
    EXPECT_EQ(driver_.Check(Request("videotestsrc", "Mono8 6x4", {{"SYNC", "MAYBE"}})).size(), 1U);
    EXPECT_FALSE(boost::filesystem::exists(folder_.Path("written")));
}

TEST_F(Gst, StopsWhileTheNetworkDoesNotAnswer)
{
    const int listener = ::socket(AF_INET, SOCK_STREAM, 0);
    ::sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = ::htonl(INADDR_LOOPBACK);
    ::socklen_t size = sizeof address;
    ASSERT_EQ(::bind(listener, reinterpret_cast<::sockaddr*>(&address), size), 0);
    ASSERT_EQ(::listen(listener, 1), 0);
    ASSERT_EQ(::getsockname(listener, reinterpret_cast<::sockaddr*>(&address), &size), 0);
    const auto source =
        Open("rtsp://127.0.0.1:" + std::to_string(::ntohs(address.sin_port)) + "/silent", "Mono8 64x48");
    auto run = std::async(std::launch::async, [&] { source->Run(sink_); });
    const int silent = ::accept(listener, nullptr, nullptr);
    source->Stop();
    EXPECT_EQ(run.wait_for(std::chrono::seconds(10)), std::future_status::ready);
    ::close(silent);
    ::close(listener);
}

TEST_F(Gst, AdjustsElementsThatRun)
{
    const std::string line =
        "videotestsrc pattern=solid-color foreground-color=0xff000000 ! videobalance name=a.b ! queue";
    const auto source = Open(line, "Mono8 64x48");
    const auto properties = source->Properties();
    ASSERT_EQ(properties.size(), 2U);
    EXPECT_EQ(properties[0]->Name(), "videotestsrc0");
    EXPECT_EQ(properties[1]->Name(), "a_b");
    EXPECT_EQ(properties[0]->Attributes().count("blocksize"), 0U);
    EXPECT_EQ(properties[1]->Attributes().count("qos"), 0U);
    const auto variable = [&](std::size_t property, const char* name) {
        return ui::PanelManagerInstance().Variable(properties[property]->Attribute(name).Id());
    };
    const auto colour = variable(0, "foreground-color");
    const auto contrast = variable(1, "contrast");
    std::string text;
    contrast->Get(text, ui::detail::Access_Internal);
    EXPECT_EQ(text, "1");
    EXPECT_THROW(contrast->Set(std::string("2.5"), ui::detail::Access_Internal, 0), std::runtime_error);

    bool turned_white = false;
    sink_.on_frame = [&](const dev::TFrame<>& frame) {
        if (sink_.frames.size() == 3)
            colour->Set(std::string("4294967295"), ui::detail::Access_Internal, 0);
        turned_white = *frame.image->Data() > 200;
        EXPECT_FALSE(turned_white && sink_.frames.size() < 3);
        return !turned_white && sink_.frames.size() < 200;
    };
    source->Run(sink_);
    EXPECT_TRUE(turned_white);
    colour->Get(text, ui::detail::Access_Internal);
    EXPECT_EQ(text, "4294967295");
    EXPECT_THROW(colour->Set(std::string("0"), ui::detail::Access_Internal, 0), std::runtime_error);
}

TEST_F(Gst, DescribesWhatALineDelivers)
{
    for (const std::string live : {"", " is-live=true"}) {
        const auto description = driver_.Describe(
            Request("videotestsrc" + live + " ! video/x-raw,format=UYVY,width=6,height=4", "no format"));
        EXPECT_EQ(description.format, "YUV422_8_UYVY 6x4");
    }
    for (const std::string& location : driver_.Locations())
        EXPECT_THAT(location, StartsWith("v4l2:/dev/"));
}

}  // namespace
}  // namespace drivers_test
