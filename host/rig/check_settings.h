// The keys of one device section, each by its rule.
#ifndef HOST_RIG_CHECK_SETTINGS_H
#define HOST_RIG_CHECK_SETTINGS_H

#include <string>
#include <vector>

#include "dev/camera/roi.h"
#include "rig/rig.h"

namespace host {

/// The region that `text` describes as the key ROI does, of a sensor, with increments, like those of `roi`, whose
/// pictures have the pixel format of `format`, an "FB". Throws std::runtime_error, "found …, wanted …", for one that
/// cannot be.
dev::camera::CRoI ParseRegion(dev::camera::CRoI roi, const std::string& format, const std::string& text);

/// Adds what is wrong with the values that the device library reads, and with keys that nobody reads.
/// `driver_keys` are those of the camera's capture driver; null when the driver is not known, and then only keys that
/// nearly read like known ones are told.
void CheckSettings(const TRig& rig, const TDevice& device, const std::vector<std::string>* driver_keys,
                   std::vector<TFault>& faults);

}  // namespace host

#endif
