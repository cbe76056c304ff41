// The keys of one device section, each by its rule.
#ifndef HOST_RIG_CHECK_SETTINGS_H
#define HOST_RIG_CHECK_SETTINGS_H

#include <string>
#include <vector>

#include "rig/rig.h"

namespace host {

/// Adds what is wrong with the values that the device library reads, and with keys that nobody reads.
/// `driver_keys` are those of the camera's capture driver; null when the driver is not known, and then only keys that
/// nearly read like known ones are told.
void CheckSettings(const TRig& rig, const TDevice& device, const std::vector<std::string>* driver_keys,
                   std::vector<TFault>& faults);

}  // namespace host

#endif
