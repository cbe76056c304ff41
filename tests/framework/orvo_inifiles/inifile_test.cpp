#include "orvo_inifiles/inifile.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <iostream>
#include <sstream>

#include "framework/orvo_inifiles/folder.h"

namespace {

using kt::ini::INIFile;
using kt::ini::TFault;
using testing::HasSubstr;
using testing::StartsWith;

const std::string megabyte(1 << 20, 'x');

class INIFileTest : public testing::Test
{
protected:
    INIFile Open(const std::string& text)
    {
        folder_.Write("rig.ini", text);
        return INIFile(file_, "A");
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
    const std::pair<std::string, std::string> rows[] = {
        {"; c\n\n# d = 1\n \t \n[A]\n  ; e\nK=v\n\n", "[A]K=v;"},
        {"  [ A ]\t\n\t K \t=  v \t\n", "[A]K=v;"},
        {"[A]\nK = a ; b # c = d [e]\n", "[A]K=a ; b # c = d [e];"},
        {"[A]\nK=\nL = \nM =  \t", "[A]K=;L=;M=;"},
        {"[A]\nK=1\nk=2\n[a]\nK=3\n[A[1]", "[A]K=1;k=2;[a]K=3;[A[1]"},
        {"\xef\xbb\xbf[A]\nK=v\r\n; c\nL=w\r\nM=x", "[A]K=v;L=w;M=x;"},
        {"[\xff]\n\x80\xfe = \xc3\n", "[\xff]\x80\xfe=\xc3;"},
        {"[A]\n;" + megabyte + "\n" + megabyte + "=" + megabyte + "\n", "[A]" + megabyte + "=" + megabyte + ";"},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.first.substr(0, 40));
        const INIFile ini = Open(row.first);
        EXPECT_TRUE(Content(ini) == row.second);
        ini.Save();
        EXPECT_TRUE(folder_.Read("rig.ini") == row.first);
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
        {"[A]\r\nK=1\r\r\n;\r2\r\nL=1\r",
         {{2, "carriage return"}, {3, "carriage return"}, {4, "carriage return"}},
         "[A]"},
        {std::string("\xff\xfe[\0A\0]\0\n\0", 10), {{1, "found UTF-16 text"}}, ""},
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
        EXPECT_TRUE(folder_.Read("rig.ini") == row.text);
    }
}

TEST_F(INIFileTest, RefusesWhatWouldNotBeReadBack)
{
    INIFile ini = Open("[A]\nK=v\n");
    const std::string nul("a\0b", 3);
    for (const std::string& value :
         {std::string("a\nb"), std::string("a\r"), nul, std::string(" a"), std::string("a\t")})
        EXPECT_THROW(ini.set("K", value), std::invalid_argument) << value;
    for (const char* key : {"", "a=b", "[a", ";a", "#a", " a", "a ", "a\nb"})
        EXPECT_THROW(ini.set(key, "v"), std::invalid_argument) << key;
    for (const char* name : {"", "a]", " a", "a\t", "a\nb"}) {
        EXPECT_THROW(ini.Section(name), std::invalid_argument) << name;
        EXPECT_THROW(INIFile(file_, name), std::invalid_argument) << name;
    }
    ini.Save();
    EXPECT_EQ(folder_.Read("rig.ini"), "[A]\nK=v\n");
}

TEST_F(INIFileTest, KeepsThreePoliciesForAMissingKey)
{
    const INIFile ini = Open("[A]\nK=v\nE=\n");
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
    ini.set("K", "v");
    EXPECT_FALSE(ini.IsDefault("K")) << "the file had it";

    std::ostringstream captured;
    std::streambuf* const old = std::cout.rdbuf(captured.rdbuf());
    std::string out = "kept";
    EXPECT_FALSE(ini.Get("O", &out));
    EXPECT_EQ(out, "kept");
    std::cout.rdbuf(old);
    EXPECT_EQ(captured.str(), "[WW] ::INIFile: `O' not found in [A] of " + file_.string() + "\n");

    ini.Save();
    EXPECT_EQ(folder_.Read("rig.ini"), "[A]\nK=v\nE=\nN = default\n");
    INIFile(ini).Set<std::string>("N", "default");
    EXPECT_FALSE(ini.IsDefault("N")) << "somebody chose it";
}

TEST_F(INIFileTest, WalksTheKeysOfAPrefixAsTheyWereWhenItBegan)
{
    INIFile ini = Open("[A]\nLUT2=b\nX=0\nLUT1=a\nLU=0\nlut3=0\nLUT=c\n");
    for (const char* prefix : {"LUT", "LUT*"}) {
        std::string walked;
        for (INIFile::iterator i(&ini, prefix); i; ++i) {
            walked += i.Key() + "=" + i.Value() + ";";
            ini.set("LUT9", "added meanwhile");
        }
        EXPECT_EQ(walked, std::string("LUT2=b;LUT1=a;LUT=c;") + (prefix[3] == '*' ? "LUT9=added meanwhile;" : ""));
    }
    INIFile::iterator none(&ini, "Q");
    ++none;
    EXPECT_FALSE(none);
    EXPECT_THROW(none.Key(), std::out_of_range);
}

TEST_F(INIFileTest, SavesNothingOverWhatIsNoFile)
{
    boost::filesystem::create_directory(folder_ / "sub");
    boost::filesystem::create_symlink("loop", folder_ / "loop");
    ASSERT_EQ(mkfifo((folder_ / "pipe").c_str(), 0600), 0);
    const INIFile ini = Open("[A]\nK=v\n");
    EXPECT_THROW(INIFile(folder_ / "sub", "A"), std::runtime_error);
    EXPECT_THROW(INIFile(folder_ / "loop", "A"), std::runtime_error);
    for (const char* name : {"sub", "pipe", "loop", "none/rig.ini", "rig.ini/x"})
        EXPECT_THROW(ini.Save(folder_ / name), std::runtime_error) << name;
    EXPECT_THAT(folder_.List(), testing::ElementsAre("loop", "pipe", "rig.ini", "sub"));
}

TEST_F(INIFileTest, StaysRightWithManySectionsOfManyKeys)
{
    INIFile ini(file_, "S0");
    for (int n = 0; n < 10000; ++n)
        ini.Section("S" + std::to_string(n / 100)).set("K" + std::to_string(n % 100), std::to_string(n));
    ini.Save();  // there was no such file
    const mode_t mask = umask(0);
    umask(mask);
    EXPECT_EQ(folder_.Mode("rig.ini"), 0666 & ~mask);
    folder_.Write("again.ini", folder_.Read("rig.ini") + "K7=again\n");
    std::vector<TFault> faults;
    for (const INIFile& document : {ini, INIFile(file_, "S0"), INIFile(folder_ / "again.ini", "S0", faults)})
        for (int n = 0; n < 10000; ++n)
            ASSERT_EQ(document.Section("S" + std::to_string(n / 100)).Value<std::string>("K" + std::to_string(n % 100)),
                      std::to_string(n));
    ASSERT_EQ(faults.size(), 1u);
    EXPECT_THAT(faults[0].text, HasSubstr("found the key `K7' again"));
}

}  // namespace
