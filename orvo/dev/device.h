// The root of every device: its identity, its panel, its windows, and the observers that end at shutdown.
//
// The life of a device: constructed, LoadParams (or the setters), On_Initialization, in use, On_ShutDown, destroyed.
// The operations of the life cycle are ordinary members: a derived class hides them with its own and calls these, so
// call them on the type that was created.
//
// Thread rule: one thread at a time; the panel's text boxes write the identity on the thread that drives the user
// interface.
#ifndef DEV_DEVICE_H
#define DEV_DEVICE_H

#include <boost/noncopyable.hpp>
#include <boost/property_tree/ptree.hpp>
#include <boost/shared_ptr.hpp>
#include <string>
#include <vector>

#include "base/export.h"
#include "base/signal.h"
#include "dev/settings.h"
#include "orvo_ui/window.h"
#include "ui/widgets.h"

namespace dev {

class ORVO_DEV_API CDevice : private boost::noncopyable
{
public:
    using Signal = base::Signal<void()>;

    CDevice();
    virtual ~CDevice();

    /// The text of a property, or prop_not_found when it was never set. `name` is the whole key: "Name", "Vendor",
    /// "Model", "Serial", "Interface" or "Description". The reference holds until the property changes.
    const std::string& GetPropertyValue(const std::string& name) const;

    const std::string& Name() const { return GetPropertyValue("Name"); }
    const std::string& Vendor() const { return GetPropertyValue("Vendor"); }
    const std::string& Model() const { return GetPropertyValue("Model"); }
    const std::string& Serial() const { return GetPropertyValue("Serial"); }
    const std::string& Interface() const { return GetPropertyValue("Interface"); }
    const std::string& Description() const { return GetPropertyValue("Description"); }

    void Rename(const std::string& name) { SetProperty("Name", name); }
    void SetVendor(const std::string& vendor) { SetProperty("Vendor", vendor); }
    void SetModel(const std::string& model) { SetProperty("Model", model); }
    void SetSerial(const std::string& serial) { SetProperty("Serial", serial); }
    void SetInterface(const std::string& interface_name) { SetProperty("Interface", interface_name); }
    void SetDescription(const std::string& description) { SetProperty("Description", description); }

    /// Names of the device's windows, in ascending order.
    std::vector<std::string> Views() const { return views_.Windows(); }
    ui::win::WindowsMap& Windows() { return views_; }

    /// Reads "VENDOR", "MODEL", "SERIAL" and "DESCRIPTION"; a missing key is recorded in the file as empty. Name and
    /// interface are left alone, and the version is not consulted. Errors of the settings file pass.
    void LoadParams(const kt::ini::INIFile& ini, hws::Version version);
    /// Writes the same four keys.
    void SaveParams(kt::ini::INIFile& ini, hws::Version version);
    /// Writes what a recording needs to know its device by: "SERIAL".
    void Recording_SaveParams(kt::ini::INIFile& ini, hws::Version version);

    /// Fills the panel with a text box per property, all but the interface. A second call replaces the first's.
    void On_Initialization();
    /// Ends every connection to Observers().
    void On_ShutDown();

    /// A signal for whoever wants to tell the device's observers something. The library itself never raises it.
    Signal& Observers() { return *observers_; }

    /// The hidden panel "Device", empty until On_Initialization.
    const ui::wgt::Widget& DevicePanel() const { return panel_; }

    /// The empty text that stands for every property that was never set, one object for the process.
    static const std::string prop_not_found;

private:
    void SetProperty(const std::string& name, const std::string& text);

    ui::wgt::Panel panel_;
    ui::win::WindowsMap views_;
    boost::property_tree::ptree properties_;
    boost::shared_ptr<Signal> observers_;
};

}  // namespace dev

#endif
