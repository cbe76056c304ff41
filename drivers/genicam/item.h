// A feature of the camera and the attribute that shows it.
#ifndef GENICAM_ITEM_H
#define GENICAM_ITEM_H

#include <boost/optional.hpp>
#include <cstddef>
#include <string>
#include <vector>

#include "dev/camera/attributes.h"
#include "genicam/auto_mode.h"
#include "genicam/catalogue.h"
#include "genicam/feature_node.h"

struct _ArvDevice;

namespace genicam {

/// What is not said to change stays as MakeItems() left it. Other items are named by their position in the list.
struct TItem
{
    TPlace place;
    ValueKind kind = ValueKind::Other;
    TLimits<double> real{};            ///< of a Real, when the camera was opened
    TLimits<long> integer{};           ///< of an Integer likewise
    std::vector<std::string> entries;  ///< of a Choice
    boost::optional<CAutoMode> mode;   ///< of a "Mode"; what is in it changes
    std::vector<std::size_t> governs;  ///< of a "Mode"
    boost::optional<std::size_t> governor;
    std::vector<std::size_t> selectors;  ///< on whose values it depends what this one means
    TValue taken;                        ///< what the camera has, or had when it was last read; changes
    bool enabled = false;                ///< whether it can be set now; changes
    boost::optional<dev::camera::videoprop::Attribute> shown;  ///< changes

    /// A value the way the attribute has it.
    std::string Text(const TValue& value) const;
};

/// An item for each feature of ListFeatures(), as the camera has it now; `shown` is left empty. What cannot be read is
/// left out, with a sentence in `complaints`.
std::vector<TItem> MakeItems(_ArvDevice* device, std::vector<std::string>& complaints);

/// The entry of an automatic's enumeration: "Off", "Continuous", "Once".
std::string EntryOf(CAutoMode::Type mode);
/// An entry that is none of the three is the camera's doing: Auto.
CAutoMode::Type ModeOf(const TValue& entry);

}  // namespace genicam

#endif
