// Whole processes, from fork to the end: wall time, and the peak of resident memory as the system counts it. The floor
// of both is /bin/true in the same run: the peak begins with what this program had when it forked.
#include <benchmark/benchmark.h>

#include <cstdlib>
#include <iostream>
#include <string>

#include "process.h"

namespace {

void Measure(benchmark::State& state, const Arguments& words)
{
    for (auto _ : state) {
        const TProcess run = RunProcess(words);
        if (run.exit_code != 0) {
            state.SkipWithError((words[0] + " failed").c_str());
            break;
        }
        state.SetIterationTime(run.seconds);
        state.counters["peak_mb"] = run.peak_mb;
    }
}

/// One run of a process is one iteration; the command line's repetitions make many of it.
void Register(const std::string& name, const Arguments& words)
{
    benchmark::RegisterBenchmark(name.c_str(), Measure, words)
        ->Iterations(1)
        ->UseManualTime()
        ->Unit(benchmark::kMillisecond);
}

}  // namespace

int main(int argc, char** argv)
{
    benchmark::Initialize(&argc, argv);
    if (benchmark::ReportUnrecognizedArguments(argc, argv))
        return 1;
    std::string pictures = "/tmp/orvo_process_bench.XXXXXX";
    if (mkdtemp(&pictures[0]) == nullptr) {
        std::cerr << "process_bench: cannot make " << pictures << '\n';
        return 1;
    }

    const std::string photographs = "/usr/share/doc/opencv-doc/examples/data";
    Register("process/true", {"/bin/true"});
    Register("process/help", {ORVO_PROGRAM, "--help"});
    Register("process/check", {ORVO_PROGRAM, "check", ORVO_SOURCES "/bench/small_rig.ini"});
    Register("process/demo", {ORVO_PROGRAM, "run", ORVO_SOURCES "/examples/stereo/rig.ini", "--output", pictures});
    Register("process/demo_loop", {DEMO_BENCH, photographs, pictures});
    benchmark::RunSpecifiedBenchmarks();

    return RunProcess({"/bin/rm", "-r", pictures}).exit_code == 0 ? 0 : 1;
}
