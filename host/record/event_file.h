// An event file as its reader sees it: how many events of which kind, over what time, and which lines are none.
#ifndef HOST_RECORD_EVENT_FILE_H
#define HOST_RECORD_EVENT_FILE_H

#include <boost/date_time/posix_time/posix_time_types.hpp>
#include <cstdint>
#include <filesystem>
#include <map>
#include <string>
#include <vector>

#include "rec/recording.h"

namespace host {

struct TEventFile
{
    std::uint64_t events = 0;                     ///< lines that are sound
    std::map<std::string, std::uint64_t> counts;  ///< of these, by identifier
    /// The least and the greatest key; not_a_date_time when no event has a time.
    boost::posix_time::time_duration first{boost::date_time::not_a_date_time};
    boost::posix_time::time_duration last{boost::date_time::not_a_date_time};
    /// Lines that are no events, and a last one that breaks off. Each is passed over.
    std::vector<rec::TDamage> damage;
};

/// True when the file begins as event files do.
bool IsEventFile(const std::filesystem::path& file);

/// Reads the file to its end, a line at a time. Throws std::runtime_error naming it when it cannot be read or does not
/// begin as an event file.
TEventFile ReadEventFile(const std::filesystem::path& file);

}  // namespace host

#endif
