#include "dev/sensor.h"

#include "ui/range.h"
#include "ui/variable.h"

namespace dev {

namespace {

const char zero_pose[] = "0.0, 0.0, 0.0";
const double pi = 3.141592653589793;

/// A slider that reads and writes `field`.
ui::wgt::Widget Slider(double& field, const char* label, double min, double max, double step)
{
    ui::var::TBase<ui::detail::range<double>> variable(&field);
    variable->attributes.min = min;
    variable->attributes.max = max;
    variable->attributes.step = step;
    return ui::wgt::Slider(variable.Id(), label);
}

ui::wgt::Widget LengthSlider(double& field, const char* label)
{
    return Slider(field, label, -10.0, 10.0, 0.001);
}

ui::wgt::Widget AngleSlider(double& field, const char* label)
{
    return Slider(field, label, -pi, pi, 0.0001);
}

}  // namespace

CSensor::CSensor() : calibration_panel_("Calibration") {}

CSensor::~CSensor() = default;

void CSensor::LoadParams(const kt::ini::INIFile& ini, hws::Version version)
{
    CDevice::LoadParams(ini, version);

    position_ = TPosition<double>(ini.Value<std::string>("POSITION", zero_pose));
    position_changed(position_);
    SetOrientation(TOrientation<double>(ini.Value<std::string>("ORIENTATION", zero_pose)));

    if (!ini.efind("RELATIVE TO", relative_to_)) {
        ini.print_knf("RELATIVE TO");
        relative_to_.clear();
    }
    // Read without a "RELATIVE TO" as well, so that the file shows what the keys are.
    relative_position_ = TPosition<double>(ini.Value<std::string>("RELATIVE POSITION", zero_pose));
    relative_orientation_ = TOrientation<double>(ini.Value<std::string>("RELATIVE ORIENTATION", zero_pose));
    version_ = version;
}

void CSensor::SaveParams(kt::ini::INIFile& ini)
{
    ini.Set<std::string>("POSITION", position_.string());
    ini.Set<std::string>("ORIENTATION", orientation_.string());
    // An absolute pose leaves the relative keys of an earlier one in the file, on purpose.
    if (!relative_to_.empty()) {
        ini.Set<std::string>("RELATIVE TO", relative_to_);
        ini.Set<std::string>("RELATIVE POSITION", relative_position_.string());
        ini.Set<std::string>("RELATIVE ORIENTATION", relative_orientation_.string());
    }
}

void CSensor::On_Initialization()
{
    CDevice::On_Initialization();

    ui::wgt::Widget position("propertycategory");
    position.Label("Position");
    position.Add(LengthSlider(position_.x, "X"));
    position.Add(LengthSlider(position_.y, "Y"));
    position.Add(LengthSlider(position_.z, "Z"));

    // The reverse of the order of the fields, on purpose.
    ui::wgt::Widget orientation("propertycategory");
    orientation.Label("Orientation");
    orientation.Add(AngleSlider(orientation_.roll, "Roll"));
    orientation.Add(AngleSlider(orientation_.pitch, "Pitch"));
    orientation.Add(AngleSlider(orientation_.yaw, "Yaw"));

    ui::wgt::Widget grid = ui::wgt::Expanding("propertygrid");
    grid.Add(position);
    grid.Add(orientation);
    ui::wgt::Widget sizer = ui::wgt::Expanding("vsizer");
    sizer.Add(grid);
    calibration_panel_.Clear();
    calibration_panel_.Add(sizer);
}

void CSensor::On_ShutDown()
{
    position_changed.disconnect_all_slots();
    orientation_changed.disconnect_all_slots();
    CDevice::On_ShutDown();
}

void CSensor::SetOrientation(const TOrientation<double>& orientation)
{
    orientation_ = orientation;
    orientation_changed(orientation_);
}

}  // namespace dev
