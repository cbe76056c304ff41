#include "host/spawned_program.h"

#include <fcntl.h>
#include <poll.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>
#include <csignal>
#include <stdexcept>

namespace host_test {

CSpawnedProgram::CSpawnedProgram(const std::vector<std::string>& arguments, const std::string& module_path)
    : out_(std::tmpfile())
{
    std::vector<char*> pointers{const_cast<char*>(ORVO_PROGRAM)};
    for (const std::string& argument : arguments)
        pointers.push_back(const_cast<char*>(argument.c_str()));
    pointers.push_back(nullptr);
    setenv("ORVO_MODULE_PATH", module_path.c_str(), 1);
    int talk[2];
    int input[2];
    if (out_ == nullptr || pipe2(talk, O_CLOEXEC) != 0 || pipe2(input, O_CLOEXEC) != 0)
        throw std::runtime_error("no file or pipe");
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_adddup2(&actions, input[0], STDIN_FILENO);
    posix_spawn_file_actions_adddup2(&actions, fileno(out_), STDOUT_FILENO);
    posix_spawn_file_actions_adddup2(&actions, talk[1], STDERR_FILENO);
    const int error = posix_spawn(&process_, ORVO_PROGRAM, &actions, nullptr, pointers.data(), environ);
    posix_spawn_file_actions_destroy(&actions);
    close(talk[1]);
    close(input[0]);
    talk_ = talk[0];
    input_ = input[1];
    if (error != 0)
        throw std::runtime_error("cannot start " ORVO_PROGRAM);
}

CSpawnedProgram::~CSpawnedProgram()
{
    std::fclose(out_);
    close(talk_);
    close(input_);
    if (process_ != 0) {
        kill(process_, SIGKILL);
        waitpid(process_, nullptr, 0);
    }
}

bool CSpawnedProgram::ReadTalk()
{
    pollfd file = {talk_, POLLIN, 0};
    if (poll(&file, 1, 60000) <= 0)
        throw std::runtime_error("the program hangs; so far it said: " + ended_.talk);
    char bytes[4096];
    const ssize_t count = read(talk_, bytes, sizeof bytes);
    if (count > 0)
        ended_.talk.append(bytes, static_cast<std::size_t>(count));
    return count > 0;
}

void CSpawnedProgram::AwaitTalk(const std::string& text)
{
    while (ended_.talk.find(text) == std::string::npos)
        if (!ReadTalk())
            throw std::runtime_error("the program ended without saying \"" + text + "\": " + ended_.talk);
}

void CSpawnedProgram::Signal(int signal)
{
    kill(process_, signal);
}

void CSpawnedProgram::Type(const std::string& text)
{
    if (write(input_, text.data(), text.size()) != static_cast<ssize_t>(text.size()))
        throw std::runtime_error("the program does not read");
}

void CSpawnedProgram::SignalToTheEnd(int signal)
{
    pollfd file = {talk_, POLLIN, 0};
    for (int tries = 0; tries < 600; ++tries) {
        Signal(signal);
        if (poll(&file, 1, 100) > 0 && !ReadTalk())
            return;
    }
    throw std::runtime_error("the program does not end over a signal");
}

TEnded CSpawnedProgram::Wait()
{
    while (ReadTalk())
        continue;
    int status = 0;
    waitpid(process_, &status, 0);
    process_ = 0;
    ended_.code = WIFEXITED(status) ? WEXITSTATUS(status) : -WTERMSIG(status);
    std::rewind(out_);
    for (int c; (c = std::getc(out_)) != EOF;)
        ended_.out += static_cast<char>(c);
    return ended_;
}

}  // namespace host_test
