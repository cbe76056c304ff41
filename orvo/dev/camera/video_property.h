// A video property: a named group of settings of a camera, "Exposure" or "Gain", with the panel that edits them.
//
// Thread rule: none; one thread at a time drives the properties of a camera.
#ifndef DEV_CAMERA_VIDEO_PROPERTY_H
#define DEV_CAMERA_VIDEO_PROPERTY_H

#include <boost/noncopyable.hpp>
#include <boost/shared_ptr.hpp>
#include <list>
#include <map>
#include <string>

#include "base/export.h"
#include "dev/camera/attributes.h"
#include "ui/widgets.h"

namespace kt {
namespace ini {

class INIFile;

}  // namespace ini
}  // namespace kt

namespace dev {
namespace camera {

/// Made and filled by a camera's driver, and handed to the camera with CCamera::AddVideoProperty.
/// Its panel is a hidden "panel" labelled with the name. When the property ends, the panel is emptied and the
/// attributes go with their variables, so that nothing of the driver is called any more; copies of attributes or of
/// their widgets keep theirs, so drop those before the driver goes.
class ORVO_DEV_API VideoProperty : private boost::noncopyable
{
public:
    using AttributeMap = std::map<std::string, videoprop::Attribute>;

    /// `settings` may be null, and is not owned. It is only kept: no operation here reads or writes it.
    VideoProperty(const std::string& name, kt::ini::INIFile* settings);

    const std::string& Name() const { return name_; }
    kt::ini::INIFile* Settings() const { return settings_; }

    /// By full name, in byte order.
    AttributeMap& Attributes() { return attributes_; }
    /// The attribute of that full name. Throws std::runtime_error, naming it and what there is, for an unknown one.
    videoprop::Attribute& Attribute(const std::string& name);

    /// Adds a copy. The words before dots in its name are groups: "White Balance.Auto.Mode" is shown in the group
    /// "Auto" in the group "White Balance", which it shares with every other attribute of such a name; a name without a
    /// dot goes straight into the panel. An attribute of the same name stays the one that is registered; the widget of
    /// the new one is shown beside its widget all the same, on purpose. Throws std::logic_error for an attribute
    /// without a widget.
    void AddAttribute(const videoprop::Attribute& attribute);

    const ui::wgt::Widget& Panel() const { return panel_; }

    /// Properties below this one: none, unless somebody puts some there.
    std::list<boost::shared_ptr<VideoProperty>>& GetChildren() { return children_; }
    /// Always null: a video property is a root.
    VideoProperty* GetParent() const { return nullptr; }

private:
    ui::wgt::Panel panel_;
    kt::ini::INIFile* settings_;
    std::string name_;
    AttributeMap attributes_;
    std::map<std::string, videoprop::attribute::Group> groups_;  ///< by dotted path
    std::list<boost::shared_ptr<VideoProperty>> children_;
};

namespace videoprop {

/// Whether a property has that name.
class ORVO_DEV_API HasName
{
public:
    explicit HasName(const std::string& name) : name_(name) {}
    bool operator()(const boost::shared_ptr<VideoProperty>& property) const { return property->Name() == name_; }

private:
    std::string name_;
};

}  // namespace videoprop
}  // namespace camera
}  // namespace dev

#endif
