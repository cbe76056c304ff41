// "Did you mean": the known name that a misspelt one most likely stands for.
#ifndef HOST_RIG_NEAREST_H
#define HOST_RIG_NEAREST_H

#include <cstddef>
#include <string>
#include <vector>

namespace host {

/// Single-character insertions, deletions, replacements and swaps of neighbours that turn one text into the other,
/// letter case aside (optimal string alignment).
std::size_t EditDistance(const std::string& a, const std::string& b);

/// The candidate at the smallest distance, the first of several, or an empty text when none is near: at most a third
/// of the name's length, and one change for the shortest names.
std::string Nearest(const std::string& name, const std::vector<std::string>& candidates);

}  // namespace host

#endif
