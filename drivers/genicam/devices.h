// Which cameras are there, and who they are.
#ifndef GENICAM_DEVICES_H
#define GENICAM_DEVICES_H

#include <arv.h>

#include <string>
#include <vector>

#include "capture/source.h"
#include "genicam/owned.h"

namespace genicam {

// Aravis keeps one list of devices for the process. The functions here take turns with it; safe on any thread.

/// The ids of all cameras that answer, sorted; with the network this takes a second. "Fake_1", the camera inside the
/// process, is always there.
std::vector<std::string> DeviceIds();

/// Connects to the camera at an IP address, to "Fake_" and any serial number (a new camera inside the process), or to
/// the one of a device id, serial number or hardware address out of the list. The list is not asked for the first two.
/// A camera that is gone takes seconds to be missed. Throws std::runtime_error.
Owned<ArvCamera> Connect(const std::string& location);

/// As the camera says. Throws std::runtime_error when it does not answer.
capture::TIdentity Identify(ArvCamera* camera);

}  // namespace genicam

#endif
