// Numbers for the frames of a camera, and the count of those that never came.
#ifndef GENICAM_FRAME_LEDGER_H
#define GENICAM_FRAME_LEDGER_H

#include <boost/optional.hpp>
#include <cstdint>

#include "capture/source.h"

namespace genicam {

/// How a stream tells of frames that found no buffer to go to.
struct TUnderruns
{
    bool numbered = true;         ///< the camera gave them ids, so that they show as a gap
    std::uint64_t per_frame = 1;  ///< by how much the stream's count rises with each: 1, or the packets of a frame
};

/// Follows the ids that a camera gives its frames: a lost frame leaves a gap in the sequence numbers, and is counted
/// once, under one reason. Ids of 16 bits run from 1 to 65535 and begin again at 1; wider ones just rise. A camera that
/// falls back by more than half of 65535, or gives all frames the same id, counts for nothing: its frames get the next
/// number.
///
/// The numbers go on rising over any number of streams. Between two streams nothing counts as lost, and neither does
/// the first frame of a stream when it is damaged: the socket of a stream gets the size of a frame only with it.
/// Not thread-safe.
class CFrameLedger
{
public:
    void Begin(const TUnderruns& underruns);

    /// The stream's count of underruns as it stands, from 0 at Begin().
    void Underran(std::uint64_t total, capture::CSink& sink);

    /// A frame that arrived, with the name of what is wrong with it, or null for a good one. Returns its number, which
    /// is none for a damaged one.
    boost::optional<std::uint64_t> Arrived(std::uint64_t id, const char* fault, capture::CSink& sink);

    /// The stream is over: underruns behind its last frame are counted.
    void End(capture::CSink& sink);

private:
    std::uint64_t Skipped(std::uint64_t id) const;
    void Settle(std::uint64_t frames);

    TUnderruns underruns_;
    std::uint64_t underran_ = 0;  ///< the stream's count
    std::uint64_t owed_ = 0;      ///< what of it has not shown as a gap yet
    boost::optional<std::uint64_t> id_;
    std::uint64_t next_ = 0;
};

}  // namespace genicam

#endif
