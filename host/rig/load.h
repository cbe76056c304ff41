// Devices out of a rig that CheckRig found without fault.
#ifndef HOST_RIG_LOAD_H
#define HOST_RIG_LOAD_H

#include "dev/settings.h"
#include "rig/rig.h"

namespace dev {
class CCamera;
class CDevice;
class CSensor;
}  // namespace dev

namespace host {

class CModules;

/// Names a device after its section, loads its settings, a camera's lookup tables among them, and initialises it.
/// Throws what the library throws.
void LoadDevice(dev::CDevice& device, const TDevice& settings, hws::Version version);
void LoadDevice(dev::CSensor& sensor, const TDevice& settings, hws::Version version);
void LoadDevice(dev::CCamera& camera, const TDevice& settings, const TRig& rig);

/// Adds the nodes of a loaded camera and chooses its output and recording-output nodes. Throws std::runtime_error
/// naming the line that failed.
void AddNodes(dev::CCamera& camera, const TRig& rig, const TDevice& settings, CModules& modules);

}  // namespace host

#endif
