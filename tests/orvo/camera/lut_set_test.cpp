#include "dev/lut_set.h"

#include <gmock/gmock.h>

#include <boost/filesystem/fstream.hpp>
#include <boost/filesystem/operations.hpp>

#include "orvo/camera/camera_fixture.h"
#include "orvo_var_replacer/var_replacer.h"

namespace {

namespace fs = boost::filesystem;
using test::File;

/// A camera whose tables lie in DATA and are saved to SAVED.
class LUTs : public test::CameraFixture
{
protected:
    LUTs()
    {
        fs::create_directories(data / "more");
        fs::create_directory(saved);
    }
    ~LUTs() override { fs::remove_all(folder); }

    void Write(const fs::path& path, const std::string& bytes) { fs::ofstream(path, std::ios::binary) << bytes; }

    std::string Read(const fs::path& path)
    {
        fs::ifstream file(path, std::ios::binary);
        return file ? std::string(std::istreambuf_iterator<char>(file), {}) : "no file";
    }

    /// The line of one table.
    std::string Line(const std::string& key, const fs::path& path, const std::string& reference)
    {
        return "LUTSet::Save " + key + " \"" + path.string() + "\" " + reference + ' ' + saved.string() + '\n';
    }

    const fs::path folder = fs::temp_directory_path() / fs::unique_path("orvo-luts-%%%%-%%%%");
    const fs::path data = folder / "data";
    const fs::path saved = folder / "saved";
    kt::CVarReplacer vars{data, folder / "rig.ini"};
};

TEST_F(LUTs, AreSavedWithTheirFiles)
{
    const std::string bytes("a\0\r\n\xff", 5);
    Write(data / "left.lut", "earlier");
    Write(data / "more" / "left.lut", bytes);
    Write(data / "plain.lut", "plain");
    Write(saved / "here.lut", "stays");
    Write(saved / "plain.lut", "longer than the new one");
    const std::string plain = (data / "plain.lut").string();
    const std::string here = (saved / "here.lut").string();
    camera.LoadLUTs(File({{"LUT", "$DATA_DIR/left.lut"},
                          {"LUT B", plain},
                          {"LUT C", "$DATA_DIR/gone$DATA_DIR"},
                          {"LUT D", here},
                          {"LUTE", "$DATA_DIR/more/left.lut"},
                          {"A LUT", "$DATA_DIR/other"}}),
                    vars);
    camera.LoadLUTs(File({{"LUT", "again"}}), vars);
    EXPECT_EQ(camera.LUT("LUT").reference, "$DATA_DIR/left.lut") << "the first entry stays";
    EXPECT_EQ(camera.LUT("LUT").path, (data / "left.lut").string());
    EXPECT_EQ(camera.LUT("LUT X").reference + camera.LUT("LUT X").path, "");
    EXPECT_EQ(camera.LUTs().size(), 5U) << "asking adds nothing";

    kt::ini::INIFile ini = File({{"LUT B", "old"}});
    camera.SaveLUTs(ini, saved);
    EXPECT_EQ(test::Contents(ini), (test::Keys{{"LUT", "$INAME/left.lut"},
                                               {"LUT B", plain},
                                               {"LUT C", "$INAME/gone$INAME"},
                                               {"LUT D", here},
                                               {"LUTE", "$INAME/more/left.lut"}}));
    const std::string gone = camera.LUT("LUT C").path;
    EXPECT_EQ(console.Take(), Line("LUT", data / "left.lut", "$DATA_DIR/left.lut") + Line("LUT B", plain, plain) +
                                  Line("LUT C", gone, "$DATA_DIR/gone$DATA_DIR") + Line("LUT D", here, here) +
                                  Line("LUTE", data / "more" / "left.lut", "$DATA_DIR/more/left.lut"));
    EXPECT_EQ(Read(saved / "left.lut"), bytes) << "of one name the last one stays";
    EXPECT_EQ(Read(saved / "plain.lut"), "plain");
    EXPECT_EQ(Read(saved / fs::path(gone).filename()), "") << "what could not be read is an empty copy";
    EXPECT_EQ(Read(saved / "here.lut"), "stays") << "a file is not copied onto itself";
}

}  // namespace
