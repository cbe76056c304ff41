#include "host/spawned_program.h"

#include <fcntl.h>
#include <poll.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>
#include <array>
#include <chrono>
#include <csignal>
#include <stdexcept>

namespace host_test {

namespace {

std::vector<char*> Pointers(std::vector<std::string>& texts)
{
    std::vector<char*> pointers;
    for (std::string& text : texts)
        pointers.push_back(text.data());
    pointers.push_back(nullptr);
    return pointers;
}

/// This process's environment with another ORVO_MODULE_PATH.
std::vector<std::string> Environment(const std::string& module_path)
{
    std::vector<std::string> environment{"ORVO_MODULE_PATH=" + module_path};
    for (char** entry = environ; *entry != nullptr; ++entry)
        if (std::string(*entry).rfind("ORVO_MODULE_PATH=", 0) != 0)
            environment.emplace_back(*entry);
    return environment;
}

bool Drain(int& file, std::string& text)
{
    std::array<char, 4096> bytes{};
    const ssize_t count = read(file, bytes.data(), bytes.size());
    if (count > 0) {
        text.append(bytes.data(), static_cast<std::size_t>(count));
        return true;
    }
    close(file);
    file = -1;
    return false;
}

}  // namespace

CSpawnedProgram::CSpawnedProgram(const std::vector<std::string>& arguments, const std::string& module_path)
{
    std::vector<std::string> texts{ORVO_PROGRAM};
    texts.insert(texts.end(), arguments.begin(), arguments.end());
    std::vector<std::string> environment = Environment(module_path);
    int out[2];
    int talk[2];
    if (pipe2(out, O_CLOEXEC) != 0 || pipe2(talk, O_CLOEXEC) != 0)
        throw std::runtime_error("no pipe");
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_adddup2(&actions, out[1], STDOUT_FILENO);
    posix_spawn_file_actions_adddup2(&actions, talk[1], STDERR_FILENO);
    const int error =
        posix_spawn(&process_, ORVO_PROGRAM, &actions, nullptr, Pointers(texts).data(), Pointers(environment).data());
    posix_spawn_file_actions_destroy(&actions);
    close(out[1]);
    close(talk[1]);
    out_ = out[0];
    talk_ = talk[0];
    if (error != 0)
        throw std::runtime_error("cannot start " ORVO_PROGRAM);
}

CSpawnedProgram::~CSpawnedProgram()
{
    for (const int file : {out_, talk_})
        if (file >= 0)
            close(file);
    if (process_ != 0) {
        kill(process_, SIGKILL);
        waitpid(process_, nullptr, 0);
    }
}

void CSpawnedProgram::ReadMore()
{
    pollfd files[] = {{out_, POLLIN, 0}, {talk_, POLLIN, 0}};  // a file of -1 is left out
    if (poll(files, 2, 60000) <= 0)
        throw std::runtime_error("the program hangs; so far it said: " + ended_.talk);
    if (files[0].revents != 0)
        Drain(out_, ended_.out);
    if (files[1].revents != 0)
        Drain(talk_, ended_.talk);
}

void CSpawnedProgram::AwaitTalk(const std::string& text)
{
    while (ended_.talk.find(text) == std::string::npos) {
        if (talk_ < 0)
            throw std::runtime_error("the program ended without saying \"" + text + "\": " + ended_.talk);
        ReadMore();
    }
}

void CSpawnedProgram::Signal(int signal)
{
    kill(process_, signal);
}

TEnded CSpawnedProgram::Wait()
{
    while (out_ >= 0 || talk_ >= 0)
        ReadMore();
    int status = 0;
    waitpid(process_, &status, 0);
    process_ = 0;
    ended_.code = WIFEXITED(status) ? WEXITSTATUS(status) : -WTERMSIG(status);
    return ended_;
}

TEnded Orvo(const std::vector<std::string>& arguments, const std::string& module_path)
{
    return CSpawnedProgram(arguments, module_path).Wait();
}

}  // namespace host_test
