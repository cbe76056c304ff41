// Event files: one line of text per event, sorted by a cache on their way or written as they come.
//
// The file: the line "Morvek MEF 20", then one line per event as its GetString gives it, each ended by one line feed;
// docs/formats/mef.md describes it. There is no count, no index and no trailer: a file that breaks off is read as far
// as it goes.
//
// The life of a writer: constructed with Caching_Enabled; events are dumped into its caches and reach the file with
// Cache_Flush or with WriteOn<Caching_Disabled>, after which they are written as they come; destroyed, which closes the
// file and drops what is still cached.
//
// Thread rule: one mutex guards the caches, the counters and the file; the calls that take it say so and may come from
// several threads. Cache_Flush, Cache_Discard and the three write_on_ calls do not take it: while one of them runs,
// no other call may.
#ifndef DATA_EVENT_WRITER_H
#define DATA_EVENT_WRITER_H

#include <boost/date_time/posix_time/posix_time_types.hpp>
#include <boost/filesystem/path.hpp>
#include <boost/noncopyable.hpp>
#include <boost/thread/mutex.hpp>
#include <cstdint>
#include <fstream>
#include <map>
#include <string>
#include <utility>
#include <vector>

#include "base/export.h"
#include "orvo_data/event.h"

namespace data {

/// The first line of an event file, without its line end.
constexpr char event_file_magic[] = "Morvek MEF 20";

class ORVO_DEV_API CEventWriter : private boost::noncopyable
{
public:
    enum CachingPolicy
    {
        Caching_Enabled = 0,   ///< events wait, sorted, in the caches
        Caching_Disabled = 1,  ///< events go straight to the file, in the order of the calls
    };

    /// Opens `file`, which loses what it held, and writes the first line. With a `cache_dir`, the file of that name in
    /// that folder is written instead, and moved to `file` on destruction; that folder may be on another disk. Should
    /// both be one and the same file, it is written in place.
    /// Throws std::runtime_error "Error opening PATH. Check permissions", boost::thread_resource_error when there is no
    /// mutex to be had.
    CEventWriter(const std::string& file, const std::string& cache_dir);

    /// Closes the file and writes a table of the events given, by identifier, to standard output. Events that are still
    /// cached are dropped on purpose: what nobody flushed was not meant to be kept.
    /// With a cache folder, copies the cache file to its place and removes it, the copy's failure unnoticed: `file` has
    /// to stay writable. Throws boost::filesystem::filesystem_error, then without a table, when the cache file cannot
    /// be removed, but never while another exception is on its way.
    ~CEventWriter() noexcept(false);

    /// Chooses the policy and says so on standard output; takes the mutex. Caching_Disabled flushes the caches.
    template <CachingPolicy P>
    void WriteOn();

    /// Counts the event and caches or writes it; takes the mutex.
    void Dump(const CEvent& e);
    CEventWriter& operator<<(const CEvent& e);

    /// The same for an event that is to be written whatever happens to the others: while caching, it goes into a cache
    /// of its own, which only a flush empties.
    void DumpPersistent(const CEvent& e);

    /// Writes all cached events in their order and empties the caches. Among equal events the persistent ones come
    /// first, and otherwise those that were dumped later.
    void Cache_Flush();
    /// Empties the event cache without writing it; persistent events stay.
    void Cache_Discard();
    /// Drops the cached events with a key less than `t`, not the persistent ones; takes the mutex. Not-a-date-time is
    /// less than nothing, and nothing is less than it.
    void Remove_from_cache(const boost::posix_time::time_duration& t);

    /// Hands what was written so far, without the caches, to the operating system, until then up to 256 KiB of lines
    /// are in this process alone; takes the mutex. Returns false when that or any write before it failed: the file is
    /// then incomplete, and nothing more reaches it. No other call tells of a failed write.
    bool Sync();

    /// Where the file ended, in bytes, when the last event came: without caching, where its line begins. Zero before
    /// the first event, -1 after a failed write. Takes the mutex.
    std::streamoff Position() const;

    // Where an event goes; uncounted.
    void write_on_disk(const CEvent& e);
    void write_on_cache(const CEvent& e);
    void write_on_persistent_cache(const CEvent& e);

private:
    void Count(const CEvent& e);
    void WritePending();
    void Report() const;

    mutable boost::mutex mutex_;
    std::ofstream file_;
    std::string pending_;  ///< lines on their way to the file
    std::string line_;
    std::string file_path_;
    std::string cache_path_;  ///< empty without a cache folder
    bool caching_ = true;
    // Both in order of arrival, because appending is cheap; whoever looks for the order of the events sorts.
    std::vector<CEvent> cache_;
    std::vector<CEvent> persistent_cache_;
    std::map<std::string, std::uint64_t> counts_;                        ///< of events given, by identifier
    std::pair<const std::string, std::uint64_t>* last_count_ = nullptr;  ///< one identifier often follows itself
    std::streamoff written_ = 0;  ///< counted here, because asking the stream costs a system call
    std::streamoff position_ = 0;
};

template <>
ORVO_DEV_API void CEventWriter::WriteOn<CEventWriter::Caching_Enabled>();
template <>
ORVO_DEV_API void CEventWriter::WriteOn<CEventWriter::Caching_Disabled>();

/// Copies the content of `from` to `to`, which loses what it held. When `from` cannot be opened, `to` ends up empty;
/// when `to` cannot, nothing happens. Neither is reported.
ORVO_DEV_API void __Copy_File(const boost::filesystem::path& from, const boost::filesystem::path& to);

}  // namespace data

#endif
