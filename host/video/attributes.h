// The adjustable settings of one open source, by name and as text.
//
// A setting is an attribute of a video property; its name here, in rig files, on standard input and in events is
// "<property>.<attribute>", for instance "Exposure.Time".
#ifndef HOST_VIDEO_ATTRIBUTES_H
#define HOST_VIDEO_ATTRIBUTES_H

#include <string>
#include <utility>
#include <vector>

#include "capture/source.h"
#include "dev/camera/video_property.h"
#include "orvo_ui/variable.h"

namespace host {

/// What may be set, as the attribute tells it; texts, empty where there is no such limit.
struct TVideoLimits
{
    std::string min;
    std::string max;
    std::string step;
    std::string unit;
    std::vector<std::string> choices;
};

/// The source must outlive it. Thread rule: one thread at a time; reading and setting call the driver, on the caller's
/// thread. While a camera runs, that is its strand.
class CVideoAttributes
{
public:
    using Attribute = dev::camera::videoprop::Attribute;

    explicit CVideoAttributes(capture::CSource& source);

    /// Names and attributes, in the order of the driver's properties.
    const std::vector<std::pair<std::string, Attribute*>>& All() const { return all_; }

    /// Throws std::runtime_error, "found …, wanted …", for an unknown name.
    Attribute& Find(const std::string& name) const;

    /// Throws what Find, the text and the driver's setter throw, as "found …, wanted …", without the name. Whoever
    /// listens hears of the change, as if the user had moved the widget.
    void Set(const std::string& name, const std::string& text) const;

private:
    capture::CSource::VideoProperties properties_;
    std::vector<std::pair<std::string, Attribute*>> all_;
};

/// The value as text: the label of a choice, a floating-point number with the digits that it needs to be read back
/// exactly. Throws what the driver's getter throws.
std::string ValueOf(const ui::detail::Serializable& variable);
std::string ValueOf(const CVideoAttributes::Attribute& attribute);

TVideoLimits LimitsOf(const CVideoAttributes::Attribute& attribute);

/// False for what can only be read, whoever governs the rest.
bool CanBeSet(const CVideoAttributes::Attribute& attribute);
/// False while its widget is disabled: an automatic mode governs it, or the camera is busy with it.
bool IsEnabled(const CVideoAttributes::Attribute& attribute);

}  // namespace host

#endif
