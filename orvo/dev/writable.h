// What a recorder hands to a disk writer: one payload, the event it belongs to, and where it goes.
#ifndef DEV_WRITABLE_H
#define DEV_WRITABLE_H

#include <boost/function.hpp>
#include <boost/shared_ptr.hpp>
#include <cstddef>
#include <cstdint>
#include <string>

#include "base/export.h"

namespace data {
class CEvent;
}

namespace dev {

/// A payload that waits to be stored. It is addressed by a location, the path of a file that holds it, or by the number
/// of a track in an archive; the two constructors give one each. Made by a producer, shared through boost::shared_ptr,
/// and kept by a writer, if that likes, until it is on the disk. The event lives as long as somebody holds it.
/// Thread rule: no lock. The shared pointer may be copied on any thread, the writable belongs to one thread at a time.
class ORVO_DEV_API CWritable
{
public:
    static constexpr unsigned char no_track = 255;

    /// A payload at a path, without a track. The event may be null.
    CWritable(boost::shared_ptr<data::CEvent> event, const std::string& location);
    /// A payload for a track, with an empty location. The event may be null.
    CWritable(boost::shared_ptr<data::CEvent> event, unsigned char track);

    CWritable(const CWritable&) = delete;
    CWritable& operator=(const CWritable&) = delete;
    virtual ~CWritable();

    /// Deletes the file at the location; that there is none is no error. Throws boost::filesystem::filesystem_error for
    /// everything else that goes wrong. A writer calls it when it has stored what the file held.
    virtual void Remove_Resource();

    /// Lets go of the sample data, if the payload holds any. Data() and Size() are not to be called afterwards. A
    /// writer calls it when it has stored them.
    virtual void Destroy_Payload();

    /// How many samples the payload holds: 1, unless a derived class knows better.
    virtual unsigned int NumSamples() const;

    /// The name of the payload: of its file, or of its member in an archive.
    virtual std::string Name() const = 0;
    /// The bytes to store, contiguous; valid until Destroy_Payload() and the end of this object. May be null when
    /// Size() is 0.
    virtual const void* Data() const = 0;
    /// Number of bytes at Data().
    virtual std::size_t Size() const = 0;
    /// Place of the payload in its stream: grows from one payload of a track to the next, with gaps where some were
    /// lost.
    virtual std::uint64_t Sequence() const = 0;

    /// How many others share the sample data: 0, unless a derived class shares them.
    virtual long use_count() const;

    /// Stops the process when the writable was made without an event, in release builds as well.
    data::CEvent& Event() const;

    const std::string& Location() const { return location_; }

    unsigned char TrackID() const { return track_; }  ///< no_track: none assigned
    void SetTrackID(unsigned char track) { track_ = track; }

    /// Replaces every occurrence of `from` in the location by `to`, from left to right, and does not look again at what
    /// it put in. An empty `from` changes nothing.
    void Expand(const std::string& from, const std::string& to);

private:
    boost::shared_ptr<data::CEvent> event_;
    std::string location_;
    unsigned char track_;

protected:
    /// For derived classes and the writers that know them; empty at first, and never called by the library.
    boost::function<void()> callback_;
};

}  // namespace dev

#endif
