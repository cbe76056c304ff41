// The recording of a rig: its folder, and a recorder that fills it.
//
//   rig.ini        the rig file, byte for byte, but that its keys "LUT..." name the copies of their files beside it
//   frames.kta     with frames.idx, a track per camera; or
//   frames.tar     a picture per frame
//   events.mef     what happened when
#ifndef HOST_RECORD_RIG_RECORDER_H
#define HOST_RECORD_RIG_RECORDER_H

#include <cstdint>
#include <filesystem>
#include <memory>
#include <string>
#include <vector>

#include "record/recorder.h"
#include "rig/rig.h"

namespace host {

struct TRecordOptions
{
    std::filesystem::path folder;          ///< empty: nothing is recorded
    std::string format = "kta";            ///< or "tar"
    std::string compression;               ///< of all cameras: "none", "png" or "zstd"; empty: each camera's own
    std::uint64_t min_free = 256U << 20U;  ///< bytes that are left free on the disk; 0: none
    std::string producer;                  ///< program and version
};

/// Why these cameras of a rig without fault cannot be recorded as asked, or nothing.
std::string RecordFault(const TRecordOptions& options, const TRig& rig, const std::vector<std::string>& cameras);

/// The bytes of a file. Throws std::runtime_error.
std::string FileBytes(const std::filesystem::path& file);

/// A recorder whose tracks are the cameras, in their order. `rig_text` is the rig file's content, `settings` names the
/// variables of the cameras' sources. Throws recording_exists, with nothing changed; a folder that cannot be made or
/// written to is the recorder's to tell.
std::unique_ptr<CRecorder> MakeRecorder(const TRecordOptions& options, const TRig& rig, const std::string& rig_text,
                                        const std::vector<std::string>& cameras, CEventLog::Names settings,
                                        CConsole& console);

/// The node whose images are recorded.
std::string RecordNode(const TDevice& camera);

}  // namespace host

#endif
