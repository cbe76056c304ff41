#include "genicam/devices.h"

#include <algorithm>
#include <mutex>
#include <stdexcept>

#include "genicam/error.h"

namespace genicam {

namespace {

constexpr const char* fake_prefix = "Fake_";

std::mutex& ListMutex()
{
    static std::mutex mutex;
    return mutex;
}

std::string Text(const char* text)
{
    return text == nullptr ? std::string() : text;
}

void Update()
{
    arv_enable_interface("Fake");
    arv_update_device_list();
}

bool IsCalled(unsigned int index, const std::string& name)
{
    return name == Text(arv_get_device_id(index)) || name == Text(arv_get_device_serial_nbr(index)) ||
           name == Text(arv_get_device_physical_id(index));
}

std::string Joined(const std::vector<std::string>& names)
{
    std::string text;
    for (const std::string& name : names)
        text += (text.empty() ? "" : ", ") + name;
    return text;
}

/// The device id behind a serial number, hardware address or device id.
std::string Find(const std::string& name)
{
    std::vector<std::string> all;
    std::vector<std::string> found;
    for (unsigned int i = 0; i < arv_get_n_devices(); ++i) {
        all.push_back(Text(arv_get_device_id(i)));
        if (IsCalled(i, name))
            found.push_back(all.back());
    }
    if (found.empty())
        throw std::runtime_error("found no camera \"" + name + "\" among those that answer (" + Joined(all) +
                                 "), wanted its IP address, serial number or device id");
    if (found.size() > 1)
        throw std::runtime_error("found more than one camera \"" + name + "\" (" + Joined(found) +
                                 "), wanted one of these ids");
    return found.front();
}

Owned<ArvDevice> OpenDevice(const std::string& location)
{
    CError error;
    ArvDevice* device = nullptr;
    if (location.compare(0, 5, fake_prefix) == 0) {
        device = arv_fake_device_new(location.c_str() + 5, error);
    } else if (g_hostname_is_ip_address(location.c_str())) {
        device = arv_interface_open_device(arv_gv_interface_get_instance(), location.c_str(), error);
    } else {
        Update();
        device = arv_open_device(Find(location).c_str(), error);
    }
    if (device == nullptr)
        throw std::runtime_error("found no camera at " + location + " (" + error.Text() +
                                 "), wanted one that answers and that no other program has");
    return Owned<ArvDevice>(device);
}

}  // namespace

std::vector<std::string> DeviceIds()
{
    const std::lock_guard<std::mutex> lock(ListMutex());
    Update();
    std::vector<std::string> ids;
    for (unsigned int i = 0; i < arv_get_n_devices(); ++i)
        ids.push_back(Text(arv_get_device_id(i)));
    std::sort(ids.begin(), ids.end());
    return ids;
}

Owned<ArvCamera> Connect(const std::string& location)
{
    const std::lock_guard<std::mutex> lock(ListMutex());
    const Owned<ArvDevice> device = OpenDevice(location);
    CError error;
    Owned<ArvCamera> camera(arv_camera_new_with_device(device.get(), error));
    error.Check(location);
    return camera;
}

capture::TIdentity Identify(ArvCamera* camera)
{
    capture::TIdentity identity;
    CError error;
    identity.vendor = Text(arv_camera_get_vendor_name(camera, error));
    error.Check("vendor");
    identity.model = Text(arv_camera_get_model_name(camera, error));
    error.Check("model");
    identity.serial = Text(arv_camera_get_device_serial_number(camera, error));
    error.Check("serial number");
    identity.interface = arv_camera_is_gv_device(camera)   ? "GigE Vision"
                         : arv_camera_is_uv_device(camera) ? "USB3 Vision"
                                                           : "Fake";
    return identity;
}

}  // namespace genicam
