// Who may write where: results go to standard output, talk to standard error. The device library writes its lines to
// std::cout, so while a CConsole lives these are talk, too; what it merely informs of ("[II]", with the lines that
// belong to it) is shown when asked for.
//
// Thread rule: every call is safe on any thread; lines of different threads do not mix.
#ifndef HOST_SYSTEM_CONSOLE_H
#define HOST_SYSTEM_CONSOLE_H

#include <memory>
#include <mutex>
#include <streambuf>
#include <string>
#include <vector>

namespace host {

/// One per process; make it before the library is used and before there are threads.
class CConsole
{
public:
    /// Redirects std::cout. `verbose`: the library's information is shown.
    explicit CConsole(bool verbose = false);
    /// Puts std::cout back and leaves the terminal below the live lines.
    ~CConsole();
    CConsole(const CConsole&) = delete;
    CConsole& operator=(const CConsole&) = delete;

    /// Writes one line of talk, above the live lines if there are any.
    void Say(const std::string& line);

    bool Verbose() const { return verbose_; }

    /// True when talk goes to a terminal, so that live lines make sense.
    bool Terminal() const { return terminal_; }

    /// Replaces the live lines at the bottom of the terminal, each cut at its width. Nothing happens in a pipe.
    void ShowLive(std::vector<std::string> lines);

    /// Gathers what this thread writes to std::cout, instead of showing it. Captures may nest.
    class CCapture
    {
    public:
        CCapture();
        ~CCapture();
        CCapture(const CCapture&) = delete;
        CCapture& operator=(const CCapture&) = delete;

        const std::vector<std::string>& Lines() const { return lines_; }
        /// The message of the last line that the library tagged "[EE]", with the lines that belong to it; or empty.
        std::string LastError() const;

    private:
        std::vector<std::string> lines_;
        std::vector<std::string>* outer_;
    };

private:
    class CLineBuffer;

    std::string Erasure() const;
    std::string LiveText() const;

    std::mutex mutex_;
    const bool verbose_;
    bool terminal_;
    std::vector<std::string> live_;
    std::unique_ptr<CLineBuffer> lines_;
    std::streambuf* stdout_buffer_;
};

/// Writes a text to standard output. Throws std::runtime_error when that fails (a full disk, a closed pipe).
void WriteResult(const std::string& text);

}  // namespace host

#endif
