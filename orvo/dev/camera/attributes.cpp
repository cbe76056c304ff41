#include "dev/camera/attributes.h"

#include <boost/algorithm/string/join.hpp>

#include "orvo_ui/panel_manager.h"
#include "ui/collection.h"
#include "ui/range.h"
#include "ui/variable.h"
#include "ui/widgets.h"

namespace dev {
namespace camera {
namespace videoprop {

Attribute::Attribute(const std::string& name, ui::var::Base var, Type type) : variable_(var), type_(type), name_(name)
{
}

namespace attribute {
namespace {

using ui::detail::value;

/// A variable of adapter D with the driver's functions.
template <typename D, typename T>
ui::var::TBase<D> Connected(const boost::function<void(T)>& setter, const boost::function<T()>& getter)
{
    ui::var::TBase<D> variable;
    variable->ConnectSet(setter, 0);
    variable->ConnectGet(getter);
    return variable;
}

template <typename T>
ui::var::Base RangeVariable(const boost::function<void(T)>& setter, const boost::function<T()>& getter, T min, T max,
                            T step)
{
    const auto variable = Connected<ui::detail::range<T>>(setter, getter);
    variable->attributes.min = min;
    variable->attributes.max = max;
    variable->attributes.step = step;
    return variable;
}

ui::var::Base ChoiceVariable(const boost::function<void(std::string)>& setter,
                             const boost::function<std::string()>& getter, const std::vector<std::string>& values)
{
    const auto variable = Connected<ui::detail::choice<std::string>>(setter, getter);
    variable->SetLabels(values);
    return variable;
}

ui::var::Base ModeVariable(const std::vector<mode::Type>& allowed, const boost::function<void(mode::Type)>& setter,
                           const boost::function<mode::Type()>& getter)
{
    const auto variable = Connected<ui::detail::map<mode::Type>>(setter, getter);
    for (const mode::Type type : allowed)
        variable->Insert(mode::Label(type), type);
    return variable;
}

ui::wgt::Widget Combobox(long id, const std::string& label)
{
    return ui::wgt::Widget("combobox", id).Label(label).Enable(true).HExpand(0).VExpand(0);
}

void NotifyDataChanged(long id)
{
    ui::PanelManagerInstance().NotifyDataChanged(id);
}

}  // namespace

template <typename T>
Range<T>::Range(const std::string& name, const boost::function<void(T)>& setter, const boost::function<T()>& getter,
                T min, T max, T step, const std::string& unit)
    : Attribute(name, RangeVariable(setter, getter, min, max, step), type_to_attr<T>())
{
    widget_ = ui::wgt::Slider(Id(), name);
    if (!unit.empty())
        widget_.Unit("[" + unit + "]");
    NotifyDataChanged(Id());
}

#define ORVO_UI_INSTANTIATE(T) template class Range<T>;
ORVO_UI_FOR_EACH_NUMBER(ORVO_UI_INSTANTIATE)
#undef ORVO_UI_INSTANTIATE

Switch::Switch(const std::string& name, const boost::function<void(bool)>& setter,
               const boost::function<bool()>& getter)
    : Attribute(name, Connected<value<bool>>(setter, getter), Type::Switch)
{
    widget_ = ui::wgt::Widget("checkbox", Id()).Label(name).Enable(true).HExpand(0);
}

Choice::Choice(const std::string& name, const boost::function<void(std::string)>& setter,
               const boost::function<std::string()>& getter, const std::vector<std::string>& values)
    : Attribute(name, ChoiceVariable(setter, getter, values), Type::Choice)
{
    widget_ = Combobox(Id(), name);
    NotifyDataChanged(Id());
}

Text::Text(const std::string& name, const boost::function<void(std::string)>& setter,
           const boost::function<std::string()>& getter)
    : Attribute(name, Connected<value<std::string>>(setter, getter), Type::Text)
{
    widget_ = ui::wgt::TextBox(Id(), name);
}

Label::Label(const std::string& name, const boost::function<void(std::string)>& setter,
             const boost::function<std::string()>& getter)
    : Attribute(name, Connected<value<std::string>>(setter, getter), Type::Label)
{
    widget_ = ui::wgt::TextBox(Id(), name).Enable(false);
}

Mode::Mode(const std::vector<mode::Type>& allowed, const boost::function<void(mode::Type)>& setter,
           const boost::function<mode::Type()>& getter)
    : Attribute("Mode", ModeVariable(allowed, setter, getter), Type::Choice), allowed_(allowed)
{
    widget_ = Combobox(Id(), Name());
    NotifyDataChanged(Id());
}

std::string Mode::Values() const
{
    std::vector<std::string> labels;
    for (const mode::Type type : allowed_)
        labels.push_back(mode::Label(type));
    return boost::algorithm::join(labels, ", ");
}

Group::Group(const std::string& name) : Attribute(name, ui::var::TBase<value<std::string>>(), Type::Group)
{
    widget_ = ui::wgt::Widget("propertygroup", Id()).Label(name);
}

}  // namespace attribute
}  // namespace videoprop
}  // namespace camera
}  // namespace dev
