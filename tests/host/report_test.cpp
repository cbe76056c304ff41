#include "run/report.h"

#include <gmock/gmock.h>

namespace {

using testing::ElementsAre;
using testing::HasSubstr;

host::TRunReport Good()
{
    host::TCameraReport camera;
    camera.name = "left";
    camera.seconds = 2.0;
    camera.frames = 10;
    camera.executed = 10;
    camera.nodes = {{"Source", 0, 10, 10, 0, 0, {}}, {"half", 1, 10, 5, 5, 0, {1.5, 1.25, 2.0, 2.5}}};
    return {"rig.ini", {camera}, false};
}

using Counts = std::map<std::string, std::uint64_t>;

TEST(Report, TheExitCodeTellsWhatBecameOfTheFrames)
{
    const struct
    {
        std::uint64_t executed, decimated;
        Counts dropped, lost, interruptions;
        std::uint64_t pictures_failed;
        const char* failure;
        host::ExitCode code;
    } rows[] = {
        {10, 0, {}, {}, {}, 0, "", host::Done},
        {9, 1, {}, {}, {}, 0, "", host::Done},
        {6, 0, {{"stopped", 3}, {"region changed", 1}}, {}, {}, 0, "", host::Done},
        {9, 0, {{"queue full", 1}}, {}, {}, 0, "", host::DataLost},
        {9, 0, {{"error in half", 1}}, {}, {}, 0, "", host::DataLost},
        {10, 0, {}, {{"incomplete", 1}}, {}, 0, "", host::DataLost},
        {10, 0, {}, {}, {{"camera gone", 1}}, 0, "", host::DataLost},
        {10, 0, {}, {}, {}, 1, "", host::DataLost},
        {10, 0, {}, {{"incomplete", 1}}, {}, 0, "unplugged", host::Failed},
        {11, 0, {}, {}, {}, 0, "", host::Failed},  // a frame too many
    };
    for (const auto& row : rows) {
        host::TRunReport report = Good();
        host::TCameraReport& camera = report.cameras[0];
        camera.executed = row.executed;
        camera.decimated = row.decimated;
        camera.dropped = {row.dropped.begin(), row.dropped.end()};
        camera.lost = {row.lost.begin(), row.lost.end()};
        camera.interruptions = {row.interruptions.begin(), row.interruptions.end()};
        camera.counted = {{"missing packets", 1}};  // no loss
        camera.pictures_failed = row.pictures_failed;
        camera.failure = row.failure;
        EXPECT_EQ(host::CodeOf(report), row.code) << &row - rows;
    }
}

TEST(Report, NamesTheSumsThatDoNotClose)
{
    host::TRunReport report = Good();
    report.cameras[0].dropped = {{"queue full", 2}, {"error in half", 1}};
    report.cameras[0].nodes[1].dropped = 1;
    report.cameras[0].recording = {5, 3, 0, {{"disk low", 1}}};
    EXPECT_THAT(host::Imbalances(report),
                ElementsAre("left: 10 frames, but 10 executed, 0 decimated and 3 dropped",
                            "left, node half: 10 frames, but 5 executed, 5 decimated and 1 dropped",
                            "left: 5 frames to record, but 3 recorded and 1 not"));
}

TEST(Report, ForPeopleIsATable)
{
    host::TRunReport report = Good();
    report.cameras[0].executed = 9;
    report.cameras[0].dropped = {{"queue full", 1}};
    report.cameras[0].lost = {{"incomplete", 3}};
    report.cameras[0].interruptions = {{"camera gone", 2}};
    report.cameras[0].counted = {{"resent packets", 4}};
    report.cameras[0].waited = {0.5, 0.25, 1.5, 2.5};
    report.cameras[0].errors = {{"half", "out of luck", 7}};
    EXPECT_THAT(host::ReportText(report),
                HasSubstr("left: 10 frames in 2.00 s, 9 executed (4.5/s), 0 decimated, 1 dropped\n"
                          "  node     frames  executed  decimated  dropped   mean ms   p50 ms   p99 ms   max ms\n"
                          "  (tree)       10         9          0        1     0.000    0.000    0.000    0.000\n"
                          "  Source       10        10          0        0     0.000    0.000    0.000    0.000\n"
                          "    half       10         5          5        0     1.500    1.250    2.000    2.500\n"
                          "  waited: p50 0.250, p99 1.500, max 2.500 ms\n"
                          "  dropped: queue full 1\n"
                          "  lost before delivery: incomplete 3\n"
                          "  interrupted: camera gone 2\n"
                          "  counted: resent packets 4\n"
                          "  7 x half: out of luck\n"));
}

}  // namespace
