// Runs a program and tells what it took.
#ifndef BENCH_PROCESS_H
#define BENCH_PROCESS_H

#include <fcntl.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <string>
#include <vector>

using Arguments = std::vector<std::string>;

struct TProcess
{
    double seconds;      ///< from fork to the end
    double cpu_seconds;  ///< of all its threads, in the program and in the system
    double peak_mb;      ///< resident memory; begins with what the parent had when it forked
    int exit_code;       ///< -1 for one that did not end by itself
};

/// In the child: becomes the program, silent but for `output`.
[[noreturn]] inline void Become(const std::vector<char*>& arguments, const std::string& output)
{
    const int null = open("/dev/null", O_RDWR);
    const int out = open(output.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0600);
    if (null >= 0 && dup2(null, 0) == 0 && dup2(out, 1) == 1 && dup2(null, 2) == 2)
        execv(arguments[0], arguments.data());
    _exit(127);
}

/// Waits for the end; `output` is the file that gets what it writes to standard output.
inline TProcess RunProcess(Arguments words, const std::string& output = "/dev/null")
{
    std::vector<char*> arguments;
    for (std::string& word : words)
        arguments.push_back(&word[0]);
    arguments.push_back(nullptr);

    const auto begin = std::chrono::steady_clock::now();
    const pid_t child = fork();
    if (child == 0)
        Become(arguments, output);
    int status = -1;
    rusage usage{};
    const bool ended = child > 0 && wait4(child, &status, 0, &usage) == child;
    const std::chrono::duration<double> elapsed = std::chrono::steady_clock::now() - begin;
    const auto seconds = [](const timeval& time) {
        return static_cast<double>(time.tv_sec) + static_cast<double>(time.tv_usec) * 1e-6;
    };
    return TProcess{elapsed.count(), seconds(usage.ru_utime) + seconds(usage.ru_stime),
                    static_cast<double>(usage.ru_maxrss) * 1024e-6,
                    ended && WIFEXITED(status) ? WEXITSTATUS(status) : -1};
}

#endif
