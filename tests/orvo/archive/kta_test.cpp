#include "archive/kta.h"

#include <gmock/gmock.h>

#include <array>
#include <boost/filesystem/operations.hpp>
#include <iterator>
#include <new>
#include <stdexcept>

namespace {

using testing::Each;
using testing::ElementsAre;
using testing::SizeIs;

constexpr std::size_t track_bytes = 6161;
constexpr std::size_t block_bytes = 113;

boost::system::error_code Error(int value)
{
    return boost::system::error_code(value, boost::system::generic_category());
}

kta::Track NamedTrack(const std::string& name)
{
    kta::Track track;
    name.copy(track.name, sizeof track.name);
    std::memset(track.scalars1, 0x11, sizeof track.scalars1);
    std::memset(track.scalars2, 0x22, sizeof track.scalars2);
    return track;
}

class KtaTest : public testing::Test
{
protected:
    KtaTest() { boost::filesystem::create_directory(folder_); }
    ~KtaTest() override
    {
        kta::r_dir.clear();
        boost::filesystem::remove_all(folder_);
    }

    void Add(std::uint8_t track, const std::string& payload)
    {
        kta::BlockHeader block;
        std::memset(block.rest, 0x33, sizeof block.rest);
        block.track = track;
        block.offset = static_cast<std::uint64_t>(writer_.ofs_data().tellp());
        writer_.ofs_data() << payload << ' ';
        writer_.Write(block);
    }

    void WriteSmall()
    {
        writer_.Open(file_, {NamedTrack("a"), NamedTrack("b"), NamedTrack("b")});
        Add(0, "a0"), Add(1, "b0"), Add(1, "b1"), Add(0, "a1");
        writer_.Close(file_);
    }

    /// The payload of block `n`, empty when there is none.
    static std::string At(kta::Reader& reader, unsigned long n)
    {
        std::string payload;
        if (!reader.Seek(n))
            reader.ifs_data() >> payload;
        return payload;
    }

    std::string IndexBytes() const
    {
        std::ifstream in(index_.string(), std::ios::binary);
        return std::string(std::istreambuf_iterator<char>(in), {});
    }

    const boost::filesystem::path folder_ =
        boost::filesystem::temp_directory_path() / boost::filesystem::unique_path("orvo-kta-%%%%%%%%");
    const boost::filesystem::path file_ = folder_ / "drive.kta";
    const boost::filesystem::path index_ = folder_ / "drive.idx";
    kta::Writer writer_;
};

TEST_F(KtaTest, LayoutOfTheIndex)
{
    kta::Track track = NamedTrack("left");
    track.field1[0] = '1', track.field2[0] = '2', track.field3[0] = '3', track.field4[0] = '4', track.field5[0] = '5';
    kta::BlockHeader block;
    block.first = 0x0807060504030201u;
    block.track = 1;
    block.offset = 0xfffefdfcfbfaf9f8u;
    block.fields[3] = 7;
    std::memset(block.rest, 0x33, sizeof block.rest);
    writer_.Open(file_, {track});
    writer_.Write(block);
    writer_.Close(file_);

    std::string wanted(7 + track_bytes + block_bytes, '\0');
    const auto put = [&wanted](std::size_t offset, const std::string& text) {
        wanted.replace(offset, text.size(), text);
    };
    put(0, "KTA"), put(4, "\1"), put(6, "\1");
    put(7, "left"), put(1031, "1"), put(2055, "2"), put(3079, "3"), put(4112, "4"), put(5144, "5");
    put(4103, std::string(9, '\x11')), put(5136, std::string(8, '\x22'));
    put(6168, "\1\2\3\4\5\6\7\x8\1\xf8\xf9\xfa\xfb\xfc\xfd\xfe\xff"), put(6209, "\7");
    put(6217, std::string(64, '\x33'));
    EXPECT_TRUE(IndexBytes() == wanted);
}

TEST_F(KtaTest, ConstructorsLeaveSomeBytesUnset)
{
    // Behind pointers that the compiler cannot see through, as it may drop what stood in memory before a constructor.
    void (*volatile make_track)(void*) = [](void* place) { new (place) kta::Track; };
    void (*volatile make_block)(void*) = [](void* place) { new (place) kta::BlockHeader; };
    std::array<unsigned char, track_bytes> bytes;
    bytes.fill(0xaa);
    make_track(bytes.data());
    for (std::size_t i = 0; i < track_bytes; ++i)
        ASSERT_EQ(bytes[i], (i >= 4096 && i < 4105) || (i >= 5129 && i < 5137) ? 0xaa : 0) << i;
    bytes.fill(0xaa);
    make_block(bytes.data());
    for (std::size_t i = 0; i < block_bytes; ++i)
        ASSERT_EQ(bytes[i], i < 49 ? 0 : 0xaa) << i;
}

TEST_F(KtaTest, ReadersShareOneArchive)
{
    WriteSmall();
    kta::Reader left;
    kta::Reader right;
    ASSERT_FALSE(left.Open(file_));
    boost::filesystem::remove(index_);
    ASSERT_FALSE(right.Open(file_)) << "the index was read again";
    ASSERT_FALSE(left.Subscribe("a"));
    ASSERT_FALSE(right.Subscribe("b"));
    EXPECT_EQ(&left.Track(), &left.Tracks()[0]);
    EXPECT_EQ(&right.Track(), &left.Tracks()[1]) << "of two tracks with one name, the first counts";
    EXPECT_EQ(&left.ifs_data(), &right.ifs_data());

    EXPECT_EQ(At(left, 1), "a1");
    EXPECT_EQ(At(right, 1), "b1");
    EXPECT_EQ(At(left, 0), "a0");
    EXPECT_EQ(At(left, 2), "a1") << "the last block of the archive is listed twice";
    EXPECT_EQ(left.Seek(3), Error(29));
    EXPECT_THAT(left.Index(), SizeIs(5));
    EXPECT_GE(left.Index().capacity(), 1000000u);
    EXPECT_THAT(left.TrackIDX().at(1), ElementsAre(&left.Index()[1], &left.Index()[2]));

    ASSERT_FALSE(left.Subscribe("")) << "a name that no track has";
    EXPECT_THAT(left.TrackIDX().at(3), SizeIs(0));
    EXPECT_EQ(left.Seek(0), Error(29));
    EXPECT_THROW(left.Track(), std::logic_error);
    ASSERT_FALSE(left.Subscribe("b"));
    EXPECT_EQ(At(left, 0), "b0");
}

TEST_F(KtaTest, ArchiveThatIsNotOpen)
{
    WriteSmall();
    kta::Reader reader;
    EXPECT_THROW(reader.ifs_data(), std::logic_error);
    for (const auto& missing : {file_, index_}) {
        boost::filesystem::rename(missing, folder_ / "away");
        EXPECT_EQ(reader.Open(file_), Error(9));
        EXPECT_TRUE(kta::r_dir.empty());
        boost::filesystem::rename(folder_ / "away", missing);
    }
    const auto expect_refusals = [&reader] {
        EXPECT_EQ(reader.Subscribe("a"), Error(9));
        EXPECT_EQ(reader.Seek(0), Error(29));
        EXPECT_THROW(reader.Track(), std::logic_error);
        EXPECT_THROW(reader.Index(), std::logic_error);
    };
    expect_refusals();

    ASSERT_FALSE(reader.Open(file_));
    EXPECT_EQ(reader.Seek(0), Error(29)) << "without a subscription";
    ASSERT_FALSE(reader.Subscribe("a"));
    kta::r_dir.erase(file_);
    expect_refusals();
    EXPECT_FALSE(reader.ifs_data().is_open());
}

TEST_F(KtaTest, OddCountsAndVersions)
{
    kta::Reader reader;
    writer_.Open(file_, std::vector<kta::Track>(256, NamedTrack("a")));
    EXPECT_TRUE(writer_.Flush());
    EXPECT_EQ(boost::filesystem::file_size(index_), 7 + 256 * track_bytes);
    ASSERT_FALSE(reader.Open(file_));
    EXPECT_EQ(reader.Header().track_count, 0);
    EXPECT_TRUE(reader.Tracks().empty());
    kta::r_dir.clear();

    writer_.Open(file_, std::vector<kta::Track>(3, NamedTrack("a")));
    writer_.Close(file_);
    EXPECT_EQ(boost::filesystem::file_size(index_), 7 + 3 * track_bytes);
    ASSERT_FALSE(reader.Open(file_));
    ASSERT_THAT(reader.TrackIDX().at(0), SizeIs(1)) << "nobody wrote it, and it counts";
    EXPECT_THAT(std::string(reinterpret_cast<const char*>(reader.Index().data()), block_bytes), Each('\0'));
    kta::r_dir.clear();

    std::fstream(index_.string(), std::ios::in | std::ios::out).seekp(4).put(2);
    ASSERT_FALSE(reader.Open(file_));
    EXPECT_EQ(reader.Header().version, 2);
    EXPECT_TRUE(reader.Tracks().empty() && reader.Index().empty() && reader.TrackIDX().empty());
}

// What was whole is there, and nothing is made up but the extra block.
TEST_F(KtaTest, IndexCutAnywhere)
{
    writer_.Open(file_, {NamedTrack("a")});
    Add(0, "a0"), Add(0, "a1");
    writer_.Close(file_);
    const std::string whole = IndexBytes();
    const std::size_t table_end = 7 + track_bytes;
    for (std::size_t length = whole.size(); length-- > 0;) {
        boost::filesystem::resize_file(index_, length);
        kta::Reader reader;
        ASSERT_FALSE(reader.Open(file_));
        ASSERT_EQ(reader.Tracks().size(), length < 7 ? 0 : 1);
        if (length >= 7) {
            const std::string table(reinterpret_cast<const char*>(reader.Tracks().data()), track_bytes);
            ASSERT_TRUE(table == (length < table_end ? std::string(track_bytes, '\0') : whole.substr(7, track_bytes)));
        }
        ASSERT_EQ(reader.Index().size(), length < table_end ? 0 : (length - table_end) / block_bytes + 1);
        if (length >= table_end + block_bytes) {
            const std::size_t cut = length - table_end - block_bytes;  // the rest is the block before
            const std::string extra =
                whole.substr(table_end + block_bytes, cut) + whole.substr(table_end + cut, block_bytes - cut);
            ASSERT_EQ(std::memcmp(&reader.Index().back(), extra.data(), block_bytes), 0) << length;
        }
        kta::r_dir.clear();
    }
}

TEST_F(KtaTest, AnyByteOfTheIndexFlipped)
{
    WriteSmall();
    const std::string whole = IndexBytes();
    std::fstream index(index_.string(), std::ios::in | std::ios::out);
    for (std::size_t i = 0; i < whole.size(); ++i) {
        index.seekp(static_cast<std::streamoff>(i)).put(static_cast<char>(~whole[i])).flush();
        kta::Reader reader;
        ASSERT_FALSE(reader.Open(file_));
        for (const char* const name : {"a", "b", ""}) {
            ASSERT_FALSE(reader.Subscribe(name));
            for (unsigned long n = 0; n < 5; ++n) {
                At(reader, n);
                reader.ifs_data().clear();
            }
        }
        kta::r_dir.clear();
        index.seekp(static_cast<std::streamoff>(i)).put(whole[i]);
    }
}

// Lists longer than the writer's and the reader's pieces, and one that ends with such a piece.
TEST_F(KtaTest, LongIndexIsNeverAheadOfItsData)
{
    for (const std::size_t count : {8192u, 10000u}) {
        writer_.Open(file_, {NamedTrack("a"), NamedTrack("b")});
        kta::BlockHeader block;
        std::memset(block.rest, 0, sizeof block.rest);
        for (std::size_t i = 0; i < count; ++i) {
            writer_.ofs_data().put('x');
            block.offset = i;
            block.track = i % 2;
            writer_.Write(block);
        }
        EXPECT_EQ(boost::filesystem::file_size(index_), 7 + 2 * track_bytes + 8192 * block_bytes);
        EXPECT_EQ(boost::filesystem::file_size(file_), 8192u);
        EXPECT_TRUE(writer_.Flush());
        EXPECT_EQ(boost::filesystem::file_size(file_), count);

        kta::Reader reader;
        ASSERT_FALSE(reader.Open(file_));
        ASSERT_THAT(reader.Index(), SizeIs(count + 1));
        ASSERT_THAT(reader.TrackIDX().at(0), SizeIs(count / 2));
        for (std::size_t i = 0; i < count / 2; ++i)
            ASSERT_EQ(reader.TrackIDX().at(0)[i]->offset, 2 * i);
        kta::r_dir.clear();
    }
}

TEST_F(KtaTest, DataThatCannotBeWritten)
{
    boost::filesystem::create_symlink("/dev/full", file_);
    writer_.Open(file_, {NamedTrack("a")});
    Add(0, "a0");
    EXPECT_FALSE(writer_.Flush());
    writer_.Close(file_);
    EXPECT_FALSE(writer_.Good());
    EXPECT_EQ(boost::filesystem::file_size(index_), 7 + track_bytes) << "no header without its payload";

    writer_.Open(folder_ / "missing" / "drive.kta", {});
    EXPECT_FALSE(writer_.Flush());
    boost::filesystem::remove(file_);
    boost::filesystem::create_directory(file_);
    writer_.Open(file_, {});
    writer_.Write(kta::BlockHeader());
    writer_.Close(file_);
    EXPECT_EQ(boost::filesystem::file_size(index_), 7u) << "the data were never open";

    boost::filesystem::remove(file_);
    writer_.Open(file_, {});
    Add(0, "a0");
    writer_.ofs_data().setstate(std::ios::failbit);
    Add(0, "lost");
    EXPECT_FALSE(writer_.Flush());
    EXPECT_EQ(boost::filesystem::file_size(index_), 7 + 2 * block_bytes) << "the headers before it are good";
    writer_.Open(file_, {});
    EXPECT_TRUE(writer_.Flush()) << "each archive begins anew";
}

}  // namespace
