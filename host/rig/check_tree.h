// The node lines of one camera, and the nodes that OUTPUT and RECORD name.
#ifndef HOST_RIG_CHECK_TREE_H
#define HOST_RIG_CHECK_TREE_H

#include <string>
#include <vector>

#include "rig/rig.h"

namespace host {

class CModules;

/// Adds what is wrong with the numbers, texts and names of the node lines. With `modules` the operations must be there,
/// and unless `try_lines` is false (the camera's own settings have faults that would show again here) each line is
/// tried on a camera in memory, so that the plugins judge their options. For that the section may hold no fault but
/// those that `try_lines` stands for: the camera loads it.
void CheckTree(const TRig& rig, const TDevice& camera, CModules* modules, bool try_lines, std::vector<TFault>& faults);

}  // namespace host

#endif
