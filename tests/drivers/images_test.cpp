#include <gmock/gmock.h>

#include <boost/date_time/posix_time/posix_time.hpp>
#include <cstring>
#include <thread>

#include "drivers/driver_fixture.h"
#include "drivers/picture_files.h"

namespace drivers_test {
namespace {

using testing::ElementsAreArray;
using testing::HasSubstr;

class Images : public testing::Test
{
protected:
    void Run(const std::string& pattern, const std::string& format, const Keys& keys = {})
    {
        driver_.Open({folder_.Path(pattern), "", Settings(keys), format})->Run(sink_);
    }

    std::string ErrorOfRun(const std::string& pattern, const std::string& format)
    {
        try {
            Run(pattern, format);
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
    const std::vector<std::string> ordered = {"a1-2",
                                              "a1-10",
                                              "a02",
                                              "a2",
                                              "a10",
                                              "a99999999999999999999998",
                                              "a99999999999999999999999",
                                              "a100000000000000000000000",
                                              "b"};
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
        driver_.Open({row.location, folder, Settings(), "Mono8 4x3"})->Run(sink_);
        EXPECT_THAT(Names(), ElementsAreArray(row.names)) << row.location;
    }
}

TEST_F(Images, LoopsAsToldAndOffersOnlyWithARate)
{
    folder_.WritePgm("1.pgm", 2, 2, 0);
    folder_.WritePgm("2.pgm", 2, 2, 0);
    const struct
    {
        Keys keys;
        std::size_t frames;
        std::size_t offered;
    } rows[] = {{{{"LOOP", "FALSE"}}, 2, 0}, {{{"LOOP", "3"}}, 6, 0}, {{{"LOOP", "3"}, {"FPS", "2500.5"}}, 6, 6}};
    for (const auto& row : rows) {
        sink_.frames.clear();
        Run("*.pgm", "Mono8 2x2", row.keys);
        ASSERT_EQ(sink_.frames.size(), row.frames);
        EXPECT_EQ(sink_.offered, row.offered);
        EXPECT_EQ(sink_.frames.back().counter1, row.frames - 1);
        EXPECT_EQ(Names().back(), "2.pgm");
    }
}

TEST_F(Images, FaultyKeysAreAllToldAtOnce)
{
    folder_.WritePgm("left01.pgm", 2, 2, 0);
    const std::pair<const char*, const char*> rows[] = {
        {"LOOP", "0"},  {"LOOP", "-1"}, {"LOOP", "twice"}, {"LOOP", ""},    {"FPS", "0"},     {"FPS", "-5"},
        {"FPS", "1,5"}, {"FPS", "nan"}, {"FPS", "inf"},    {"FPS", "fast"}, {"STAMPS", "NOW"}};
    for (const auto& row : rows) {
        SCOPED_TRACE(std::string(row.first) + "=" + row.second);
        const auto faults = driver_.Check({folder_.Path("*"), "", Settings({{row.first, row.second}}), "Mono8 2x2"});
        ASSERT_EQ(faults.size(), 1U);
        EXPECT_EQ(faults[0].key, row.first);
        EXPECT_THAT(faults[0].found, HasSubstr(row.second));
        EXPECT_FALSE(faults[0].wanted.empty());
    }
    const auto settings = Settings({{"LOOP", "x"}, {"FPS", "x"}, {"STAMPS", "x"}});
    EXPECT_EQ(driver_.Check({folder_.Path("none"), "", settings, ""}).size(), 4U);
}

TEST_F(Images, StopsWhileItWaitsForTheNextFramesTurn)
{
    folder_.WritePgm("1.pgm", 2, 2, 0);
    const auto source = driver_.Open({folder_.Path("*.pgm"), "", Settings({{"LOOP", "TRUE"}, {"FPS", "0.001"}}),
                                      "Mono8 2x2"});  // a quarter of an hour
    std::thread stopper;
    sink_.on_frame = [&](const dev::TFrame<>&) {
        stopper = std::thread([&] { source->Stop(); });
        return true;
    };
    source->Run(sink_);
    stopper.join();
    EXPECT_EQ(sink_.frames.size(), 1U);
}

TEST_F(Images, StampsFramesAsTold)
{
    const std::pair<const char*, const char*> rows[] = {
        {"cam0_1234567890123", "2009-02-13T23:31:30.123000"},  {"cam7-1234567890123456", "2009-02-13T23:31:30.123456"},
        {"1234567890123456789", "2009-02-13T23:31:30.123456"}, {"rgb.1234567890.25", "2009-02-13T23:31:30.250000"},
        {"12.5-left", "1970-01-01T00:00:12.500000"},           {"9223372036854775808", "2262-04-11T23:47:16.854775"}};
    for (const auto& row : rows) {
        const std::string name = std::string(row.first) + ".pgm";
        folder_.WritePgm(name, 2, 2, 0);
        Run(name, "Mono8 2x2", {{"STAMPS", "FILE NAME"}});
        EXPECT_EQ(to_iso_extended_string(sink_.frames.back().time_stamp), row.second) << name;
    }
    boost::filesystem::last_write_time(folder_.WritePgm("1.pgm", 2, 2, 0), 1234567890);
    Run("1.pgm", "Mono8 2x2");
    EXPECT_EQ(to_iso_extended_string(sink_.frames.back().time_stamp), "2009-02-13T23:31:30");
    const auto before = boost::posix_time::microsec_clock::universal_time();
    Run("1.pgm", "Mono8 2x2", {{"STAMPS", "CLOCK"}});
    EXPECT_GE(sink_.frames.back().time_stamp, before);
    EXPECT_LE(sink_.frames.back().time_stamp, boost::posix_time::microsec_clock::universal_time());
}

TEST_F(Images, PutsColoursInTheOrderOfTheFormat)
{
    folder_.Write("c.bmp", FromHex(colour_bmp));
    Run("c.bmp", "RGB8 8x4");
    for (unsigned int i = 0; i < 3; ++i)
        EXPECT_EQ(At<std::uint8_t>(9 + i, 1), PixelOf(3, 1) + 2 - i);
    Run("c.bmp", "BGR8 8x4");
    for (unsigned int i = 0; i < 3; ++i)
        EXPECT_EQ(At<std::uint8_t>(9 + i, 1), PixelOf(3, 1) + i);
    folder_.Write("c.ppm", "P6\n1 1\n65535\n\x01\x02\x03\x04\x05\x06");  // red 0x0102, green 0x0304, blue 0x0506
    Run("c.ppm", "RGB16 1x1");
    EXPECT_EQ(At<std::uint16_t>(0, 0), 0x0102U);
    EXPECT_EQ(At<std::uint16_t>(2, 0), 0x0506U);
}

TEST_F(Images, TellsWhatItFoundAndWhatItWanted)
{
    folder_.WritePgm("grey.pgm", 3, 2, 0);
    folder_.Write("grey16.pgm", "P5\n3 2\n65535\n" + std::string(12, '\0'));
    folder_.Write("colour.ppm", "P6\n3 2\n255\n" + std::string(18, '\0'));
    folder_.Write("junk.jpg", "this is no picture");
    folder_.Write("a.raw", "abcdef");
    const struct
    {
        const char* file;
        const char* format;
        const char* message;
    } rows[] = {{"grey.pgm", "Mono8 6x4", "found Mono8 3x2, wanted Mono8 6x4 (FB)"},
                {"grey.pgm", "Mono12 3x2", "found Mono8 3x2, wanted Mono12 3x2 (FB)"},
                {"grey16.pgm", "Mono8 3x2", "found Mono16 3x2, wanted Mono8 3x2 (FB)"},
                {"colour.ppm", "BayerGR8 3x2", "found BGR8 3x2, wanted BayerGR8 3x2 (FB)"},
                {"colour.ppm", "RGB16 3x2", "found RGB8 3x2, wanted RGB16 3x2 (FB)"},
                {"junk.jpg", "Mono8 3x2", "found no whole picture that can be decoded, wanted Mono8 3x2 (FB)"},
                {"a.raw", "BayerRG8 3x1", "found 6 bytes, wanted BayerRG8 3x1 (FB): 3 bytes"},
                {"a.raw", "BayerRG8 3x3", "found 6 bytes, wanted BayerRG8 3x3 (FB): 9 bytes"}};
    for (const auto& row : rows)
        EXPECT_EQ(ErrorOfRun(row.file, row.format), folder_.Path(row.file) + ": " + row.message) << row.format;
    Run("a.raw", "BayerRG12 3x1");
    EXPECT_EQ(std::memcmp(sink_.frames.back().image->Data(), "abcdef", 6), 0);
    EXPECT_THAT(ErrorOfRun("grey.pgm", "YUV422_8 3x2"), HasSubstr("found YUV422_8 3x2, wanted a Mono, Bayer, RGB"));
}

TEST_F(Images, AFileThatGoesAwayIsNamedAndWhatCameBeforeIsDelivered)
{
    folder_.WritePgm("1.pgm", 2, 2, 7);
    folder_.WritePgm("2.pgm", 2, 2, 0);
    sink_.on_frame = [&](const dev::TFrame<>&) { return boost::filesystem::remove(folder_.Path("2.pgm")); };
    EXPECT_THAT(ErrorOfRun("*.pgm", "Mono8 2x2"), HasSubstr("2.pgm: found No such file"));
    ASSERT_EQ(sink_.frames.size(), 1U);
    EXPECT_EQ(At<std::uint8_t>(0, 0), 7U);
}

TEST_F(Images, ReadsPicturesOfOtherProgramsWholeOrNotAtAll)
{
    const struct
    {
        const char* hex;
        const char* format;
        std::size_t step;  // in samples
        unsigned int gain;
    } rows[] = {{grey_tiff, "BayerGB8 8x4", 1, 1},
                {grey_jpeg, "Mono8 8x4", 1, 1},
                {grey_16_png, "Mono12 8x4", 1, 200},
                {colour_bmp, "BGR8 8x4", 3, 1}};
    for (const auto& row : rows) {
        const std::string whole = FromHex(row.hex);
        folder_.Write("cut", whole);
        Run("cut", row.format);
        const auto reference = sink_.frames.back().image;
        for (unsigned int i = 0; i < 32; ++i) {
            const std::size_t index = i % 8 * row.step;
            const unsigned int value = row.gain == 1 ? At<std::uint8_t>(index, i / 8) : At<std::uint16_t>(index, i / 8);
            EXPECT_NEAR(value, row.gain * PixelOf(i % 8, i / 8), row.hex == grey_jpeg ? 1 : 0) << row.format;
        }
        for (std::size_t length = 0; length < whole.size(); ++length) {
            folder_.Write("cut", whole.substr(0, length));
            if (ErrorOfRun("cut", row.format) == "no error") {
                const std::uint8_t* const pixels = sink_.frames.back().image->Data();
                ASSERT_EQ(std::memcmp(pixels, reference->Data(), reference->RowBytes() * reference->Height()), 0)
                    << row.format << " of " << length << " bytes";
            }
        }
    }
}

}  // namespace
}  // namespace drivers_test
