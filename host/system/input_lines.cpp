#include "system/input_lines.h"

#include <fcntl.h>
#include <poll.h>
#include <unistd.h>
#include <array>
#include <cerrno>
#include <system_error>
#include <utility>

namespace host {

CInputLines::CInputLines(int file, std::function<void(const std::string&)> on_line) : on_line_(std::move(on_line))
{
    if (pipe2(stop_, O_CLOEXEC) != 0)
        throw std::system_error(errno, std::generic_category(), "no pipe to read lines beside");
    try {
        thread_ = std::thread([this, file] { Read(file); });
    } catch (...) {
        close(stop_[0]);
        close(stop_[1]);
        throw;
    }
}

CInputLines::~CInputLines()
{
    close(stop_[1]);
    thread_.join();
    close(stop_[0]);
}

/// False when it is time to end.
bool CInputLines::AwaitInput(int file) const
{
    std::array<pollfd, 2> files = {{{stop_[0], POLLIN, 0}, {file, POLLIN, 0}}};
    while (poll(files.data(), files.size(), -1) < 0)
        if (errno != EINTR)
            return false;
    return files[0].revents == 0;
}

void CInputLines::Read(int file)
{
    std::string begun;
    std::array<char, longest> bytes;
    while (AwaitInput(file)) {
        const ssize_t count = read(file, bytes.data(), bytes.size());
        if (count < 0 && (errno == EINTR || errno == EAGAIN))
            continue;
        if (count <= 0)
            break;
        begun.append(bytes.data(), static_cast<std::size_t>(count));
        HandOut(begun);
    }
    if (!begun.empty() && AwaitInput(file))
        on_line_(begun);
}

/// Leaves what may still grow.
void CInputLines::HandOut(std::string& begun)
{
    std::size_t begin = 0;
    if (skipping_) {
        const auto end = begun.find('\n');
        if (end == std::string::npos)
            return begun.clear();
        skipping_ = false;
        begin = end + 1;
    }
    for (auto end = begun.find('\n', begin); end != std::string::npos; end = begun.find('\n', begin)) {
        on_line_(begun.substr(begin, end - begin));
        begin = end + 1;
    }
    begun.erase(0, begin);
    if (begun.size() > longest) {
        skipping_ = true;
        on_line_(std::exchange(begun, {}));
    }
}

}  // namespace host
