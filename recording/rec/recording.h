// A recording as its reader sees it: tracks of frames, in whatever kind of archive they lie.
//
//   rec::Open("trip")               a folder that `orvo run --record` made, its frames.kta or frames.tar
//   rec::Open("trip/frames.kta")    an archive
//
// Damage is looked for when a recording is opened and when a frame is read; it is told and passed over. A frame that is
// handed out has the checksum that it was stored with.
#ifndef REC_RECORDING_H
#define REC_RECORDING_H

#include <boost/noncopyable.hpp>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <stdexcept>
#include <string>
#include <vector>

#include "dev/frame.h"
#include "rec/block.h"
#include "rec/export.h"

namespace rec {

// The files of a recording's folder.
extern ORVO_RECORDING_API const char* const kta_file;     ///< "frames.kta", with "frames.idx" beside it
extern ORVO_RECORDING_API const char* const tar_file;     ///< "frames.tar"
extern ORVO_RECORDING_API const char* const events_file;  ///< "events.mef"
extern ORVO_RECORDING_API const char* const rig_file;     ///< "rig.ini"

/// Something in a recording that is not as it was written.
struct TDamage
{
    std::string where;         ///< file name, and "#" with the track's where there is one
    std::uint64_t offset = 0;  ///< in that file, bytes
    std::uint64_t bytes = 0;   ///< that are lost or of no use
    std::string what;          ///< "found …, wanted …"
};

/// "frames.idx: byte 6287: 57 bytes: found …, wanted …"
ORVO_RECORDING_API std::string Text(const TDamage& damage);

/// A frame that cannot be handed out: what() is Text of the damage.
class ORVO_RECORDING_API damaged_frame : public std::runtime_error
{
public:
    explicit damaged_frame(const TDamage& damage);
    const TDamage& Damage() const { return damage_; }

private:
    TDamage damage_;
};

/// Thread rule: one recording belongs to one thread at a time; several may be open on one archive, on several threads.
/// An archive is a finished file, or what a crash left of one: what is appended after Open is not seen. Of each frame
/// a few dozen bytes are kept in memory (of a KTA archive, its index), and of payloads the last one read.
class ORVO_RECORDING_API CRecording : private boost::noncopyable
{
public:
    virtual ~CRecording();

    /// "frames.kta", as it was found: absolute or from the current folder.
    virtual std::string File() const = 0;

    /// The cameras, in the order of the table of tracks. From a TAR archive name and compression (of the first frame)
    /// alone are known, and only of cameras that have frames; their order is that of their names.
    virtual const std::vector<TTrack>& Tracks() const = 0;

    /// What was found damaged when the archive was opened: headers, the index, the torn end.
    virtual const std::vector<TDamage>& Damage() const = 0;

    /// Frames of a track whose headers are sound, in the order in which they were written; of a TAR archive, which
    /// others may have packed again, in the order of their sequence numbers.
    virtual std::size_t Frames(std::size_t track) const = 0;

    /// What is known of a frame before it is read. From a TAR archive time, sequence, offset and size (of the member)
    /// alone; format is null there.
    virtual TBlock Block(std::size_t track, std::size_t frame) const = 0;

    /// The frame: image with its grid, time_stamp, sequence number in counter1, and where it lies as text. Throws
    /// damaged_frame; std::runtime_error when the file cannot be read any more.
    virtual dev::TFrame<> Read(std::size_t track, std::size_t frame) = 0;

    /// Reads a frame's bytes and compares the checksums, without making an image. Throws as Read does. False when there
    /// is no checksum to compare (a picture that another program put into a TAR archive).
    virtual bool Check(std::size_t track, std::size_t frame) = 0;

    /// The number of the track of that name. Throws std::runtime_error listing those that there are.
    std::size_t Find(const std::string& track) const;
};

/// Throws std::runtime_error, naming the file, when there is nothing that could be read: no such file, no index beside
/// it, an index of another version, an archive that no recorder made. Safe on any thread, but not while another one
/// opens or uses a kta::Reader.
ORVO_RECORDING_API std::unique_ptr<CRecording> Open(const std::string& path);

}  // namespace rec

#endif
