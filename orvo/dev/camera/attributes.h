// The adjustable settings of a camera, each a variable of the user interface and the widget that edits it.
//
// A driver makes attributes of the kinds below and adds them to a VideoProperty. A kind is a way to make an Attribute
// and holds nothing that the copy into the property would lose (but Mode's Values()).
//
// Setters and getters are the driver's. They run at once on the thread that sets or reads the variable, and what they
// throw goes to whoever sets or reads. A setter receives what the user interface sends: limits inform the widget, and
// nothing enforces them. An empty getter makes a variable without a value; an empty setter refuses what is set with
// boost::bad_function_call.
//
// Lifetime: the variable lives as long as a copy of the attribute or of its widget, and so do setter and getter. What
// they call must outlive those.
//
// Thread rule: none; one thread at a time drives the attributes of a camera. Update() and Enabled() are safe on any
// thread; observers hear of an update on the thread that tells.
#ifndef DEV_CAMERA_ATTRIBUTES_H
#define DEV_CAMERA_ATTRIBUTES_H

#include <boost/function.hpp>
#include <string>
#include <vector>

#include "base/export.h"
#include "dev/camera/mode.h"
#include "orvo_ui/variable.h"
#include "orvo_ui/widget.h"
#include "ui/types.h"

namespace dev {
namespace camera {
namespace videoprop {

/// A named setting. Copies share the variable and the widget.
class ORVO_DEV_API Attribute
{
public:
    /// The numbers are part of the interface.
    enum class Type : int
    {
        Switch = 0,
        Group = 1,
        Boolean = 2,  ///< reserved: no kind uses it
        Choice = 3,   ///< Mode as well
        Text = 4,
        Label = 5,
        UnsignedChar = 6,  ///< from here on Range, by its number
        UnsignedShort = 7,
        UnsignedInt = 8,
        UnsignedLong = 9,
        SignedChar = 10,
        Short = 11,
        Int = 12,
        Long = 13,
        Float = 14,
        Double = 15
    };

    /// The type of a scalar: bool and the numbers of ui/types.h; nothing else compiles.
    template <typename T>
    static constexpr Type type_to_attr() = delete;

    /// An attribute without a widget yet: for kinds, which make one. `name` may have dots, see
    /// VideoProperty::AddAttribute.
    Attribute(const std::string& name, ui::var::Base var, Type type);

    const std::string& Name() const { return name_; }
    Type Kind() const { return type_; }
    /// Of the variable: ui::PanelManagerInstance().Variable(id) reads and sets it.
    long Id() const { return variable_.Id(); }
    const ui::wgt::Widget& Widget() const { return widget_; }

    /// Tells that the value changed, so that the widgets read it again.
    void Update() { variable_.Update(); }
    /// "enabled" of the widget. Throws std::logic_error without a widget.
    void Enabled(bool enabled) { widget_.Enable(enabled); }

private:
    ui::var::Base variable_;
    Type type_;
    std::string name_;

protected:
    ui::wgt::Widget widget_;
};

// clang-format off
template <> constexpr Attribute::Type Attribute::type_to_attr<bool>() { return Type::Boolean; }
template <> constexpr Attribute::Type Attribute::type_to_attr<unsigned char>() { return Type::UnsignedChar; }
template <> constexpr Attribute::Type Attribute::type_to_attr<unsigned short>() { return Type::UnsignedShort; }
template <> constexpr Attribute::Type Attribute::type_to_attr<unsigned int>() { return Type::UnsignedInt; }
template <> constexpr Attribute::Type Attribute::type_to_attr<unsigned long>() { return Type::UnsignedLong; }
template <> constexpr Attribute::Type Attribute::type_to_attr<signed char>() { return Type::SignedChar; }
template <> constexpr Attribute::Type Attribute::type_to_attr<short>() { return Type::Short; }
template <> constexpr Attribute::Type Attribute::type_to_attr<int>() { return Type::Int; }
template <> constexpr Attribute::Type Attribute::type_to_attr<long>() { return Type::Long; }
template <> constexpr Attribute::Type Attribute::type_to_attr<float>() { return Type::Float; }
template <> constexpr Attribute::Type Attribute::type_to_attr<double>() { return Type::Double; }
// clang-format on

namespace attribute {

// Every kind's setter hears channel 0 of its variable. Range, Choice and Mode tell the user interface of their value
// once they are made, which may call the getter at once; the others do not, on purpose.

/// A number: a "slider", and with a `unit` the attribute "unit", "[UNIT]". Instantiated for the numbers of ui/types.h.
template <typename T>
class ORVO_DEV_API Range : public Attribute
{
public:
    /// `min`, `max` and `step` are in the unit of the value; nothing enforces them.
    Range(const std::string& name, const boost::function<void(T)>& setter, const boost::function<T()>& getter, T min,
          T max, T step, const std::string& unit);
};

/// On or off: a "checkbox".
class ORVO_DEV_API Switch : public Attribute
{
public:
    Switch(const std::string& name, const boost::function<void(bool)>& setter, const boost::function<bool()>& getter);
};

/// One of a list of words: a "combobox". Setting by label throws std::runtime_error for one that is not in the list,
/// and so does reading the label of such a value.
class ORVO_DEV_API Choice : public Attribute
{
public:
    Choice(const std::string& name, const boost::function<void(std::string)>& setter,
           const boost::function<std::string()>& getter, const std::vector<std::string>& values);
};

/// A text to edit: a "textbox".
class ORVO_DEV_API Text : public Attribute
{
public:
    Text(const std::string& name, const boost::function<void(std::string)>& setter,
         const boost::function<std::string()>& getter);
};

/// A text to read: a disabled "textbox". The setter is called all the same when somebody sets the variable.
class ORVO_DEV_API Label : public Attribute
{
public:
    Label(const std::string& name, const boost::function<void(std::string)>& setter,
          const boost::function<std::string()>& getter);
};

/// An automatic mode, named "Mode": a "combobox" of the labels of `allowed`, in its order; errors as with Choice.
class ORVO_DEV_API Mode : public Attribute
{
public:
    /// Throws std::out_of_range for a number that is no mode.
    Mode(const std::vector<mode::Type>& allowed, const boost::function<void(mode::Type)>& setter,
         const boost::function<mode::Type()>& getter);

    /// The labels of the allowed modes, "Manual, Auto".
    std::string Values() const;

private:
    std::vector<mode::Type> allowed_;
};

/// Other attributes under one heading: a "propertygroup". Its variable has no value.
class ORVO_DEV_API Group : public Attribute
{
public:
    explicit Group(const std::string& name);

    /// Moves the attribute's widget into this group's. Throws std::logic_error for an attribute without one.
    void AddAttribute(Attribute& attribute) { widget_.Add(attribute.Widget()); }
};

#define ORVO_UI_DECLARE(T) extern template class Range<T>;
ORVO_UI_FOR_EACH_NUMBER(ORVO_UI_DECLARE)
#undef ORVO_UI_DECLARE

}  // namespace attribute
}  // namespace videoprop
}  // namespace camera
}  // namespace dev

#endif
