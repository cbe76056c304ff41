// Lines that somebody types, or another program writes, while this one does its work.
#ifndef HOST_SYSTEM_INPUT_LINES_H
#define HOST_SYSTEM_INPUT_LINES_H

#include <functional>
#include <string>
#include <thread>

namespace host {

/// Reads a file descriptor, a terminal, a pipe, a file, on a thread of its own, until its end or that of this object.
/// The descriptor's flags are left alone: it may share them with others, and a standard output that does not block
/// would lose text. One that is not open, or cannot be read, is at its end.
class CInputLines
{
public:
    static constexpr std::size_t longest = 4096;  ///< bytes of a line; the rest of a longer one is left out

    /// `on_line` gets each line without its end, the last one also when it has none; on the object's thread, and the
    /// next one once it has returned. It must not throw.
    CInputLines(int file, std::function<void(const std::string&)> on_line);
    /// Does not wait for more input; waits for `on_line` to return.
    ~CInputLines();
    CInputLines(const CInputLines&) = delete;
    CInputLines& operator=(const CInputLines&) = delete;

private:
    void Read(int file);
    bool AwaitInput(int file) const;
    void HandOut(std::string& begun);

    const std::function<void(const std::string&)> on_line_;
    bool skipping_ = false;  ///< the rest of a line that was too long
    int stop_[2];            ///< a pipe; that its writing end is closed ends the thread
    std::thread thread_;
};

}  // namespace host

#endif
