#include "record/event_file.h"

#include <fmt/format.h>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <memory>
#include <stdexcept>

#include "data/event_writer.h"
#include "rig/fault.h"

namespace host {

namespace {

constexpr std::size_t longest_line = 1 << 20;  // bytes; what is longer is no event, and must not fill the memory

struct TCloser
{
    void operator()(std::FILE* file) const { std::fclose(file); }
};
using File = std::unique_ptr<std::FILE, TCloser>;

/// A file's lines with their places.
class CLines
{
public:
    explicit CLines(const std::filesystem::path& file) : name_(file.string()), file_(std::fopen(file.c_str(), "rb"))
    {
        if (!file_)
            Fail();
    }

    /// False at the end of the file. Throws std::runtime_error when the file cannot be read.
    bool Next()
    {
        offset_ += bytes_;
        bytes_ = 0;
        line_.clear();
        ended_ = false;
        for (int c; !ended_ && (c = getc_unlocked(file_.get())) != EOF; ++bytes_) {
            if (c == '\n')
                ended_ = true;
            else if (line_.size() < longest_line)
                line_ += static_cast<char>(c);
        }
        if (std::ferror(file_.get()) != 0)
            Fail();
        return bytes_ > 0;
    }

    const std::string& Line() const { return line_; }  ///< without its end, cut when too long
    std::uint64_t Offset() const { return offset_; }   ///< of its first byte
    std::uint64_t Bytes() const { return bytes_; }     ///< with its end
    bool Ended() const { return ended_; }              ///< by a line feed, not by the end of the file
    bool Whole() const { return bytes_ <= line_.size() + 1; }

private:
    [[noreturn]] void Fail() const { throw std::runtime_error(fmt::format("{}: {}", name_, std::strerror(errno))); }

    const std::string name_;
    const File file_;
    std::string line_;
    std::uint64_t offset_ = 0;
    std::uint64_t bytes_ = 0;
    bool ended_ = false;
};

/// What is wrong with a line, or nothing; a sound one is counted.
std::string Read(const CLines& lines, TEventFile& file)
{
    if (!lines.Whole())
        return fmt::format("found a line of {} bytes, wanted an event", lines.Bytes());
    if (!lines.Ended())
        return fmt::format("found {} and the end of the file, wanted a whole line", Quoted(lines.Line()));
    try {
        const data::CEvent event = data::CEvent::Parse(lines.Line());
        ++file.events;
        ++file.counts[event.ID()];
        const auto& key = event.Key();
        if (!key.is_special()) {
            file.first = file.first.is_special() || key < file.first ? key : file.first;
            file.last = file.last.is_special() || file.last < key ? key : file.last;
        }
        return {};
    } catch (const std::invalid_argument& error) {
        // The text of the error repeats the line, however long it is.
        const std::string text = error.what();
        const auto wanted = text.rfind(", wanted ");
        return fmt::format("found {}{}", Quoted(lines.Line()), wanted == std::string::npos ? "" : text.substr(wanted));
    }
}

}  // namespace

bool IsEventFile(const std::filesystem::path& file)
{
    std::error_code ignored;
    if (!std::filesystem::is_regular_file(file, ignored))
        return false;
    const File opened(std::fopen(file.c_str(), "rb"));
    char begin[sizeof data::event_file_magic - 1];
    return opened && std::fread(begin, 1, sizeof begin, opened.get()) == sizeof begin &&
           std::memcmp(begin, data::event_file_magic, sizeof begin) == 0;
}

TEventFile ReadEventFile(const std::filesystem::path& file)
{
    // A pipe would keep its reader waiting, and a device need not end.
    const auto status = std::filesystem::status(file);
    if (std::filesystem::exists(status) && !std::filesystem::is_regular_file(status))
        throw std::runtime_error(file.string() + ": found no regular file, wanted an event file");
    CLines lines(file);
    if (!lines.Next() || lines.Line() != data::event_file_magic)
        throw std::runtime_error(fmt::format("{}: found the first line {}, wanted \"{}\"", file.string(),
                                             Quoted(lines.Line()), data::event_file_magic));
    TEventFile read;
    while (lines.Next()) {
        const std::string fault = Read(lines, read);
        if (!fault.empty())
            read.damage.push_back({file.filename().string(), lines.Offset(), lines.Bytes(), fault});
    }
    return read;
}

}  // namespace host
