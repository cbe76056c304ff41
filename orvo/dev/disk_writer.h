// The end of a recorder: whatever takes writables and stores them.
#ifndef DEV_DISK_WRITER_H
#define DEV_DISK_WRITER_H

#include <boost/shared_ptr.hpp>
#include <deque>

#include "base/export.h"

namespace dev {

class CWritable;

/// Takes payloads and stores them, in a manner that a derived class knows.
/// Thread rule: no lock. A writer that stores on a thread of its own does the locking in its hooks.
class ORVO_DEV_API CDiskWriter
{
public:
    CDiskWriter();
    CDiskWriter(const CDiskWriter&) = delete;
    CDiskWriter& operator=(const CDiskWriter&) = delete;

    /// Reports "Closing succeeded" on standard output and lets go of what still waits. It neither flushes nor closes,
    /// since the derived class is gone by then: that is for the owner, who wants to know how it went, or for the
    /// destructor of the derived class.
    virtual ~CDiskWriter();

    /// Hands everything that was written to the operating system. False when something could not be written, now or
    /// since the last call.
    virtual bool Flush() = 0;

    /// Ends the storage: flushes, and makes what is stored complete. Nothing is written afterwards. False when
    /// something could not be written.
    virtual bool Close() = 0;

    /// Stores the payload under a track number. This call holds a reference of its own to the writable until
    /// On_Write() is over. What the hook throws passes on unchanged.
    void Write(boost::shared_ptr<CWritable> writable, unsigned char track);

protected:
    /// Called by Write(), on its thread. May keep the writable beyond the call.
    virtual void On_Write(const boost::shared_ptr<CWritable>& writable, unsigned char track) = 0;

    /// Writables that wait to be stored, for writers that store later; empty at first. Let go of with the writer.
    std::deque<boost::shared_ptr<CWritable>> waiting_;
};

}  // namespace dev

#endif
