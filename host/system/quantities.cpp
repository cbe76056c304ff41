#include "system/quantities.h"

#include <fmt/format.h>

namespace host {

namespace {

/// By hand, because Boost's own writing goes through streams and their locale.
std::string TimeParts(const boost::posix_time::ptime& time, char between, const char* zone)
{
    const auto date = time.date().year_month_day();
    const auto of_day = time.time_of_day();
    return fmt::format("{:04}-{:02}-{:02}{}{:02}:{:02}:{:02}.{:06}{}", static_cast<unsigned int>(date.year),
                       static_cast<unsigned int>(date.month), static_cast<unsigned int>(date.day), between,
                       of_day.hours(), of_day.minutes(), of_day.seconds(), of_day.total_microseconds() % 1000000, zone);
}

}  // namespace

std::string Plural(std::uint64_t count, const std::string& noun)
{
    return fmt::format("{} {}{}", count, noun, count == 1 ? "" : "s");
}

std::string BytesText(std::uint64_t bytes)
{
    static const char* const units[] = {"kB", "MB", "GB", "TB", "PB", "EB"};
    if (bytes < 1000)
        return Plural(bytes, "byte");
    double value = static_cast<double>(bytes) / 1000.0;
    std::size_t unit = 0;
    for (; value >= 999.5 && unit + 1 < std::size(units); ++unit)
        value /= 1000.0;
    return fmt::format("{:.{}f} {}", value, value < 9.995 ? 2 : value < 99.95 ? 1 : 0, units[unit]);
}

std::string DurationText(double seconds)
{
    if (seconds < 9.995)
        return fmt::format("{:.2f} s", seconds);
    if (seconds < 59.95)
        return fmt::format("{:.1f} s", seconds);
    const auto whole = static_cast<std::uint64_t>(seconds + 0.5);
    if (whole < 3600)
        return fmt::format("{} min {:02} s", whole / 60, whole % 60);
    return fmt::format("{} h {:02} min", whole / 3600, whole / 60 % 60);
}

std::string TimeText(const boost::posix_time::ptime& time)
{
    return time.is_special() ? "not timed" : TimeParts(time, ' ', "");
}

std::string IsoTime(const boost::posix_time::ptime& time)
{
    return time.is_special() ? std::string() : TimeParts(time, 'T', "Z");
}

}  // namespace host
