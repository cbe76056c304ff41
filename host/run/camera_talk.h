// What the sources of a run tell beside frames: said at once, and noted in the recording.
#ifndef HOST_RUN_CAMERA_TALK_H
#define HOST_RUN_CAMERA_TALK_H

#include <mutex>
#include <string>
#include <utility>
#include <vector>

#include "capture/source.h"

namespace host {

class CConsole;
class CRecorder;

/// A source may tell something before there can be a recording, while it opens; that is noted once there is one.
/// Outlives the sources that tell it. Thread rule: every call is safe on any thread.
class CCameraTalk
{
public:
    explicit CCameraTalk(CConsole& console) : console_(console) {}

    /// For the source of a camera: says "CAMERA: SENTENCE", and notes it as an event "camera".
    capture::Tell Of(const std::string& camera);

    /// Notes an event, `id` being one word, without saying it.
    void Note(const std::string& id, const std::string& text);

    /// From here on notes go to the recorder, those that waited first; null: nothing is recorded, from here on or any
    /// more.
    void RecordWith(CRecorder* recorder);

private:
    CConsole& console_;
    std::mutex mutex_;
    CRecorder* recorder_ = nullptr;
    bool waits_ = true;  ///< nobody knows yet whether there will be a recording
    std::vector<std::pair<std::string, std::string>> waiting_;
};

}  // namespace host

#endif
