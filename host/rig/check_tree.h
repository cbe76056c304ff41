// The node lines of one camera, and the nodes that OUTPUT and RECORD name.
#ifndef HOST_RIG_CHECK_TREE_H
#define HOST_RIG_CHECK_TREE_H

#include <string>
#include <vector>

#include "rig/rig.h"

namespace host {

class CModules;

/// Adds what is wrong with the numbers, texts and names of the node lines. With `modules` the operations must be there,
/// with `try_lines` each line is tried on a camera in memory, which loads the section for that, so that the plugins
/// judge their options.
void CheckTree(const TRig& rig, const TDevice& camera, CModules* modules, bool try_lines, std::vector<TFault>& faults);

}  // namespace host

#endif
