// When a picture was taken, as far as its file can tell.
#ifndef IMAGES_STAMP_H
#define IMAGES_STAMP_H

#include <boost/date_time/posix_time/posix_time_types.hpp>
#include <string>

namespace images {

/// Where time stamps come from; the values of the key "STAMPS".
enum class Stamps
{
    FileTime,  ///< "FILE TIME": when the file was last modified, UTC
    FileName,  ///< "FILE NAME": the last number in the file's name
    Clock      ///< "CLOCK": when the frame is delivered, UTC
};

/// The time that a file's name holds: its last number, as seconds since 1970 when it has a decimal point
/// ("1305031102.175304.png") or 10 digits, milliseconds with 13, microseconds with 16, nanoseconds with 19 digits.
/// Stamps are cut to microseconds. Returns not_a_date_time for any other name.
boost::posix_time::ptime TimeOfName(const std::string& file);

/// When the file was last modified. Throws std::runtime_error naming the file.
boost::posix_time::ptime TimeOfFile(const std::string& file);

}  // namespace images

#endif
