#include "run/camera_talk.h"

#include "record/recorder.h"
#include "rig/fault.h"
#include "system/console.h"

namespace host {

capture::Tell CCameraTalk::Of(const std::string& camera)
{
    return [this, camera](const std::string& sentence) {
        const std::string text = OneLine(camera + ": " + sentence);
        console_.Say(text);
        Note("camera", text);
    };
}

void CCameraTalk::Note(const std::string& id, const std::string& text)
{
    const std::lock_guard<std::mutex> lock(mutex_);
    if (recorder_ != nullptr)
        recorder_->Note(id, text);
    else if (waits_)
        waiting_.emplace_back(id, text);
}

void CCameraTalk::RecordWith(CRecorder* recorder)
{
    const std::lock_guard<std::mutex> lock(mutex_);
    recorder_ = recorder;
    waits_ = false;
    if (recorder_ != nullptr)
        for (const auto& [id, text] : waiting_)
            recorder_->Note(id, text);
    waiting_.clear();
}

}  // namespace host
