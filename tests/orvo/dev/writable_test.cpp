#include "dev/writable.h"

#include <gtest/gtest.h>

#include <boost/filesystem.hpp>
#include <boost/make_shared.hpp>
#include <stdexcept>

#include "dev/disk_writer.h"

namespace {

namespace fs = boost::filesystem;

class CPayload : public dev::CWritable
{
public:
    using CWritable::CWritable;
    std::string Name() const override { return "payload"; }
    const void* Data() const override { return nullptr; }
    std::size_t Size() const override { return 0; }
    std::uint64_t Sequence() const override { return 0; }
};

TEST(Writable, IsAddressedByALocationOrByATrack)
{
    CPayload at_path(nullptr, std::string("$D/a-$D$D.raw"));
    EXPECT_EQ(at_path.TrackID(), 255);
    at_path.Expand("", "x");
    at_path.Expand("$E", "x");
    at_path.Expand("$D", "$D$");
    EXPECT_EQ(at_path.Location(), "$D$/a-$D$$D$.raw");
    at_path.Expand(at_path.Location(), at_path.Location() + "!");
    EXPECT_EQ(at_path.Location(), "$D$/a-$D$$D$.raw!");

    CPayload on_track(nullptr, static_cast<unsigned char>(7));
    EXPECT_EQ(on_track.TrackID(), 7);
    EXPECT_EQ(on_track.NumSamples(), 1u);
    EXPECT_EQ(on_track.use_count(), 0);
    on_track.Remove_Resource();
    EXPECT_DEATH(on_track.Event(), "px != 0");
}

TEST(Writable, RemovesItsFileAndTellsWhenItCannot)
{
    const fs::path folder = fs::temp_directory_path() / fs::unique_path();
    fs::create_directories(folder / "not empty");
    CPayload payload(nullptr, folder.string());
    EXPECT_THROW(payload.Remove_Resource(), fs::filesystem_error);
    fs::remove(folder / "not empty");
    payload.Remove_Resource();
    EXPECT_FALSE(fs::exists(folder));
    payload.Remove_Resource();
}

class CWriter : public dev::CDiskWriter
{
public:
    bool Flush() override { return true; }
    bool Close() override { return true; }

protected:
    void On_Write(const boost::shared_ptr<dev::CWritable>& writable, unsigned char track) override
    {
        EXPECT_TRUE(waiting_.empty());
        EXPECT_EQ(writable.use_count(), 2);
        EXPECT_EQ(track, 254);
        throw std::range_error("full");
    }
};

TEST(DiskWriter, HoldsThePayloadWhileItWritesAndSaysThatItCloses)
{
    const auto payload = boost::make_shared<CPayload>(nullptr, std::string("here"));
    testing::internal::CaptureStdout();
    EXPECT_THROW(CWriter().Write(payload, 254), std::range_error);
    EXPECT_EQ(payload.use_count(), 1);
    EXPECT_EQ(testing::internal::GetCapturedStdout(), "[II] ::CDiskWriter: Closing succeeded\n");
}

}  // namespace
