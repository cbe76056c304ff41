#include "archive/tar.h"

#include <gtest/gtest.h>

#include <sys/resource.h>
#include <unistd.h>

#include <cstdlib>
#include <numeric>
#include <stdexcept>

#include "framework/orvo_inifiles/folder.h"

namespace {

using Contents = std::map<std::string, std::string>;

/// Bytes without a pattern that fits blocks or pages.
std::string Data(std::size_t size)
{
    std::string data(size, '\0');
    for (std::size_t i = 0; i < size; ++i)
        data[i] = static_cast<char>(i * 31 + i / 251 + 1);
    return data;
}

class Tar : public ::testing::Test
{
protected:
    void Put(const std::string& name, const std::string& data)
    {
        writer.Write(name, [&data](std::ofstream& to) { to << data; });
    }

    /// What the reader finds; of data that the file has not, what is there.
    Contents Read()
    {
        ::testing::internal::CaptureStdout();
        EXPECT_FALSE(reader.Open(file, "ignored"));
        EXPECT_EQ(::testing::internal::GetCapturedStdout(), "[II] ::Reader: Opening \"" + file.string() + "\"\n");
        Contents contents;
        for (const auto& member : reader.Members()) {
            EXPECT_FALSE(reader.Seek(member.first));
            std::string& data = contents[member.first];
            data.resize(std::min<std::size_t>(member.second.data_size, 4000000));
            reader.ISTR().read(&data[0], std::streamsize(data.size()));
            data.resize(std::size_t(reader.ISTR().gcount()));
        }
        return contents;
    }

    /// What a command prints in the folder. It has to succeed without a word on standard error.
    std::string Run(const std::string& command)
    {
        const std::string in_folder =
            "cd " + (folder / "").string() + " && (" + command + ") >out 2>err && ! test -s err";
        EXPECT_EQ(std::system(in_folder.c_str()), 0) << command << '\n' << folder.Read("err");
        return folder.Read("out");
    }

    test::CFolder folder;
    const boost::filesystem::path file = folder / "a.tar";
    tar::Writer writer;
    tar::Reader reader;
};

TEST_F(Tar, ByteForByte)
{
    writer.Open(file);
    Put("left/1.raw", "12345");
    Put("empty", "");
    Put("513", Data(513));
    ASSERT_TRUE(writer.Close());
    const std::string bytes = folder.Read("a.tar");
    ASSERT_EQ(bytes.size(), 1024u + 512 + 1536);

    const auto field = [](std::string text, std::size_t length) {
        text.resize(length);
        return text;
    };
    std::string header = field("left/1.raw", 100) + field("0000644", 8) + field(Run("printf %07o $(id -u)"), 8) +
                         field(Run("printf %07o $(id -g)"), 8) + field("00000000005", 12) + bytes.substr(136, 12) +
                         "        " + field("0", 101) + field("ustar", 6) + "00" +
                         field(Run("printf %s $(id -un)"), 32) + field(Run("printf %s $(id -gn)"), 32) + field("", 183);
    const int sum = std::accumulate(header.begin(), header.end(), 0);
    header.replace(148, 7, Run("printf %07o " + std::to_string(sum)));
    EXPECT_EQ(bytes.substr(0, 512), header);
    EXPECT_EQ(bytes.substr(512, 512), field("12345", 512));
    EXPECT_EQ(bytes.substr(1024 + 124, 12), field("00000000000", 12));
    EXPECT_EQ(bytes.substr(2048), field(Data(513), 1024));
}

// Sizes around blocks and around what the writer keeps in memory; callbacks that write in every way a stream has.
TEST_F(Tar, OtherProgramsExtractOurs)
{
    Contents members = {{"dir/big", Data(3000000)}, {"a b", Data(512)}, {"empty", ""}, {"513", Data(513)}};
    for (std::size_t i = 0; i < 90; ++i)
        members["many" + std::to_string(i)] = Data(9000 + i * 97);
    writer.Open(file);
    Put("old", Data(10000));
    writer.Open(file);
    for (const auto& member : members)
        Put(member.first, member.second);

    const auto write = [&](const std::string& name, const std::string& data, void (*callback)(std::ofstream&)) {
        members[name] = data;
        writer.Write(name, callback);
    };
    // The file's own buffer, and as many bytes through it as were waiting in it.
    write("past", "123" + Data(509), [](std::ofstream& to) {
        to.rdbuf()->pubsync();
        to << "1";
        to.rdbuf()->sputn("2", 1);
        to << "3" << Data(509);
    });
    write("patched", "1234" + Data(4999) + "\n", [](std::ofstream& to) {
        const auto start = to.tellp();
        to.put('?') << "???" << Data(4999) << std::endl;
        const auto end = to.tellp();
        to.seekp(start) << "1234";
        to.seekp(end);
    });
    ASSERT_TRUE(writer.Flush());
    EXPECT_EQ(Read(), members) << "beside a writer that is still open";
    for (const std::string extract : {"tar xf ../a.tar", "bsdtar xf ../a.tar", "python3 -m tarfile -e ../a.tar ."}) {
        Run("rm -rf all && mkdir all && cd all && " + extract);
        for (const auto& member : members)
            EXPECT_TRUE(folder.Read("all/" + member.first) == member.second) << extract << ' ' << member.first;
    }
}

TEST_F(Tar, ReadsWhatOtherProgramsWrite)
{
    Contents members = {{"big", Data(300000)}, {"empty", ""}, {"small", "7"}};
    for (const auto& member : members)
        folder.Write(member.first, member.second);
    members[""] = "";  // the blocks of zeros at the end
    for (const std::string create : {"tar cf", "bsdtar --format ustar -cf", "python3 -m tarfile -c"}) {
        Run(create + " a.tar big empty small");
        Contents found = Read();
        found.erase("././@PaxHeader");  // Python's extended headers count as members
        EXPECT_EQ(found, members) << create;
    }
}

TEST_F(Tar, SeekGoesToTheFirstOfAName)
{
    EXPECT_EQ(reader.Seek("x"), boost::system::error_code(257, boost::system::generic_category()));
    writer.Open(file);
    Put("twice", "first");
    Put("twice", "second");
    writer.Close();
    EXPECT_EQ(Read(), (Contents{{"twice", "first"}}));
    while (reader.ISTR().get() != EOF) {
    }
    EXPECT_FALSE(reader.Seek("twice"));
    EXPECT_EQ(reader.ISTR().get(), 'f');
    EXPECT_FALSE(reader.Seek("unknown"));
    EXPECT_EQ(reader.ISTR().get(), 'i');
    EXPECT_EQ(reader.Open(folder / "none", ""), boost::system::error_code(2, boost::system::generic_category()));
    EXPECT_EQ(reader.Seek("twice").value(), 257);

    // Room for one more open file, which the stream takes.
    rlimit before;
    getrlimit(RLIMIT_NOFILE, &before);
    const int next = dup(0);
    close(next);
    const rlimit one_more = {static_cast<rlim_t>(next) + 1, before.rlim_max};
    setrlimit(RLIMIT_NOFILE, &one_more);
    EXPECT_EQ(reader.Open(file, "").value(), 2);
    setrlimit(RLIMIT_NOFILE, &before);
    EXPECT_EQ(reader.Seek("twice").value(), 257);
}

TEST_F(Tar, MembersThatFailLeaveTheOthersReadable)
{
    writer.Open(file);
    Put("before", Data(2000));
    EXPECT_THROW(Put(std::string(100, 'n'), "refused"), std::runtime_error);
    EXPECT_THROW(writer.Write("empty callback", {}), boost::bad_function_call);
    for (const std::size_t size : {700u, 700000u})
        EXPECT_THROW(writer.Write("thrower",
                                  [size](std::ofstream& to) {
                                      to << Data(size);
                                      throw std::domain_error("no picture");
                                  }),
                     std::domain_error);
    Put(std::string(99, 'n'), "longest name");
    Contents whole = {{"before", Data(2000)}, {"", ""}, {std::string(99, 'n'), "longest name"}};
    ASSERT_TRUE(writer.Flush());
    EXPECT_EQ(Read(), whole);
    Put("waiting", whole["waiting"] = "in memory");
    writer.Write("failing", [](std::ofstream& to) { (to << Data(5000)).setstate(std::ios::failbit); });
    Put("after", "lost");
    EXPECT_FALSE(writer.Flush());
    EXPECT_EQ(Read(), whole);
    EXPECT_FALSE(writer.Close());

    writer.Open("/dev/full");
    ASSERT_TRUE(writer.IsOpen());
    Put("small", "waits in memory");
    EXPECT_FALSE(writer.Close());
    writer.Open(folder / "none" / "a.tar");
    EXPECT_FALSE(writer.IsOpen());
    Put("nowhere", "lost");
    EXPECT_FALSE(writer.Flush());
}

TEST_F(Tar, CutAndDamagedArchives)
{
    writer.Open(file);
    Put("one", Data(600));
    Put("two", "2");
    writer.Close();
    const std::string bytes = folder.Read("a.tar");
    for (std::size_t size = 0; size <= bytes.size(); ++size) {
        folder.Write("a.tar", bytes.substr(0, size));
        Contents expected;
        if (size >= 512)
            expected["one"] = bytes.substr(512, std::min<std::size_t>(size - 512, 600));
        if (size >= 2048)
            expected["two"] = std::string(size > 2048, '2');
        ASSERT_EQ(Read(), expected) << size;
    }

    writer.Open(file);
    Put("long", std::string(9000, '\0'));  // passes for empty members: a step back into it would never end
    Put("last", "2");
    writer.Close();
    const std::string sound = folder.Read("a.tar");
    for (std::size_t at = 0; at < 136; ++at)
        for (const char damage : {'\0', '/', '7', '\xff'}) {
            std::string damaged = sound;
            damaged[512 + 9216 + at] = damage;
            folder.Write("a.tar", damaged);
            Contents found = Read();
            ASSERT_EQ(found["long"].size(), 9000u);
            ASSERT_LE(found.size(), 3u) << at;
        }

    // A writer that is killed while it writes a member whose data passes for headers.
    writer.Open(file);
    Put("whole", "1");
    writer.Write("killed", [&](std::ofstream& to) {
        to << bytes << std::flush;
        EXPECT_EQ(Read(), (Contents{{"whole", "1"}}));
    });
}

}  // namespace
