#include <gmock/gmock.h>

#include <boost/date_time/posix_time/posix_time.hpp>
#include <cstring>
#include <iterator>
#include <thread>

#include "drivers/driver_fixture.h"
#include "drivers/picture_files.h"

namespace drivers_test {
namespace {

using testing::ElementsAre;
using testing::ElementsAreArray;
using testing::HasSubstr;
using Keys = std::vector<std::pair<std::string, std::string>>;

class Images : public testing::Test
{
protected:
    std::unique_ptr<capture::CSource> Open(const std::string& pattern, const std::string& format, const Keys& keys = {})
    {
        return driver_.Open({folder_.Path(pattern), "", Settings(keys), format});
    }

    void Run(const std::string& pattern, const std::string& format, const Keys& keys = {})
    {
        Open(pattern, format, keys)->Run(sink_);
    }

    std::string ErrorOfRun(const std::string& pattern, const std::string& format, const Keys& keys = {})
    {
        try {
            Run(pattern, format, keys);
        } catch (const std::runtime_error& error) {
            return error.what();
        }
        return "no error";
    }

    /// File names of what was delivered.
    std::vector<std::string> Names() const
    {
        std::vector<std::string> names;
        for (const auto& frame : sink_.frames)
            names.push_back(boost::filesystem::path(frame.text).filename().string());
        return names;
    }

    /// Sample `index` of row `y` of the last frame.
    template <typename Sample>
    unsigned int At(std::size_t index, unsigned int y) const
    {
        const cimage::CImage& image = *sink_.frames.back().image;
        Sample sample;
        std::memcpy(&sample, image.Data() + y * image.Stride() + index * sizeof(Sample), sizeof(Sample));
        return sample;
    }

    CFolder folder_;
    CFakeSink sink_;
    const capture::CDriver& driver_ = LoadDriver("images");
};

TEST_F(Images, OrdersFilesAsPeopleCount)
{
    const std::vector<std::string> ordered = {"a1-2.pgm",
                                              "a1-10.pgm",
                                              "a02.pgm",
                                              "a2.pgm",
                                              "a10.pgm",
                                              "a99999999999999999999998.pgm",
                                              "a99999999999999999999999.pgm",
                                              "a100000000000000000000000.pgm",
                                              "b.pgm"};
    for (const std::string& name : ordered)
        folder_.WritePgm(name, 2, 2, 0);
    boost::filesystem::create_directory(folder_.Path("a5"));
    Run("*", "Mono8 2x2");
    EXPECT_THAT(Names(), ElementsAreArray(ordered));
}

TEST_F(Images, FoldersThatAreThereMeanThemselves)
{
    const std::string folder = folder_.Path("rig [1]*");
    for (const char* sub : {"", "/in 1", "/in 2"}) {
        boost::filesystem::create_directories(folder + sub);
        folder_.WritePgm("rig [1]*" + std::string(sub) + "/a[2].pgm", 4, 3, 7);
        folder_.WritePgm("rig [1]*" + std::string(sub) + "/a2.pgm", 4, 3, 7);
    }
    const struct
    {
        std::string location;
        std::vector<std::string> names;
    } rows[] = {{"a[2].pgm", {"a[2].pgm"}},
                {"a*.pgm", {"a2.pgm", "a[2].pgm"}},
                {"in ?/a2.pgm", {"a2.pgm", "a2.pgm"}},
                {folder + "/in 1/a[2].*", {"a2.pgm"}}};
    for (const auto& row : rows) {
        sink_.frames.clear();
        driver_.Open({row.location, folder, Settings({}), "Mono8 4x3"})->Run(sink_);
        EXPECT_THAT(Names(), ElementsAreArray(row.names)) << row.location;
    }
}

TEST_F(Images, LoopsAsTold)
{
    folder_.WritePgm("1.pgm", 2, 2, 0);
    folder_.WritePgm("2.pgm", 2, 2, 0);
    for (const auto& row : {std::make_pair("FALSE", 2U), std::make_pair("1", 2U), std::make_pair("3", 6U)}) {
        SCOPED_TRACE(row.first);
        sink_.frames.clear();
        Run("*.pgm", "Mono8 2x2", {{"LOOP", row.first}});
        ASSERT_EQ(sink_.frames.size(), row.second);
        EXPECT_EQ(sink_.frames.back().counter1, row.second - 1);
        EXPECT_EQ(Names().back(), "2.pgm");
    }
}

TEST_F(Images, FaultyKeysAreAllToldAtOnce)
{
    folder_.WritePgm("left01.pgm", 2, 2, 0);
    const struct
    {
        const char* key;
        const char* value;
    } rows[] = {{"LOOP", "0"},     {"LOOP", "-1"},          {"LOOP", "twice"},      {"LOOP", ""},   {"FPS", "0"},
                {"FPS", "-5"},     {"FPS", "1,5"},          {"FPS", "nan"},         {"FPS", "inf"}, {"FPS", "fast"},
                {"STAMPS", "NOW"}, {"STAMPS", "file time"}, {"STAMPS", "FILE NAME"}};
    for (const auto& row : rows) {
        SCOPED_TRACE(std::string(row.key) + "=" + row.value);
        const auto faults = driver_.Check({folder_.Path("*"), "", Settings({{row.key, row.value}}), "Mono8 2x2"});
        ASSERT_EQ(faults.size(), 1U);
        EXPECT_EQ(faults[0].key, row.key);
        EXPECT_THAT(faults[0].found, HasSubstr(row.value));
        EXPECT_FALSE(faults[0].wanted.empty());
    }
    EXPECT_EQ(
        driver_.Check({folder_.Path("none"), "", Settings({{"LOOP", "x"}, {"FPS", "x"}, {"STAMPS", "x"}}), ""}).size(),
        4U);
}

TEST_F(Images, PushesWithoutARateAndOffersWithOne)
{
    folder_.WritePgm("1.pgm", 2, 2, 0);
    Run("*.pgm", "Mono8 2x2", {{"LOOP", "5"}});
    EXPECT_EQ(sink_.pushed, 5U);
    EXPECT_EQ(sink_.offered, 0U);
    Run("*.pgm", "Mono8 2x2", {{"LOOP", "5"}, {"FPS", "2500.5"}});
    EXPECT_EQ(sink_.pushed, 5U);
    EXPECT_EQ(sink_.offered, 5U);
}

TEST_F(Images, StopsWhileItWaitsForTheNextFramesTurn)
{
    folder_.WritePgm("1.pgm", 2, 2, 0);
    const auto source = Open("*.pgm", "Mono8 2x2", {{"LOOP", "TRUE"}, {"FPS", "0.001"}});  // a quarter of an hour
    std::thread stopper;
    sink_.on_frame = [&](const dev::TFrame<>&) {
        stopper = std::thread([&] { source->Stop(); });
        return true;
    };
    source->Run(sink_);
    stopper.join();
    EXPECT_EQ(sink_.frames.size(), 1U);
}

TEST_F(Images, StampsFramesWithTheTimeOfTheFile)
{
    boost::filesystem::last_write_time(folder_.WritePgm("1.pgm", 2, 2, 0), 1234567890);
    Run("*.pgm", "Mono8 2x2");
    EXPECT_EQ(to_iso_extended_string(sink_.frames[0].time_stamp), "2009-02-13T23:31:30");
}

TEST_F(Images, StampsFramesWithTheTimeInTheName)
{
    const std::pair<const char*, const char*> rows[] = {{"1234567890.pgm", "2009-02-13T23:31:30"},
                                                        {"cam0_1234567890123.pgm", "2009-02-13T23:31:30.123000"},
                                                        {"cam7-1234567890123456.pgm", "2009-02-13T23:31:30.123456"},
                                                        {"1234567890123456789.pgm", "2009-02-13T23:31:30.123456"},
                                                        {"rgb.1234567890.25.pgm", "2009-02-13T23:31:30.250000"},
                                                        {"1234567890.1234567.pgm", "2009-02-13T23:31:30.123456"},
                                                        {"12.5-left.pgm", "1970-01-01T00:00:12.500000"},
                                                        {"9223372036854775808.pgm", "2262-04-11T23:47:16.854775"}};
    for (const auto& row : rows) {
        SCOPED_TRACE(row.first);
        const std::string file = folder_.WritePgm(row.first, 2, 2, 0);
        Run("*.pgm", "Mono8 2x2", {{"STAMPS", "FILE NAME"}});
        EXPECT_EQ(to_iso_extended_string(sink_.frames.back().time_stamp), row.second);
        boost::filesystem::remove(file);
    }
}

TEST_F(Images, StampsFramesWithTheClockInUniversalTime)
{
    boost::filesystem::last_write_time(folder_.WritePgm("1.pgm", 2, 2, 0), 1234567890);
    const auto before = boost::posix_time::microsec_clock::universal_time();
    Run("*.pgm", "Mono8 2x2", {{"STAMPS", "CLOCK"}});
    EXPECT_GE(sink_.frames[0].time_stamp, before);
    EXPECT_LE(sink_.frames[0].time_stamp, boost::posix_time::microsec_clock::universal_time());
}

TEST_F(Images, ReadsPicturesOfOtherPrograms)
{
    const struct
    {
        const char* name;
        const char* hex;
        const char* format;
        unsigned int gain;
        unsigned int tolerance;
    } rows[] = {{"grey.png", grey_png, "Mono8 8x4", 1, 0},       {"grey.png", grey_png, "BayerGB8 8x4", 1, 0},
                {"grey.tif", grey_tiff, "Mono8 8x4", 1, 0},      {"grey.jpg", grey_jpeg, "Mono8 8x4", 1, 1},
                {"16.png", grey_16_png, "Mono16 8x4", 200, 0},   {"16.png", grey_16_png, "Mono12 8x4", 200, 0},
                {"16.png", grey_16_png, "BayerRG10 8x4", 200, 0}};
    for (const auto& row : rows) {
        SCOPED_TRACE(std::string(row.name) + " as " + row.format);
        folder_.Write(row.name, FromHex(row.hex));
        Run(row.name, row.format);
        for (unsigned int y = 0; y < 4; ++y) {
            for (unsigned int x = 0; x < 8; ++x)
                ASSERT_NEAR(row.gain == 1 ? At<std::uint8_t>(x, y) : At<std::uint16_t>(x, y), row.gain * PixelOf(x, y),
                            row.tolerance);
        }
    }
}

TEST_F(Images, PutsColoursInTheOrderOfTheFormat)
{
    folder_.Write("c.bmp", FromHex(colour_bmp));
    Run("c.bmp", "RGB8 8x4");
    EXPECT_THAT((std::vector<unsigned int>{At<std::uint8_t>(9, 1), At<std::uint8_t>(10, 1), At<std::uint8_t>(11, 1)}),
                ElementsAre(PixelOf(3, 1) + 2, PixelOf(3, 1) + 1, PixelOf(3, 1)));
    Run("c.bmp", "BGR8 8x4");
    EXPECT_THAT((std::vector<unsigned int>{At<std::uint8_t>(9, 1), At<std::uint8_t>(10, 1), At<std::uint8_t>(11, 1)}),
                ElementsAre(PixelOf(3, 1), PixelOf(3, 1) + 1, PixelOf(3, 1) + 2));

    const std::string wide("\x01\x02\x03\x04\x05\x06", 6);  // red 0x0102, green 0x0304, blue 0x0506
    folder_.Write("c.ppm", "P6\n1 1\n65535\n" + wide);
    Run("c.ppm", "RGB16 1x1");
    EXPECT_EQ(At<std::uint16_t>(0, 0), 0x0102U);
    EXPECT_EQ(At<std::uint16_t>(2, 0), 0x0506U);
}

TEST_F(Images, ReadsBarePixels)
{
    folder_.Write("a.raw", "abcdef");
    Run("a.raw", "BayerRG8 3x2");
    EXPECT_EQ(At<std::uint8_t>(1, 1), static_cast<unsigned int>('e'));
    Run("a.raw", "BayerRG12 3x1");
    const std::uint16_t last = static_cast<std::uint16_t>(At<std::uint16_t>(2, 0));
    EXPECT_EQ(std::memcmp(&last, "ef", 2), 0);
    EXPECT_THAT(ErrorOfRun("a.raw", "BayerRG8 3x1"), HasSubstr("found 6 bytes, wanted BayerRG8 3x1 (FB): 3 bytes"));
    EXPECT_THAT(ErrorOfRun("a.raw", "BayerRG8 3x3"),
                HasSubstr("a.raw: found 6 bytes, wanted BayerRG8 3x3 (FB): 9 bytes"));
}

TEST_F(Images, TellsWhatItFoundAndWhatItWanted)
{
    folder_.WritePgm("grey.pgm", 3, 2, 0);
    folder_.Write("grey16.pgm", "P5\n3 2\n65535\n" + std::string(12, '\0'));
    folder_.Write("colour.ppm", "P6\n3 2\n255\n" + std::string(18, '\0'));
    folder_.Write("junk.jpg", "this is no picture");
    folder_.Write("empty.png", "");
    const struct
    {
        const char* file;
        const char* format;
        const char* message;
    } rows[] = {{"grey.pgm", "Mono8 6x4", "found Mono8 3x2, wanted Mono8 6x4 (FB)"},
                {"grey.pgm", "Mono8 2x3", "found Mono8 3x2, wanted Mono8 2x3 (FB)"},
                {"grey.pgm", "Mono12 3x2", "found Mono8 3x2, wanted Mono12 3x2 (FB)"},
                {"grey16.pgm", "Mono8 3x2", "found Mono16 3x2, wanted Mono8 3x2 (FB)"},
                {"colour.ppm", "BayerGR8 3x2", "found BGR8 3x2, wanted BayerGR8 3x2 (FB)"},
                {"grey.pgm", "RGB8 3x2", "found Mono8 3x2, wanted RGB8 3x2 (FB)"},
                {"colour.ppm", "RGB16 3x2", "found RGB8 3x2, wanted RGB16 3x2 (FB)"},
                {"junk.jpg", "Mono8 3x2", "found no whole picture that can be decoded, wanted Mono8 3x2 (FB)"},
                {"empty.png", "Mono8 3x2", "found no whole picture that can be decoded, wanted Mono8 3x2 (FB)"}};
    for (const auto& row : rows)
        EXPECT_EQ(ErrorOfRun(row.file, row.format), folder_.Path(row.file) + ": " + row.message) << row.format;
    EXPECT_THAT(ErrorOfRun("grey.pgm", "YUV422_8 3x2"), HasSubstr("found YUV422_8 3x2, wanted a Mono, Bayer, RGB"));
}

TEST_F(Images, AnErrorKeepsWhatWasDelivered)
{
    folder_.WritePgm("1.pgm", 2, 2, 7);
    folder_.WritePgm("2.pgm", 3, 2, 0);
    EXPECT_THAT(ErrorOfRun("*.pgm", "Mono8 2x2"), HasSubstr("2.pgm: found Mono8 3x2"));
    ASSERT_EQ(sink_.frames.size(), 1U);
    EXPECT_EQ(At<std::uint8_t>(0, 0), 7U);
}

TEST_F(Images, FilesThatGoAwayOrCannotBeReadAreNamed)
{
    folder_.WritePgm("1.pgm", 2, 2, 0);
    folder_.WritePgm("2.pgm", 2, 2, 0);
    sink_.on_frame = [&](const dev::TFrame<>&) { return boost::filesystem::remove(folder_.Path("2.pgm")); };
    EXPECT_THAT(ErrorOfRun("*.pgm", "Mono8 2x2"), HasSubstr("2.pgm: found No such file"));

    boost::filesystem::create_symlink(folder_.Path("gone"), folder_.Path("3.pgm"));
    const auto faults = driver_.Check({folder_.Path("*.pgm"), "", Settings({}), "Mono8 2x2"});
    ASSERT_EQ(faults.size(), 1U);
    EXPECT_THAT(faults[0].found, HasSubstr("3.pgm: No such file"));
    EXPECT_EQ(faults[0].wanted, "a readable file");
}

TEST_F(Images, APictureCutAnywhereIsRefusedOrWhole)
{
    const std::pair<const char*, const char*> rows[] = {
        {grey_png, "png"}, {grey_tiff, "tif"}, {grey_jpeg, "jpg"}, {grey_16_png, "png"}, {colour_bmp, "bmp"}};
    for (const auto& row : rows) {
        const std::string whole = FromHex(row.first);
        const std::string format = std::string(row.first == grey_16_png  ? "Mono16"
                                               : row.first == colour_bmp ? "BGR8"
                                                                         : "Mono8") +
                                   " 8x4";
        folder_.Write("cut", whole);
        Run("cut", format);
        const auto reference = sink_.frames.back().image;
        const std::size_t size = reference->RowBytes() * reference->Height();
        for (std::size_t length = 0; length < whole.size(); ++length) {
            SCOPED_TRACE(std::string(row.second) + " of " + std::to_string(length) + " bytes");
            folder_.Write("cut", whole.substr(0, length));
            if (ErrorOfRun("cut", format) == "no error") {
                ASSERT_EQ(std::memcmp(sink_.frames.back().image->Data(), reference->Data(), size), 0);
            }
        }
    }
}

TEST_F(Images, FramesKeepTheirPixelsWhileLaterOnesArrive)
{
    for (int i = 0; i < 20; ++i)
        folder_.WritePgm(std::to_string(i) + ".pgm", 4, 4, static_cast<char>(i));
    Run("*.pgm", "Mono8 4x4");
    for (unsigned int i = 0; i < 20; ++i)
        EXPECT_EQ(*sink_.frames[i].image->Data(), i);
}

// The driver is loaded to check a rig, the decoder only to run one.
TEST(ImagesDriver, DoesNotLinkTheDecodersLibraries)
{
    std::ifstream file(ORVO_DRIVERS_DIR "/images.so", std::ios::binary);
    const std::string bytes((std::istreambuf_iterator<char>(file)), std::istreambuf_iterator<char>());
    EXPECT_NE(bytes.find("liborvo_"), std::string::npos);
    EXPECT_EQ(bytes.find("libopencv_"), std::string::npos);
}

}  // namespace
}  // namespace drivers_test
