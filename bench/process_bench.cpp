// Whole processes, from fork to the end: wall time, and the peak of resident memory as the system counts it. The floor
// of both is /bin/true in the same run: the peak begins with what this program had when it forked.
#include <benchmark/benchmark.h>
#include <fcntl.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <cstdlib>
#include <iostream>
#include <string>
#include <vector>

namespace {

using Arguments = std::vector<std::string>;

struct TRun
{
    double seconds;
    double peak_mb;
    bool succeeded;
};

/// In the child: becomes the program, silent.
[[noreturn]] void Become(const std::vector<char*>& arguments)
{
    const int null = open("/dev/null", O_RDWR);
    if (null >= 0 && dup2(null, 0) == 0 && dup2(null, 1) == 1 && dup2(null, 2) == 2)
        execv(arguments[0], arguments.data());
    _exit(127);
}

TRun RunProcess(Arguments words)
{
    std::vector<char*> arguments;
    for (std::string& word : words)
        arguments.push_back(&word[0]);
    arguments.push_back(nullptr);

    const auto begin = std::chrono::steady_clock::now();
    const pid_t child = fork();
    if (child == 0)
        Become(arguments);
    int status = -1;
    rusage usage{};
    const bool ended = child > 0 && wait4(child, &status, 0, &usage) == child;
    const std::chrono::duration<double> elapsed = std::chrono::steady_clock::now() - begin;
    return TRun{elapsed.count(), static_cast<double>(usage.ru_maxrss) * 1024e-6,
                ended && WIFEXITED(status) && WEXITSTATUS(status) == 0};
}

void Measure(benchmark::State& state, const Arguments& words)
{
    for (auto _ : state) {
        const TRun run = RunProcess(words);
        if (!run.succeeded) {
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

    return RunProcess({"/bin/rm", "-r", pictures}).succeeded ? 0 : 1;
}
