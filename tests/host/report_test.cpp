#include "run/report.h"

#include <gmock/gmock.h>
#include <functional>
#include <nlohmann/json.hpp>

namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

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

struct TRow
{
    const char* name;
    std::function<void(host::TCameraReport&)> change;
    host::ExitCode code;
};

TEST(Report, TheExitCodeTellsWhatBecameOfTheFrames)
{
    const TRow rows[] = {
        {"all executed", [](auto&) {}, host::Done},
        {"decimated", [](auto& c) { c.executed = 9, c.decimated = 1; }, host::Done},
        {"stopped",
         [](auto& c) {
             c.executed = 6, c.dropped = {{"stopped", 4}};
         },
         host::Done},
        {"queue full",
         [](auto& c) {
             c.executed = 9, c.dropped = {{"queue full", 1}};
         },
         host::DataLost},
        {"error in a node",
         [](auto& c) {
             c.executed = 9, c.dropped = {{"error in half", 1}};
         },
         host::DataLost},
        {"lost before delivery",
         [](auto& c) {
             c.lost = {{"incomplete", 1}};
         },
         host::DataLost},
        {"picture not written", [](auto& c) { c.pictures_failed = 1; }, host::DataLost},
        {"source failed",
         [](auto& c) {
             c.failure = "unplugged", c.lost = {{"incomplete", 1}};
         },
         host::Failed},
        {"a frame too many", [](auto& c) { c.executed = 11; }, host::Failed},
        {"a frame too few in a node", [](auto& c) { c.nodes[1].decimated = 4; }, host::Failed},
    };
    for (const TRow& row : rows) {
        host::TRunReport report = Good();
        row.change(report.cameras[0]);
        EXPECT_EQ(host::CodeOf(report), row.code) << row.name;
    }
}

TEST(Report, NamesTheSumsThatDoNotClose)
{
    host::TRunReport report = Good();
    EXPECT_THAT(host::Imbalances(report), IsEmpty());
    report.cameras[0].dropped = {{"queue full", 2}, {"error in half", 1}};
    report.cameras[0].nodes[1].dropped = 1;
    EXPECT_THAT(host::Imbalances(report),
                ElementsAre("left: 10 frames, but 10 executed, 0 decimated and 3 dropped",
                            "left, node half: 10 frames, but 5 executed, 5 decimated and 1 dropped"));
}

TEST(Report, ForPeopleIsATable)
{
    host::TRunReport report = Good();
    report.cameras[0].executed = 9;
    report.cameras[0].dropped = {{"queue full", 1}};
    report.cameras[0].lost = {{"incomplete", 3}};
    report.cameras[0].errors = {{"half", "out of luck", 7}};
    EXPECT_THAT(host::ReportText(report),
                HasSubstr("left: 10 frames in 2.00 s, 9 executed (4.5/s), 0 decimated, 1 dropped\n"
                          "  node     frames  executed  decimated  dropped   mean ms   p50 ms   p99 ms   max ms\n"
                          "  (tree)       10         9          0        1     0.000    0.000    0.000    0.000\n"
                          "  Source       10        10          0        0     0.000    0.000    0.000    0.000\n"
                          "    half       10         5          5        0     1.500    1.250    2.000    2.500\n"
                          "  dropped: queue full 1\n"
                          "  lost before delivery: incomplete 3\n"
                          "  7 x half: out of luck\n"));
}

TEST(Report, ForProgramsHoldsTheSameNumbers)
{
    host::TRunReport report = Good();
    report.cameras[0].dropped = {{"queue full", 1}};
    report.cameras[0].failure = "unplugged \xff";  // no UTF-8
    const auto json = nlohmann::json::parse(host::ReportJson(report));
    const auto& camera = json.at("cameras").at(0);
    EXPECT_EQ(camera.at("frames"), 10);
    EXPECT_EQ(camera.at("dropped").at("queue full"), 1);
    EXPECT_EQ(camera.at("nodes").at(1).at("decimated"), 5);
    EXPECT_EQ(camera.at("nodes").at(1).at("time_ms").at("p99"), 2.0);
    EXPECT_EQ(camera.at("failure"), "unplugged \xEF\xBF\xBD");
    EXPECT_EQ(json.at("interrupted"), false);
}

}  // namespace
