#include "dev/camera_map.h"

#include <ostream>
#include <stdexcept>

namespace dev {

void CCameraMap::Insert(const std::string& name, CCamera& camera)
{
    cameras_[name] = &camera;
}

bool CCameraMap::Has(const std::string& name) const
{
    return cameras_.count(name) != 0;
}

CCamera& CCameraMap::operator[](const std::string& name)
{
    const auto found = cameras_.find(name);
    if (found == cameras_.end())
        throw std::runtime_error("Camera " + name + " not found");
    return *found->second;
}

std::ostream& operator<<(std::ostream& stream, const CCameraMap&)
{
    return stream << "To be done";
}

}  // namespace dev
