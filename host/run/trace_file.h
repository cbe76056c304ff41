// A trace of a run: which step of which camera ran when, for the trace viewers of browsers.
//
// The file is JSON: {"displayTimeUnit": "ms", "traceEvents": [...]} with one event a line. Every step is a complete
// event ("ph": "X") with its begin "ts" and length "dur" in microseconds, three decimals; every track is a thread "tid"
// that a metadata event ("ph": "M") names. The events of a track come in the order in which they ended.
#ifndef HOST_RUN_TRACE_FILE_H
#define HOST_RUN_TRACE_FILE_H

#include <sys/types.h>
#include <cstdint>
#include <filesystem>
#include <mutex>
#include <string>

namespace host {

class CConsole;

/// Written while the run is on, in blocks of some ten kilobytes. Each write ends with the end of the document and the
/// next one begins by overwriting that, so the file is whole at any time: also when the process is killed, or the disk
/// is full and the file ends early.
/// Thread rule: Add is safe on any thread, and may wait for the disk; the rest belongs to the thread that made it.
class CTraceFile
{
public:
    /// Makes the file, or empties the one that is there. Throws std::runtime_error when it cannot be written to.
    CTraceFile(std::filesystem::path file, CConsole& console);
    /// Closes.
    ~CTraceFile();
    CTraceFile(const CTraceFile&) = delete;
    CTraceFile& operator=(const CTraceFile&) = delete;

    /// A new row of the picture, below the others. Any name will do.
    unsigned int AddTrack(const std::string& name);

    /// One step; times in nanoseconds, `begin_ns` since any moment that all steps share. `quoted_name` is JSON, as
    /// Quoted() makes it. An error is told on the console, once, and what comes after it is left out.
    void Add(unsigned int track, const std::string& quoted_name, std::int64_t begin_ns, std::int64_t length_ns);

    /// Writes what is left; nothing may be added then. False when something is missing in the file.
    bool Close();

    /// A name as JSON text, with its quotation marks; bytes that are no UTF-8 become U+FFFD.
    static std::string Quoted(const std::string& name);

private:
    void Append(const std::string& event);
    void Write();
    bool WriteAtEnd(const std::string& text);
    void Fail(int error);

    const std::filesystem::path path_;
    CConsole& console_;
    int file_;
    unsigned int tracks_ = 0;

    std::mutex mutex_;  ///< guards the rest
    std::string waiting_;
    off_t end_ = 0;  ///< where the end of the document begins in the file
    bool failed_ = false;
};

}  // namespace host

#endif
