// What a recording puts into the fields of a KTA archive that are the producer's: a track per camera, a block per
// frame.
//
// docs/formats/recording.md has both layouts, byte by byte; the constants below are the same.
#ifndef REC_BLOCK_H
#define REC_BLOCK_H

#include <boost/date_time/posix_time/posix_time_types.hpp>
#include <cstdint>
#include <string>

#include "archive/kta.h"
#include "dev/frame.h"
#include "orvo_proc_cimage/image.h"
#include "rec/export.h"
#include "rec/payload.h"

namespace rec {

/// One camera of a recording. Texts of 1024 bytes or more, or with a NUL in them, are refused by MakeTrack.
struct TTrack
{
    std::string name;                             ///< the camera's
    std::string node;                             ///< of its tree, whose images were recorded
    Compression compression = Compression::None;  ///< that was asked for; each block says which one it has
    std::string source;                           ///< its SOURCE
    std::string producer;                         ///< program and version
    std::string description;                      ///< the camera's
    boost::posix_time::ptime start;               ///< UTC, when the recording began
};

/// Throws std::invalid_argument naming the field that cannot be stored; the start must be a time since 1970.
ORVO_RECORDING_API kta::Track MakeTrack(const TTrack& track);

/// False when the record's checksum is wrong, or it holds what MakeTrack does not make: `track` then has what its bytes
/// say, as far as they say anything.
ORVO_RECORDING_API bool ReadTrack(const kta::Track& record, TTrack& track);

/// One frame of a recording, as its block header tells.
struct TBlock
{
    unsigned int track = 0;      ///< number in the table of tracks
    std::uint64_t offset = 0;    ///< of the payload in the data file, bytes
    std::uint64_t size = 0;      ///< of the payload, bytes
    std::uint64_t checksum = 0;  ///< of the payload
    Compression compression = Compression::None;
    boost::posix_time::ptime time;  ///< UTC, whole microseconds; not_a_date_time: nobody stamped the frame
    std::uint64_t sequence = 0;
    const cimage::TPixelFormat* format = nullptr;
    unsigned int width = 0;   ///< pixels
    unsigned int height = 0;  ///< pixels
    cimage::TGrid grid;
};

/// Everything but track and offset, which the writer knows: of `frame`, which has an image, and what it was packed to.
ORVO_RECORDING_API TBlock Describe(const dev::TFrame<>& frame, const TPayload& payload);

/// The header to be written; its last eight bytes are the checksum of those before them.
ORVO_RECORDING_API kta::BlockHeader MakeBlockHeader(const TBlock& block);

/// False for a header whose checksum is wrong, or that holds a value that no writer writes (an unknown pixel format or
/// compression, a size of 0).
ORVO_RECORDING_API bool ReadBlockHeader(const kta::BlockHeader& header, TBlock& block);

}  // namespace rec

#endif
