// The SOURCE of a camera: which driver, asked for what.
#ifndef HOST_RIG_SOURCE_H
#define HOST_RIG_SOURCE_H

#include <memory>
#include <string>
#include <vector>

#include "capture/source.h"
#include "rig/rig.h"

namespace host {

class CModules;

/// Adds what is wrong with the key SOURCE and, as far as the driver can say without opening the source, with what it
/// leads to. Returns true when the driver is known, and then its keys.
bool CheckSource(const TRig& rig, const TDevice& camera, CModules& modules, std::vector<std::string>& driver_keys,
                 std::vector<TFault>& faults);

/// Opens the source of a camera, which tells what happens beside frames as long as it is there. Throws
/// std::runtime_error naming the camera's SOURCE and the reason.
std::unique_ptr<capture::CSource> OpenSource(const TRig& rig, const TDevice& camera, CModules& modules,
                                             capture::Tell tell);

}  // namespace host

#endif
