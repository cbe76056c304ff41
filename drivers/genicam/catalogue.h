// Which features of a camera are shown as which attributes.
#ifndef GENICAM_CATALOGUE_H
#define GENICAM_CATALOGUE_H

#include <string>
#include <vector>

struct _ArvDevice;

namespace genicam {

/// Where a feature is shown.
struct TPlace
{
    std::string property;   ///< "Exposure"
    std::string attribute;  ///< "Time", "Trigger.Trigger Mode": groups before dots; unique in the property
    std::string feature;    ///< "ExposureTimeAbs"
    std::string unit;       ///< "us"; empty: none
    std::string governor;   ///< "ExposureAuto": the feature whose mode governs it; empty: none
    bool read_only;         ///< by its nature, or because the driver needs it as it is

    /// "Exposure.Time"
    std::string Name() const { return property + "." + attribute; }
};

/// The features of a camera that a user is to see, in the order in which they are shown.
///
/// First those that any camera may have, under names and units that are the same for all of them, although the features
/// differ: "Exposure" with "Mode" and "Time", "Gain" with "Mode" and "Value", "Black Level" likewise, "Frame Rate" with
/// "Enabled" and "Value", "White Balance" with "Mode", "Channel" and "Ratio", "Image" with "Pixel Format", "Device"
/// with the group "Identity". A "Mode" is an enumeration of Off, Continuous and Once, and governs
/// the value beside it.
///
/// Then the rest of what the camera's description offers to its users, a property for each category at the top and a
/// group for each below, named after the features: "TriggerMode" becomes "Trigger Mode". Left out are commands, plain
/// registers, and what the driver itself keeps: the region, the acquisition, the way over the network, and what is
/// sent beside pixels; and the categories that are no settings: for tests, files in the camera and its sets of
/// defaults. Binning and decimation are shown and not set, because they change the size of the frames that the whole
/// rig is set up for.
///
/// What the camera does not tell enough of is left out, with a sentence in `complaints`.
std::vector<TPlace> ListFeatures(_ArvDevice* device, std::vector<std::string>& complaints);

/// Whether an enumeration is that of an automatic.
bool IsAutomatic(const std::vector<std::string>& entries);

}  // namespace genicam

#endif
