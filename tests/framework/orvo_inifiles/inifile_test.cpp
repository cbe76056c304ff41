#include "orvo_inifiles/inifile.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <functional>
#include <iostream>
#include <sstream>

#include "framework/orvo_inifiles/folder.h"

namespace {

using kt::ini::INIFile;
using kt::ini::TFault;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::StartsWith;

const std::string megabyte(1 << 20, 'x');

class INIFileTest : public testing::Test
{
protected:
    INIFile Open(const std::string& text, const std::string& section = "A")
    {
        folder_.Write("rig.ini", text);
        return INIFile(file_, section);
    }

    /// All sections, keys and values: "[A]K=v;L=w;[B]".
    static std::string Content(const INIFile& ini)
    {
        std::string content;
        for (const std::string& name : ini.Sections()) {
            const INIFile section = ini.Section(name);
            content += "[" + name + "]";
            for (const std::string& key : section.Keys())
                content += key + "=" + section.Value<std::string>(key) + ";";
        }
        return content;
    }

    test::CFolder folder_;
    const boost::filesystem::path file_ = folder_ / "rig.ini";
};

TEST_F(INIFileTest, ReadsAndWritesBackEveryByte)
{
    const struct
    {
        const char* name;
        std::string text;
        std::string content;
    } rows[] = {
        {"empty file", "", ""},
        {"comments and blank lines", "; c\n\n# d = 1\n \t \n[A]\n  ; e\nK=v\n\n", "[A]K=v;"},
        {"blanks around all parts", "  [ A ]\t\n\t K \t=  v \t\n", "[A]K=v;"},
        {"blanks inside", "[A  B]\nFOCAL LENGTH = 1.5,  2\n", "[A  B]FOCAL LENGTH=1.5,  2;"},
        {"comment characters in a value", "[A]\nK = a ; b # c = d [e]\n", "[A]K=a ; b # c = d [e];"},
        {"empty values", "[A]\nK=\nL = \nM =  \t", "[A]K=;L=;M=;"},
        {"case counts", "[A]\nK=1\nk=2\n[a]\nK=3\n", "[A]K=1;k=2;[a]K=3;"},
        {"same key in two sections", "[A]\nK=1\n[B]\nK=2\n", "[A]K=1;[B]K=2;"},
        {"no end of the last line", "[A]\nK=v", "[A]K=v;"},
        {"no end of a header", "[A]\nK=v\n[B]", "[A]K=v;[B]"},
        {"CRLF", "[A]\r\nK=v\r\n\r\nL=\r\n", "[A]K=v;L=;"},
        {"mixed line ends", "[A]\nK=v\r\n; c\nL=w\r\nM=x", "[A]K=v;L=w;M=x;"},
        {"byte-order mark", "\xef\xbb\xbf[A]\nK=v\n", "[A]K=v;"},
        {"byte-order mark alone", "\xef\xbb\xbf", ""},
        {"bytes that are no UTF-8", "[\xff]\n\x80\xfe = \xc3\n", "[\xff]\x80\xfe=\xc3;"},
        {"megabyte lines", "[A]\n;" + megabyte + "\n" + megabyte + "=" + megabyte + "\nL=w\n",
         "[A]" + megabyte + "=" + megabyte + ";L=w;"},
        {"brackets in a name", "[A[1]\n", "[A[1]"},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        const INIFile ini = Open(row.text);
        EXPECT_TRUE(Content(ini) == row.content);
        ini.Save();
        EXPECT_TRUE(folder_.Read("rig.ini") == row.text);
        EXPECT_THAT(folder_.List(), ElementsAre("rig.ini"));
    }
}

TEST_F(INIFileTest, ReplacesChangedValuesAndAddsLinesWhereTheyBelong)
{
    const struct
    {
        const char* name;
        std::string text;
        std::vector<std::vector<std::string>> sets;  ///< section, key, value
        std::string saved;
    } rows[] = {
        {"value in place", "[A]\n K\t=  old ; x  \nL=w\n", {{"A", "K", "new"}}, "[A]\n K\t=  new  \nL=w\n"},
        {"to nothing and from nothing",
         "[A]\nK = v\nL=\nM = \n",
         {{"A", "K", ""}, {"A", "L", "1"}, {"A", "M", "2"}},
         "[A]\nK = \nL=1\nM = 2\n"},
        {"there and back", "[A]\nK=v\n", {{"A", "K", "w"}, {"A", "K", "v"}}, "[A]\nK=v\n"},
        {"the last of several",
         "[A]\nK=v\n",
         {{"A", "K", "1"}, {"A", "K", "2"}, {"A", "N", "3"}, {"A", "N", "4"}},
         "[A]\nK=2\nN = 4\n"},
        {"behind the last key",
         "[A]\nK=v\n\n; B is next\n[B]\nL=w\n",
         {{"A", "N", "1"}, {"A", "O", ""}},
         "[A]\nK=v\nN = 1\nO = \n\n; B is next\n[B]\nL=w\n"},
        {"behind the header",
         "[A]\n; comment\n[B]\n",
         {{"B", "L", "2"}, {"A", "K", "1"}},
         "[A]\nK = 1\n; comment\n[B]\nL = 2\n"},
        {"new sections last",
         "[A]\nK=v\n; end\n",
         {{"C", "M", "1"}, {"B", "L", "2"}, {"C", "N", "3"}},
         "[A]\nK=v\n; end\n\n[C]\nM = 1\nN = 3\n\n[B]\nL = 2\n"},
        {"into nothing", "", {{"A", "K", "v"}}, "[A]\nK = v\n"},
        {"behind a byte-order mark", "\xef\xbb\xbf", {{"A", "K", "v"}}, "\xef\xbb\xbf[A]\nK = v\n"},
        {"missing last line end",
         "[A]\nK=v",
         {{"B", "L", "2"}, {"A", "K", "w"}, {"A", "N", "1"}},
         "[A]\nK=w\nN = 1\n\n[B]\nL = 2\n"},
        {"missing last line end, empty value", "[A]\nK=", {{"A", "N", "1"}, {"A", "K", "w"}}, "[A]\nK=w\nN = 1\n"},
        {"line ends of the neighbour",
         "[A]\r\nK=v\r\n[B]\nL=w\n",
         {{"A", "N", "1"}, {"B", "N", "2"}},
         "[A]\r\nK=v\r\nN = 1\r\n[B]\nL=w\nN = 2\n"},
        {"line ends of the last line", "[A]\r\nK=v", {{"B", "L", "2"}}, "[A]\r\nK=v\r\n\r\n[B]\r\nL = 2\r\n"},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        INIFile ini = Open(row.text);
        for (const auto& set : row.sets)
            ini.Section(set[0]).set(set[1], set[2]);
        for (int save = 1; save <= 2; ++save) {
            ini.Save();
            EXPECT_EQ(folder_.Read("rig.ini"), row.saved) << "save " << save;
        }
        const std::string content = Content(ini);
        EXPECT_EQ(Content(INIFile(file_, "A")), content);
    }
}

TEST_F(INIFileTest, NamesLineAndFaultOfWhatItCannotRead)
{
    const struct
    {
        std::string text;
        std::vector<std::pair<std::size_t, const char*>> faults;
        std::string content;
    } rows[] = {
        {"[A]\nK\nL=1\n", {{2, "found `K', wanted `KEY = value', `[SECTION]' or a comment"}}, "[A]L=1;"},
        {"; c\nK=1\n[A]\n", {{2, "found the key `K' before any section"}}, "[A]"},
        {"[A]\n = 1\n=\nL=1", {{2, "found no key before `='"}, {3, "found no key before `='"}}, "[A]L=1;"},
        {"[A\nK=1\n[B]\nK=2", {{1, "found `[A', wanted a section's name between `[' and `]'"}}, "[B]K=2;"},
        {"[A] ; c\nK=1\nK", {{1, "found `; c' behind `]'"}, {3, "found `K', wanted"}}, ""},
        {"[ ]\n", {{1, "found no name between `[' and `]'"}}, ""},
        {"[A]\nK=1\n; c\nK = 2\nK=3",
         {{4, "found the key `K' again, wanted it once: line 2 has it"}, {5, "line 2 has it"}},
         "[A]K=1;"},
        {"\n[A]\nK=1\n[B]\n[ A ]\nK=2\nL=3\nM\n[C]\nN=4",
         {{5, "found the section `A' again, wanted it once: it begins on line 2"}, {8, "found `M'"}},
         "[A]K=1;[B][C]N=4;"},
        {std::string("[A]\nK=\0\nL\0=1\n;\0\nM=1\n", 20), {{2, "NUL"}, {3, "NUL"}, {4, "NUL"}}, "[A]M=1;"},
        {"[A]\rK=1\r", {{1, "found a carriage return without a line feed"}}, ""},
        {"[A]\r\nK=1\r\r\n;\r2\r\nL=1\r",
         {{2, "carriage return"}, {3, "carriage return"}, {4, "carriage return"}},
         "[A]"},
        {std::string("\xff\xfe[\0A\0]\0\n\0", 10), {{1, "found UTF-16 text"}}, ""},
        {std::string("\xfe\xff\0[\0A\0]\0\n", 10), {{1, "found UTF-16 text"}}, ""},
        {"[A]\n" + megabyte + "\nL=1", {{2, "found `xxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxx...', wanted"}}, "[A]L=1;"},
        {"[A]\nab\tcdefghijklmnopqrstuvwxyzabcdefghijklm\xc3\xa4",
         {{2, "found `ab?cdefghijklmnopqrstuvwxyzabcdefghijklm...'"}},
         "[A]"},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.text.substr(0, 40));
        std::string what;
        try {
            Open(row.text);
            FAIL() << "was read";
        } catch (const kt::ini::syntax_error& error) {
            what = error.what();
            EXPECT_EQ(error.Faults().size(), row.faults.size());
        }
        EXPECT_THAT(what, StartsWith(file_.string() + ":" + std::to_string(row.faults[0].first) + ": found "));

        std::vector<TFault> faults = {{0, "there before"}};
        const INIFile ini(file_, "A", faults);
        ASSERT_EQ(faults.size(), row.faults.size() + 1) << what;
        for (std::size_t i = 0; i < row.faults.size(); ++i) {
            EXPECT_EQ(faults[i + 1].line, row.faults[i].first);
            EXPECT_THAT(faults[i + 1].text, HasSubstr(row.faults[i].second));
            EXPECT_THAT(what, HasSubstr(":" + std::to_string(faults[i + 1].line) + ": " + faults[i + 1].text));
        }
        EXPECT_EQ(Content(ini), row.content);
        EXPECT_THROW(ini.Save(), std::runtime_error);
        EXPECT_THROW(ini.Save(folder_ / "other.ini"), std::runtime_error);
        EXPECT_TRUE(folder_.Read("rig.ini") == row.text);
    }
}

TEST_F(INIFileTest, RefusesWhatWouldNotBeReadBack)
{
    INIFile ini = Open("[A]\nK=v\n");
    const std::string nul("a\0b", 3);
    for (const std::string& value : {std::string("a\nb"), std::string("a\r"), nul, std::string(" a"),
                                     std::string("a\t"), std::string(" "), std::string("\n")}) {
        EXPECT_THROW(ini.set("K", value), std::invalid_argument) << value;
        EXPECT_THROW(static_cast<const INIFile&>(ini).set("N", value), std::invalid_argument) << value;
    }
    for (const std::string& key :
         {std::string(), std::string("a=b"), std::string("="), std::string("[a"), std::string(";a"), std::string("#a"),
          std::string(" a"), std::string("a "), std::string("a\nb"), nul, std::string("\t")})
        EXPECT_THROW(ini.set(key, "v"), std::invalid_argument) << key;
    for (const std::string& name : {std::string(), std::string("a]"), std::string(" a"), std::string("a\t"),
                                    std::string("a\nb"), std::string("\r"), nul}) {
        EXPECT_THROW(ini.Section(name), std::invalid_argument) << name;
        EXPECT_THROW(INIFile(file_, name), std::invalid_argument) << name;
    }
    try {
        ini.set("N", "a\nb");
    } catch (const std::invalid_argument& error) {
        EXPECT_EQ(error.what(), file_.string() + ": [A] N: the value would not be read back as it is");
    }

    ini.Save();
    EXPECT_EQ(folder_.Read("rig.ini"), "[A]\nK=v\n");
}

TEST_F(INIFileTest, KeepsThreePoliciesForAMissingKey)
{
    const INIFile ini = Open("[A]\nK=v\nE=\n");
    EXPECT_EQ(ini.Value<std::string>("K"), "v");
    EXPECT_EQ(ini.Value<std::string>("E", "default"), "");
    try {
        ini.Value<std::string>("N N");
        FAIL();
    } catch (const std::runtime_error& error) {
        EXPECT_EQ(error.what(), "`N N' not found in " + file_.string());
    }

    EXPECT_FALSE(ini.IsDefault("N"));
    EXPECT_EQ(ini.Value<std::string>("N", "default"), "default");
    EXPECT_EQ(ini.Value<std::string>("N"), "default");
    EXPECT_TRUE(ini.IsDefault("N"));
    EXPECT_FALSE(ini.IsDefault("K"));

    std::ostringstream captured;
    std::streambuf* const old = std::cout.rdbuf(captured.rdbuf());
    std::string out = "kept";
    EXPECT_FALSE(ini.Get("O", &out));
    EXPECT_EQ(out, "kept");
    EXPECT_TRUE(ini.Get("K", &out));
    EXPECT_EQ(out, "v");
    std::cout.rdbuf(old);
    EXPECT_EQ(captured.str(), "[WW] ::INIFile: `O' not found in [A] of " + file_.string() + "\n");

    ini.Save();
    EXPECT_EQ(folder_.Read("rig.ini"), "[A]\nK=v\nE=\nN = default\n");
}

TEST_F(INIFileTest, ForgetsThatAKeyWasADefaultOnceSomebodySetsIt)
{
    INIFile ini = Open("[A]\nK=v\n");
    static_cast<const INIFile&>(ini).set("N", "1");
    static_cast<const INIFile&>(ini).set("M", "1");
    static_cast<const INIFile&>(ini).set("K", "v");
    EXPECT_TRUE(ini.IsDefault("N"));
    EXPECT_FALSE(ini.IsDefault("K")) << "the file had it";
    ini.Set<std::string>("N", "1");
    ini.Set<std::string>("M", "2");
    EXPECT_FALSE(ini.IsDefault("N"));
    EXPECT_FALSE(ini.IsDefault("M"));
}

TEST_F(INIFileTest, SharesItsDocumentWithItsSections)
{
    INIFile a = Open("[B]\nK=1\n\n[A]\nL=2\nK=3\n");
    EXPECT_EQ(a.Line(), 4u);
    EXPECT_EQ(a.Line("K"), 6u);
    EXPECT_EQ(a.Line("N"), 0u);
    EXPECT_THAT(a.Keys(), ElementsAre("L", "K"));

    INIFile c = a.Section("C");
    EXPECT_EQ(c.Line(), 0u);
    EXPECT_THAT(a.Sections(), ElementsAre("B", "A")) << "a section without keys is none yet";
    const std::string& name = c.SectionName();
    for (int i = 0; i < 100; ++i)
        a.Section("D" + std::to_string(i));
    EXPECT_EQ(name, "C");

    INIFile copy = c;
    copy.set("X", "9");
    EXPECT_EQ(c.Value<std::string>("X"), "9");
    EXPECT_EQ(INIFile(a).Section("C").Value<std::string>("X"), "9");
    EXPECT_EQ(c.Line("X"), 0u);
    EXPECT_THAT(a.Sections(), ElementsAre("B", "A", "C"));

    a.set("N", "4");
    EXPECT_THAT(a.Keys(), ElementsAre("L", "K", "N"));
    std::string out = "kept";
    EXPECT_FALSE(a.Section("B").efind("N", out));
    EXPECT_EQ(out, "kept");
}

TEST_F(INIFileTest, WalksTheKeysOfAPrefix)
{
    INIFile ini = Open("[A]\nLUT2=b\nX=0\nLUT1=a\nLU=0\nlut3=0\nLUT=c\n");
    for (const char* prefix : {"LUT", "LUT*"}) {
        std::string walked;
        for (INIFile::iterator i(&ini, prefix); i; ++i) {
            walked += i.Key() + "=" + i.Value() + ";";
            ini.set(i.Key(), i.Value() + "!");
            ini.set("LUT9", "added meanwhile");
        }
        if (prefix == std::string("LUT"))
            EXPECT_EQ(walked, "LUT2=b;LUT1=a;LUT=c;");
        else
            EXPECT_EQ(walked, "LUT2=b!;LUT1=a!;LUT=c!;LUT9=added meanwhile;");
    }
    INIFile::iterator none(&ini, "Q");
    EXPECT_FALSE(none);
    ++none;
    EXPECT_THROW(none.Key(), std::out_of_range);
    EXPECT_THROW(none.Value(), std::out_of_range);
    EXPECT_TRUE(INIFile::iterator(&ini, ""));
}

TEST_F(INIFileTest, AMissingFileIsAnEmptyDocumentAndComesIntoBeingByASave)
{
    INIFile ini(file_, "A");
    EXPECT_THAT(ini.Sections(), IsEmpty());
    ini.set("K", "v");
    ini.Save();
    EXPECT_EQ(folder_.Read("rig.ini"), "[A]\nK = v\n");
    const mode_t mask = umask(0);
    umask(mask);
    EXPECT_EQ(folder_.Mode("rig.ini"), 0666 & ~mask);
}

TEST_F(INIFileTest, SaysWhichFileItCannotReadOrSave)
{
    const auto expect_error = [](const boost::filesystem::path& file, const std::function<void()>& work) {
        try {
            work();
            ADD_FAILURE() << file << " was no error";
        } catch (const std::runtime_error& error) {
            EXPECT_THAT(error.what(), HasSubstr(file.string()));
        }
    };
    boost::filesystem::create_directory(folder_ / "sub");
    boost::filesystem::create_symlink("loop", folder_ / "loop");
    ASSERT_EQ(mkfifo((folder_ / "pipe").c_str(), 0600), 0);
    const INIFile ini = Open("[A]\nK=v\n");

    expect_error(folder_ / "sub", [&] { INIFile(folder_ / "sub", "A"); });
    expect_error(file_ / "x", [&] { INIFile(file_ / "x", "A"); });
    expect_error(folder_ / "loop", [&] { INIFile(folder_ / "loop", "A"); });
    for (const char* name : {"sub", "pipe", "loop", "none/rig.ini", "rig.ini/x"})
        expect_error(folder_ / name, [&] { ini.Save(folder_ / name); });
    EXPECT_THAT(folder_.List(), ElementsAre("loop", "pipe", "rig.ini", "sub"));
}

TEST_F(INIFileTest, SavesElsewhereAndLeavesItsOwnFileAlone)
{
    INIFile ini = Open("[A]\nK=v\n");
    ini.set("K", "w");
    const std::string longest(255, 'n');
    ini.Save(folder_ / longest);
    EXPECT_EQ(folder_.Read(longest), "[A]\nK=w\n");
    EXPECT_EQ(folder_.Read("rig.ini"), "[A]\nK=v\n");
    EXPECT_EQ(ini.FileName(), file_);
}

TEST_F(INIFileTest, KeepsPermissionsAndReplacesWhatALinkPointsAt)
{
    boost::filesystem::create_directory(folder_ / "sub");
    boost::filesystem::create_symlink("sub/link", folder_ / "first");
    boost::filesystem::create_symlink("../rig.ini", folder_ / "sub/link");
    boost::filesystem::create_symlink(folder_ / "sub/new.ini", folder_ / "dangling");
    folder_.Write("rig.ini", "[A]\nK=v\n");
    for (const mode_t mode : {0600u, 0666u, 0444u, 0751u}) {
        folder_.Permit("rig.ini", mode);
        INIFile ini(folder_ / "first", "A");
        ini.set("K", std::to_string(mode));
        ini.Save();
        EXPECT_EQ(folder_.Read("rig.ini"), "[A]\nK=" + std::to_string(mode) + "\n");
        EXPECT_EQ(folder_.Mode("rig.ini"), mode);
        ini.Save(folder_ / "dangling");
        EXPECT_EQ(folder_.Read("sub/new.ini"), folder_.Read("rig.ini"));
    }
    for (const char* link : {"first", "sub/link", "dangling"})
        EXPECT_TRUE(boost::filesystem::is_symlink(folder_ / link)) << link;
}

TEST_F(INIFileTest, StaysRightWithManySectionsOfFewAndOfManyKeys)
{
    const auto keys = [](int section) { return section % 2 == 0 ? 100 : 20; };
    const auto name = [](const char* prefix, int number) { return prefix + std::to_string(number); };
    INIFile ini(file_, "S0");
    for (int section = 0; section < 100; ++section)
        for (int key = 0; key < keys(section); ++key)
            ini.Section(name("S", section)).set(name("K", key), std::to_string(section * 1000 + key));
    ini.Save();
    for (const INIFile& document : {ini, INIFile(file_, "S0")})
        for (int section = 0; section < 101; ++section)
            for (int key = 0; key < 120; ++key) {
                const bool is_there = section < 100 && key < keys(section);
                std::string value = "none";
                ASSERT_EQ(document.Section(name("S", section)).efind(name("K", key), value), is_there);
                ASSERT_EQ(value, is_there ? std::to_string(section * 1000 + key) : "none");
            }

    std::string text = "[A]\n";
    for (int key = 0; key < 40; ++key)
        text += name("K", key) + "=\n";
    folder_.Write("rig.ini", text + "K7=again\n");
    std::vector<TFault> faults;
    INIFile(file_, "A", faults);
    ASSERT_EQ(faults.size(), 1u);
    EXPECT_EQ(faults[0].line, 42u);
    EXPECT_THAT(faults[0].text, HasSubstr("line 9 has it"));
}

}  // namespace
