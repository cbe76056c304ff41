// Counts, bytes and times in the words in which people read them; the same under every locale.
#ifndef HOST_SYSTEM_QUANTITIES_H
#define HOST_SYSTEM_QUANTITIES_H

#include <boost/date_time/posix_time/posix_time_types.hpp>
#include <cstdint>
#include <string>

namespace host {

/// "1 frame", "2 frames".
std::string Plural(std::uint64_t count, const std::string& noun);

/// "512 bytes", "1.20 MB": three significant digits, powers of 1000.
std::string BytesText(std::uint64_t bytes);

/// "0.40 s", "12.3 s", "4 min 05 s", "1 h 00 min". Nothing below 0.
std::string DurationText(double seconds);

/// "2026-11-21 10:15:00.123456", or "not timed".
std::string TimeText(const boost::posix_time::ptime& time);

/// "2026-11-21T10:15:00.123456Z"; empty for a time that is none.
std::string IsoTime(const boost::posix_time::ptime& time);

}  // namespace host

#endif
