#include "dev/device.h"

#include <boost/bind/bind.hpp>
#include <boost/make_shared.hpp>

#include "ui/value.h"
#include "ui/variable.h"

namespace dev {

const std::string CDevice::prop_not_found;

CDevice::CDevice() : panel_("Device"), observers_(boost::make_shared<Signal>()) {}

CDevice::~CDevice() = default;

const std::string& CDevice::GetPropertyValue(const std::string& name) const
{
    const auto found = properties_.find(name);
    return found == properties_.not_found() ? prop_not_found : found->second.data();
}

void CDevice::SetProperty(const std::string& name, const std::string& text)
{
    properties_.put(name, text);
}

void CDevice::LoadParams(const kt::ini::INIFile& ini, hws::Version)
{
    const std::string none;
    SetVendor(ini.Value<std::string>("VENDOR", none));
    SetModel(ini.Value<std::string>("MODEL", none));
    SetSerial(ini.Value<std::string>("SERIAL", none));
    SetDescription(ini.Value<std::string>("DESCRIPTION", none));
}

void CDevice::SaveParams(kt::ini::INIFile& ini, hws::Version)
{
    ini.set("VENDOR", Vendor());
    ini.set("MODEL", Model());
    ini.set("SERIAL", Serial());
    ini.set("DESCRIPTION", Description());
}

void CDevice::Recording_SaveParams(kt::ini::INIFile& ini, hws::Version)
{
    ini.set("SERIAL", Serial());
}

void CDevice::On_Initialization()
{
    ui::wgt::GridSizer grid(0, 0);
    grid.HExpand(1).VExpand(1);
    unsigned int row = 0;
    // The interface is left out on purpose; the panel shows what a settings file holds, and the name.
    for (const char* key : {"Name", "Vendor", "Model", "Serial", "Description"}) {
        // Bound by functions, not by address: a property that was never set has no text of its own to write to.
        ui::var::TBase<ui::detail::value<std::string>> text;
        text->ConnectGet(boost::bind(&CDevice::GetPropertyValue, this, std::string(key)));
        text->ConnectSet(boost::bind(&CDevice::SetProperty, this, std::string(key), boost::placeholders::_1), 0);

        ui::wgt::Widget box = ui::wgt::TextBox(text.Id(), "");
        box.Attr("multiline", "FALSE");
        grid.Add(ui::wgt::Text(key), row, 0, 0, 0, 1, 1);
        grid.Add(box, row, 1, 0, 1, 1, 1);
        ++row;
    }
    ui::wgt::Widget sizer = ui::wgt::Expanding("hsizer");
    sizer.Add(grid);
    panel_.Clear();
    panel_.Add(sizer);
}

void CDevice::On_ShutDown()
{
    observers_->disconnect_all_slots();
}

}  // namespace dev
