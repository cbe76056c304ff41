// A rig as loaded, in plain values: what `orvo show` tells, for people and for programs.
#ifndef HOST_RIG_DESCRIBE_H
#define HOST_RIG_DESCRIBE_H

#include <array>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "rig/field_of_view.h"
#include "rig/luts.h"
#include "rig/rig.h"

namespace host {

/// Positions in the length unit of the settings file; yaw, pitch and roll in radians. A camera of format 1.0 has been
/// converted to 1.1, other sensors have not: as the library holds them.
struct TPose
{
    std::array<double, 3> position;
    std::array<double, 3> orientation;
};

struct TRelativePose
{
    std::string to;
    TPose pose;
    std::vector<std::string> chain;  ///< the names from `to` on to the first whose pose is absolute
};

struct TNode
{
    std::string name;
    std::string line;  ///< empty for the root
    std::vector<TNode> children;
};

struct TCameraDescription
{
    std::string format;
    std::pair<unsigned int, unsigned int> sensor_size;  ///< pixels
    std::array<int, 4> region;                          ///< left, top, right, bottom, inclusive
    std::string model;
    std::string lens;
    std::pair<double, double> distortion_center;
    std::vector<double> distortion_k;
    std::vector<double> distortion_k_ratio;
    std::pair<double, double> focal_length;    ///< pixels
    std::pair<double, double> optical_center;  ///< pixels, from the region's top left pixel
    std::optional<TFieldOfView> field_of_view;
    std::string source;
    TNode tree;
    std::string output;
    std::string record;
    std::string compression;  ///< of what is recorded
    std::vector<TLut> luts;
};

struct TDescription
{
    std::string name;
    DeviceType type;
    std::string vendor;
    std::string model;
    std::string serial;
    std::string description;
    std::optional<TPose> pose;
    std::optional<TRelativePose> relative;
    std::optional<TCameraDescription> camera;
};

/// Loads each device of a rig without faults and writes down what it holds. The tree is that of the node lines: nothing
/// is opened, and no plugin is loaded. Throws what the library throws.
std::vector<TDescription> Describe(const TRig& rig);

}  // namespace host

#endif
