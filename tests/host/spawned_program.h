// The built program orvo as a process of its own.
#ifndef TESTS_HOST_SPAWNED_PROGRAM_H
#define TESTS_HOST_SPAWNED_PROGRAM_H

#include <sys/types.h>
#include <cstdio>
#include <string>
#include <vector>

namespace host_test {

struct TEnded
{
    int code = 0;  ///< exit code, or -signal
    std::string out;
    std::string talk;
};

/// Runs orvo with the modules of the tests in front. A program that hangs is killed after a minute and fails the test.
class CSpawnedProgram
{
public:
    explicit CSpawnedProgram(const std::vector<std::string>& arguments, const std::string& module_path = TEST_MODULES);
    ~CSpawnedProgram();
    CSpawnedProgram(const CSpawnedProgram&) = delete;
    CSpawnedProgram& operator=(const CSpawnedProgram&) = delete;

    /// Waits until standard error holds the text.
    void AwaitTalk(const std::string& text);
    void Signal(int signal);
    /// Writes to standard input, a pipe that stays open.
    void Type(const std::string& text);
    /// Signals again and again until the program ends, since a signal close upon the first is taken for the same.
    void SignalToTheEnd(int signal);
    /// Reads to the end and waits.
    TEnded Wait();

private:
    bool ReadTalk();  ///< false: at its end

    pid_t process_ = 0;
    std::FILE* out_;
    int talk_ = -1;
    int input_ = -1;
    TEnded ended_;
};

/// Start and wait.
inline TEnded Orvo(const std::vector<std::string>& arguments, const std::string& module_path = TEST_MODULES)
{
    return CSpawnedProgram(arguments, module_path).Wait();
}

}  // namespace host_test

#endif
