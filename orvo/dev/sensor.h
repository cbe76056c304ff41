// A device that has a place in the world: absolute, and optionally relative to another sensor.
#ifndef DEV_SENSOR_H
#define DEV_SENSOR_H

#include <string>

#include "base/export.h"
#include "base/signal.h"
#include "dev/device.h"
#include "dev/pose.h"

namespace dev {

/// Whatever drives a sensor; known to the host alone.
class CSampler;

/// Tells of a new pose; what it tells others through boost::bind ends with the sensor.
template <typename Pose>
class TPoseSignal : public base::Signal<void(const Pose&)>, public base::Trackable
{
};

/// Positions in the length unit of the settings file, angles in radians; all zero until LoadParams.
///
/// Thread rule: one thread at a time. The calibration sliders write the pose on the thread that drives the user
/// interface, without a lock.
class ORVO_DEV_API CSensor : public virtual CDevice
{
public:
    CSensor();
    ~CSensor() override;

    /// Loads the identity (CDevice::LoadParams), then "POSITION", "ORIENTATION", "RELATIVE TO", "RELATIVE POSITION" and
    /// "RELATIVE ORIENTATION". A missing pose is zero and is recorded in the file; a missing "RELATIVE TO" is reported
    /// and makes the pose absolute. Throws std::runtime_error for a token that is no number, with what was read before
    /// it already in place; a pose of fewer than three numbers stops the process.
    void LoadParams(const kt::ini::INIFile& ini, hws::Version version);
    /// Writes the pose alone, not the identity. The relative keys are written only when there is a "RELATIVE TO";
    /// otherwise those that the file holds stay, on purpose.
    void SaveParams(kt::ini::INIFile& ini);

    /// Builds the device's panel, then the calibration panel: a slider per coordinate (-10 to 10 by 0.001) and per
    /// angle
    /// (-pi to pi by 0.0001). A slider writes the pose at once and raises no signal. A second call replaces the
    /// first's.
    void On_Initialization();
    /// Ends every connection to the two signals, then to those of the device.
    void On_ShutDown();

    const TPosition<double>& Position() const { return position_; }
    const TOrientation<double>& Orientation() const { return orientation_; }
    /// The sensor that the relative pose refers to; empty when the pose is absolute.
    const std::string& RelativeTo() const { return relative_to_; }
    const TPosition<double>& RelativePosition() const { return relative_position_; }
    const TOrientation<double>& RelativeOrientation() const { return relative_orientation_; }
    /// The format version of the last LoadParams.
    hws::Version SettingsVersion() const { return version_; }

    /// The sampler that was connected last, or null. It is the host's, and must outlive its use here.
    CSampler* Sampler() const { return sampler_; }
    void ConnectSampler(CSampler& sampler) { sampler_ = &sampler; }

    /// The hidden panel "Calibration", empty until On_Initialization.
    const ui::wgt::Widget& CalibrationPanel() const { return calibration_panel_; }

    /// Raised at every load, on the loading thread, whether or not the value is a new one.
    TPoseSignal<TPosition<double>> position_changed;
    TPoseSignal<TOrientation<double>> orientation_changed;

protected:
    /// Replaces the orientation and raises its signal.
    void SetOrientation(const TOrientation<double>& orientation);

private:
    ui::wgt::Panel calibration_panel_;
    TPosition<double> position_{};
    TOrientation<double> orientation_{};
    std::string relative_to_;
    TPosition<double> relative_position_{};
    TOrientation<double> relative_orientation_{};
    hws::Version version_ = hws::Version::V1_1;
    CSampler* sampler_ = nullptr;
};

}  // namespace dev

#endif
