// Finds everything that is wrong with a rig, in one go, before the device library sees it.
//
// The library stops the process where its preconditions are broken (a pose of two numbers, for instance). A rig that
// passes here breaks none: that is the promise on which run and show rely.
#ifndef HOST_RIG_CHECK_H
#define HOST_RIG_CHECK_H

#include <string>
#include <vector>

#include "rig/rig.h"

namespace host {

class CModules;

struct TCheck
{
    std::vector<TFault> faults;      ///< in file order
    std::vector<std::string> notes;  ///< what could not be looked at because of the faults
};

/// Reads and checks a rig file. With `modules` it also loads what the rig names: drivers check their sources, and the
/// node lines are tried on cameras in memory, so that plugins judge their options. Without, these are looked at as far
/// as their text goes. The lines that the library prints meanwhile are not shown.
/// Throws std::runtime_error when the file cannot be read.
TCheck CheckRig(const std::filesystem::path& file, CModules* modules);

/// The same, with some values replaced, keeping what was read for whoever goes on with it.
TCheck CheckRig(const std::filesystem::path& file, CModules* modules, TRig* rig,
                const std::vector<TOverride>& overrides = {});

}  // namespace host

#endif
