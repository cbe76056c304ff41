// Live sources through the program orvo, each beside the same source without us: processor time of whole processes for
// several numbers of frames, so that the slope is what a frame costs. And how long frames wait for their tree when four
// cameras run side by side.
#include <benchmark/benchmark.h>

#include <boost/property_tree/json_parser.hpp>
#include <iostream>
#include <string>

#include "folder.h"
#include "process.h"

namespace {

const std::string rig = ORVO_SOURCES "/bench/live_rig.ini";

Arguments Orvo(const std::string& camera, long frames)
{
    return {ORVO_PROGRAM, "run", rig, "--cameras", camera, "--frames", std::to_string(frames)};
}

Arguments AravisLoop(long frames)
{
    return {ARAVIS_LOOP, std::to_string(frames)};
}

/// The line of the camera "pattern" of live_rig.ini.
Arguments GstLaunch(long frames)
{
    return {"/usr/bin/gst-launch-1.0",
            "-q",
            "videotestsrc",
            "num-buffers=" + std::to_string(frames),
            "!",
            "video/x-raw,format=GRAY8,width=1280,height=960",
            "!",
            "fakesink"};
}

template <typename Words>
void MeasureCpu(benchmark::State& state, Words words)
{
    for (auto _ : state) {
        const TProcess run = RunProcess(words(state.range(0)));
        // At its highest rate the fake camera may outrun a busy machine, which orvo tells with exit code 3.
        if (run.exit_code != 0 && run.exit_code != 3) {
            state.SkipWithError("the program failed");
            break;
        }
        state.SetIterationTime(run.cpu_seconds);
    }
}

template <typename Words>
void Register(const std::string& name, Words words)
{
    benchmark::RegisterBenchmark(name.c_str(), [words](benchmark::State& state) { MeasureCpu(state, words); })
        ->Arg(100)
        ->Arg(1100)
        ->Iterations(1)
        ->UseManualTime()
        ->Unit(benchmark::kMillisecond);
}

/// Four cameras at 30 frames a second, for five seconds.
void MeasureWaits(benchmark::State& state)
{
    const CFolder folder;
    const std::string report = (folder / "report.json").string();
    for (auto _ : state) {
        // Exit code 3 tells of losses, which are counted below.
        const double seconds =
            RunProcess({ORVO_PROGRAM, "run", rig, "--cameras", "one,two,three,four", "--seconds", "5", "--json"},
                       report)
                .seconds;
        boost::property_tree::ptree tree;
        boost::property_tree::read_json(report, tree);
        double p99_ms = 0.0;
        double frames = 0.0;
        double lost = 0.0;
        for (const auto& camera : tree.get_child("cameras")) {
            p99_ms = std::max(p99_ms, camera.second.get<double>("waited_ms.p99"));
            frames += camera.second.get<double>("frames");
            for (const char* const losses : {"dropped", "lost", "interruptions"})
                for (const auto& reason : camera.second.get_child(losses))
                    lost += reason.second.get_value<double>();
        }
        if (frames < 500.0) {
            state.SkipWithError("found too few frames, wanted 30 a second of each camera");
            break;
        }
        state.SetIterationTime(seconds);
        state.counters["worst_p99_ms"] = p99_ms;
        state.counters["lost"] = lost;
    }
}

}  // namespace

int main(int argc, char** argv)
{
    benchmark::Initialize(&argc, argv);
    if (benchmark::ReportUnrecognizedArguments(argc, argv))
        return 1;
    Register("live_genicam/orvo", [](long frames) { return Orvo("fast", frames); });
    Register("live_genicam/aravis", AravisLoop);
    Register("live_gst/orvo", [](long frames) { return Orvo("pattern", frames); });
    Register("live_gst/gst_launch", GstLaunch);
    benchmark::RegisterBenchmark("live_waits", MeasureWaits)
        ->Iterations(1)
        ->UseManualTime()
        ->Unit(benchmark::kMillisecond);
    benchmark::RunSpecifiedBenchmarks();
    return 0;
}
