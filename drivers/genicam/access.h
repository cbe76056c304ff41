// The way to a camera that may go away and come back: one at a time, and only while it is there.
#ifndef GENICAM_ACCESS_H
#define GENICAM_ACCESS_H

#include <boost/noncopyable.hpp>
#include <mutex>
#include <stdexcept>
#include <utility>

#include "genicam/error.h"

struct _ArvCamera;

namespace genicam {

/// Holds a reference to the camera that is connected now. Everything that reads or writes a camera's features goes
/// through With(); Aravis itself does not lock there. Safe on any thread.
class CAccess : private boost::noncopyable
{
public:
    ~CAccess();

    /// A camera that was connected, or null when it is gone. Takes a reference of its own and lets go of the last one.
    void Set(_ArvCamera* camera);

    /// Calls `work` with the camera and returns what it returns. Not to be called from within `work`. Throws
    /// std::runtime_error while the camera is gone.
    template <typename Work>
    auto With(Work&& work) -> decltype(work(std::declval<_ArvCamera*>()))
    {
        const std::lock_guard<std::mutex> lock(mutex_);
        if (camera_ == nullptr)
            throw std::runtime_error("found no camera: it is gone, wanted one that is connected");
        return std::forward<Work>(work)(camera_);
    }

private:
    std::mutex mutex_;
    _ArvCamera* camera_ = nullptr;
};

}  // namespace genicam

#endif
