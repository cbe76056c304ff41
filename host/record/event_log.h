// The events of a recording: noted on any thread, written on one.
//
// docs/guides/record-and-replay.md lists what is noted and how it reads.
#ifndef HOST_RECORD_EVENT_LOG_H
#define HOST_RECORD_EVENT_LOG_H

#include <boost/date_time/posix_time/posix_time_types.hpp>
#include <cstddef>
#include <filesystem>
#include <map>
#include <memory>
#include <optional>
#include <string>

#include "record/watched_file.h"

namespace data {
class CEventWriter;
}

namespace host {

/// Time counts from the moment in which the log is made. Events wait in memory, in the order of their times, until
/// Write; what comes while most_waiting wait is left out, and an event says how many that were.
class CEventLog
{
public:
    static constexpr std::size_t most_waiting = 10000;

    /// Variables of the user interface, by id, that go by a name of their own: "left Exposure.Time".
    using Names = std::map<long, std::string>;

    /// From here on every change of a variable of the user interface is noted, on the thread that makes it: as
    /// "parameter", or, of one with a name, as "video", and then only if it has another value than was noted last.
    explicit CEventLog(Names names = {});
    ~CEventLog();
    CEventLog(const CEventLog&) = delete;
    CEventLog& operator=(const CEventLog&) = delete;

    /// UTC, of time 0.
    boost::posix_time::ptime Start() const;

    /// Any thread; takes the time now, and never waits for the disk. `id` is one word; line ends in `text` become
    /// blanks.
    void Note(const std::string& id, const std::string& text);

    /// Notes the values of the variables with names, as far as they have one. Calls their getters.
    void NoteValues();

    // One thread at a time.

    /// Creates the file. Throws std::runtime_error.
    void Open(const std::filesystem::path& file);
    /// Hands all that was noted to the operating system; without an open file it is let go. Throws std::runtime_error
    /// when that fails, and when the file is gone or another one is in its place.
    void Write();
    void Close();

private:
    class CWaiting;

    std::shared_ptr<CWaiting> waiting_;  ///< shared with an observer whose last call may outlive the log
    std::size_t observer_;
    std::unique_ptr<data::CEventWriter> writer_;
    std::optional<CWatchedFile> file_;
};

}  // namespace host

#endif
