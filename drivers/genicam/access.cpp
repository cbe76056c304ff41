#include "genicam/access.h"

#include <arv.h>

namespace genicam {

CAccess::~CAccess()
{
    Set(nullptr);
}

void CAccess::Set(ArvCamera* camera)
{
    if (camera != nullptr)
        g_object_ref(camera);
    const std::lock_guard<std::mutex> lock(mutex_);
    std::swap(camera, camera_);
    // Within the lock: letting go of a device writes to it, as every other access does.
    if (camera != nullptr)
        g_object_unref(camera);
}

}  // namespace genicam
