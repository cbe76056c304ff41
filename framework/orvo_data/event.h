// Events: what happened at which time, one line of text each, as event files hold them.
//
// The line, "<key> <id> <text>", two single blanks between the three and no line end:
//   key    the time with microseconds, "00:00:01.250000"; two digits of hours or, from 100 hours on, as many as it
//          takes; "-" before a negative one; "not-a-date-time", "+infinity" and "-infinity" for the special values
//   id     what kind of event it is: at least one byte, no blanks and no control characters
//   text   everything behind the second blank, blanks included; it may be empty, then the line ends with that blank
// It is the same under every locale.
//
// What the device layer relies on: copies by value, ID() and Key() by reference, GetString(), and an operator< that is
// a strict weak order. The rest is for those who make events and read event files.
//
// Thread rule: an event never changes, and copies of it may be used and destroyed on several threads at once.
#ifndef ORVO_DATA_EVENT_H
#define ORVO_DATA_EVENT_H

#include <boost/date_time/posix_time/posix_time_types.hpp>
#include <boost/smart_ptr/intrusive_ptr.hpp>
#include <boost/smart_ptr/intrusive_ref_counter.hpp>
#include <cstddef>
#include <new>
#include <string>

#include "orvo_data/export.h"

namespace data {

/// A value; copies share the line, so one costs no memory. A moved-from event may only be assigned or destroyed.
class ORVO_DATA_API CEvent
{
public:
    /// `key` is a time since an origin that whoever writes the file chooses, or one of Boost's special values. Throws
    /// std::invalid_argument for an `id` that the line cannot hold, and for a line end (LF or CR) in `text`.
    CEvent(const std::string& id, const boost::posix_time::time_duration& key, const std::string& text);

    /// The event of a line, whose GetString() is that line again. Throws std::invalid_argument "found …, wanted …"; in
    /// which file and line is for the caller to add.
    static CEvent Parse(const std::string& line);

    const std::string& ID() const { return body_->id; }
    const boost::posix_time::time_duration& Key() const { return key_; }
    std::string Text() const;

    /// Puts the line into `buffer` and returns a reference to it; a buffer that is used again keeps its memory.
    const std::string& GetString(std::string& buffer) const { return buffer.assign(body_->Line(), body_->line_size); }

    /// By key alone: minus infinity, the times, not-a-date-time, plus infinity. That is the order of the numbers that
    /// stand for them, and unlike the comparison of keys it has a place for not-a-date-time. Events with the same key
    /// are equal.
    bool operator<(const CEvent& other) const { return key_.ticks() < other.key_.ticks(); }

private:
    /// The line lies behind the body, in the same piece of memory: events that are sorted are then read from all over
    /// the memory, and each piece costs.
    struct TBody : boost::intrusive_ref_counter<TBody>
    {
        TBody(const std::string& event_id, const std::string& line);
        const char* Line() const { return reinterpret_cast<const char*>(this + 1); }

        static void* operator new(std::size_t size, std::size_t line_size) { return ::operator new(size + line_size); }
        static void operator delete(void* body) { ::operator delete(body); }
        static void operator delete(void* body, std::size_t) { ::operator delete(body); }

        const std::string id;
        const std::size_t line_size;
    };

    boost::posix_time::time_duration key_;  ///< beside the pointer, so that sorting reads no body
    boost::intrusive_ptr<const TBody> body_;
};

}  // namespace data

#endif
