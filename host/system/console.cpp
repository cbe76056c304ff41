#include "system/console.h"

#include <poll.h>
#include <sys/ioctl.h>
#include <unistd.h>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <iostream>
#include <stdexcept>

namespace host {

namespace {

/// The line that this thread has begun, and where its lines go when not to the user.
struct TThreadText
{
    std::string begun;
    std::vector<std::string>* capture = nullptr;
    bool informs = false;  ///< the last tagged line was an information; lines without a tag belong to it
};

TThreadText& ThreadText()
{
    thread_local TThreadText text;
    return text;
}

std::size_t TerminalWidth()
{
    winsize size{};
    return ioctl(STDERR_FILENO, TIOCGWINSZ, &size) == 0 && size.ws_col > 0 ? size.ws_col : 80;
}

std::size_t TerminalHeight()
{
    winsize size{};
    return ioctl(STDERR_FILENO, TIOCGWINSZ, &size) == 0 && size.ws_row > 1 ? size.ws_row : 24;
}

/// The first `columns` characters of UTF-8 text; one character counts as one column.
std::string Cut(const std::string& text, std::size_t columns)
{
    std::size_t characters = 0;
    for (std::size_t i = 0; i < text.size(); ++i)
        if ((static_cast<unsigned char>(text[i]) & 0xC0) != 0x80 && ++characters > columns)
            return text.substr(0, i);
    return text;
}

/// Talk is lost rather than that a run waits for somebody who does not read it.
void WriteTalk(const std::string& text)
{
    pollfd talk{STDERR_FILENO, POLLOUT, 0};
    if (poll(&talk, 1, 100) <= 0)
        return;
    std::fwrite(text.data(), 1, text.size(), stderr);
    std::fflush(stderr);
}

}  // namespace

/// Makes whole lines of what the threads write, each thread its own.
class CConsole::CLineBuffer : public std::streambuf
{
public:
    explicit CLineBuffer(CConsole& console) : console_(console) {}

protected:
    int_type overflow(int_type c) override
    {
        if (!traits_type::eq_int_type(c, traits_type::eof())) {
            const char text = traits_type::to_char_type(c);
            xsputn(&text, 1);
        }
        return traits_type::not_eof(c);
    }

    std::streamsize xsputn(const char* text, std::streamsize size) override
    {
        TThreadText& thread = ThreadText();
        thread.begun.append(text, static_cast<std::size_t>(size));
        std::size_t begin = 0;
        for (auto end = thread.begun.find('\n'); end != std::string::npos; end = thread.begun.find('\n', begin)) {
            Emit(thread, thread.begun.substr(begin, end - begin));
            begin = end + 1;
        }
        thread.begun.erase(0, begin);
        return size;
    }

private:
    void Emit(TThreadText& thread, const std::string& line)
    {
        if (thread.capture != nullptr)
            return thread.capture->push_back(line);
        const std::string tag = line.substr(0, 5);
        if (tag == "[II] " || tag == "[WW] " || tag == "[EE] ")
            thread.informs = tag == "[II] ";
        if (console_.verbose_ || !thread.informs)
            console_.Say(line);
    }

    CConsole& console_;
};

CConsole::CConsole(bool verbose)
    : verbose_(verbose),
      terminal_(isatty(STDERR_FILENO) == 1),
      lines_(new CLineBuffer(*this)),
      stdout_buffer_(std::cout.rdbuf(lines_.get()))
{
    ThreadText() = {};
}

CConsole::~CConsole()
{
    std::cout.rdbuf(stdout_buffer_);
}

void CConsole::Say(const std::string& line)
{
    const std::lock_guard<std::mutex> lock(mutex_);
    WriteTalk(Erasure() + line + '\n' + LiveText());
}

void CConsole::ShowLive(std::vector<std::string> lines)
{
    if (!terminal_)
        return;
    const std::lock_guard<std::mutex> lock(mutex_);
    std::string text = Erasure();
    live_ = std::move(lines);
    // What has scrolled off the top cannot be drawn over again.
    const std::size_t room = TerminalHeight() - 1;
    if (live_.size() > room) {
        live_.resize(room);
        live_.back() = "...";
    }
    text += LiveText();
    WriteTalk(text);
}

/// Puts the cursor where the live lines begin and clears what follows. The cursor may stand behind a "^C" that the
/// terminal has echoed.
std::string CConsole::Erasure() const
{
    return live_.empty() ? std::string() : "\r\x1b[" + std::to_string(live_.size()) + "A\x1b[J";
}

std::string CConsole::LiveText() const
{
    std::string text;
    const std::size_t width = live_.empty() ? 0 : TerminalWidth();
    for (const std::string& line : live_)
        text += Cut(line, width) + '\n';
    return text;
}

CConsole::CCapture::CCapture() : outer_(ThreadText().capture)
{
    ThreadText().capture = &lines_;
}

CConsole::CCapture::~CCapture()
{
    ThreadText().capture = outer_;
}

std::string CConsole::CCapture::LastError() const
{
    for (std::size_t first = lines_.size(); first-- > 0;) {
        if (lines_[first].compare(0, 5, "[EE] ") != 0)
            continue;
        const auto location_end = lines_[first].find(": ", 5);
        std::string message =
            location_end == std::string::npos ? lines_[first].substr(5) : lines_[first].substr(location_end + 2);
        for (std::size_t more = first + 1; more < lines_.size(); ++more)
            message += '\n' + lines_[more];
        return message;
    }
    return {};
}

void WriteResult(const std::string& text)
{
    if (std::fwrite(text.data(), 1, text.size(), stdout) != text.size() || std::fflush(stdout) != 0)
        throw std::runtime_error(std::string("cannot write to standard output: ") + std::strerror(errno));
}

}  // namespace host
