// The cameras of a platform by name, so that a plugin can reach another camera than its own.
#ifndef DEV_CAMERA_MAP_H
#define DEV_CAMERA_MAP_H

#include <iosfwd>
#include <map>
#include <string>

#include "base/export.h"

namespace dev {

class CCamera;

/// Names cameras that the host owns. It must outlive the last frame of every plugin that was connected to it, and
/// nobody may follow a name to a camera that is gone. Thread rule: fill it before the cameras run; after that any
/// thread may look up.
class ORVO_DEV_API CCameraMap
{
public:
    /// Names a camera; a name that is present gets the new one.
    void Insert(const std::string& name, CCamera& camera);
    bool Has(const std::string& name) const;
    /// Throws std::runtime_error "Camera NAME not found"; nothing is inserted.
    CCamera& operator[](const std::string& name);

private:
    std::map<std::string, CCamera*> cameras_;
};

/// Writes "To be done": the map has no printed form, on purpose.
ORVO_DEV_API std::ostream& operator<<(std::ostream& stream, const CCameraMap& cameras);

}  // namespace dev

#endif
