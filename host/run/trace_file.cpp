#include "run/trace_file.h"

#include <fcntl.h>
#include <fmt/format.h>
#include <unistd.h>
#include <cerrno>
#include <cstring>
#include <stdexcept>
#include <utility>

#include "system/console.h"
#include "system/json_text.h"

namespace host {

namespace {

constexpr std::size_t block = 64 * 1024;
const std::string document_begin =
    "{\"displayTimeUnit\": \"ms\", \"traceEvents\": [\n"
    R"({"ph": "M", "pid": 1, "name": "process_name", "args": {"name": "orvo"}})";
const std::string document_end = "\n]}\n";

/// Microseconds with three decimals.
std::string Microseconds(std::int64_t ns)
{
    return fmt::format("{}{}.{:03}", ns < 0 ? "-" : "", std::abs(ns / 1000), std::abs(ns % 1000));
}

}  // namespace

CTraceFile::CTraceFile(std::filesystem::path file, CConsole& console)
    : path_(std::move(file)),
      console_(console),
      file_(open(path_.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0666))
{
    if (file_ >= 0 && WriteAtEnd(document_begin + document_end)) {
        end_ = static_cast<off_t>(document_begin.size());
        return;
    }
    const int error = errno;
    if (file_ >= 0)
        close(file_);
    throw std::runtime_error(
        fmt::format("{}: found {}, wanted a file to write the trace to", path_.string(), std::strerror(error)));
}

CTraceFile::~CTraceFile()
{
    Close();
}

unsigned int CTraceFile::AddTrack(const std::string& name)
{
    const unsigned int track = ++tracks_;
    Append(fmt::format(R"({{"ph": "M", "pid": 1, "tid": {}, "name": "thread_name", "args": {{"name": {}}}}})", track,
                       Quoted(name)));
    return track;
}

void CTraceFile::Add(unsigned int track, const std::string& quoted_name, std::int64_t begin_ns, std::int64_t length_ns)
{
    Append(fmt::format(R"({{"ph": "X", "pid": 1, "tid": {}, "name": {}, "ts": {}, "dur": {}}})", track, quoted_name,
                       Microseconds(begin_ns), Microseconds(length_ns)));
}

bool CTraceFile::Close()
{
    const std::lock_guard<std::mutex> lock(mutex_);
    if (file_ >= 0) {
        Write();
        close(file_);
        file_ = -1;
    }
    return !failed_;
}

std::string CTraceFile::Quoted(const std::string& name)
{
    return Json(name).dump(-1, ' ', false, Json::error_handler_t::replace);
}

void CTraceFile::Append(const std::string& event)
{
    const std::lock_guard<std::mutex> lock(mutex_);
    if (failed_)
        return;
    waiting_ += ",\n" + event;
    if (waiting_.size() >= block)
        Write();
}

void CTraceFile::Write()
{
    if (waiting_.empty())
        return;
    if (WriteAtEnd(waiting_ + document_end))
        end_ += static_cast<off_t>(waiting_.size());
    else
        Fail(errno);
    waiting_.clear();
}

/// False, with errno set, when not all of it could be written.
bool CTraceFile::WriteAtEnd(const std::string& text)
{
    for (std::size_t done = 0; done < text.size();) {
        const ssize_t count = pwrite(file_, text.data() + done, text.size() - done, end_ + static_cast<off_t>(done));
        if (count < 0)
            return false;
        done += static_cast<std::size_t>(count);
    }
    return true;
}

/// Cuts off what got into the file of a broken write. Its last end of the document had room, so this one has.
void CTraceFile::Fail(int error)
{
    failed_ = true;
    const bool whole = ftruncate(file_, end_) == 0 && WriteAtEnd(document_end);
    console_.Say(fmt::format("{}: found {}, wanted to go on with the trace; {}", path_.string(), std::strerror(error),
                             whole ? "it ends here" : "it is damaged"));
}

}  // namespace host
