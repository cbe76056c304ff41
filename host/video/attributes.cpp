#include "video/attributes.h"

#include <fmt/format.h>
#include <algorithm>
#include <boost/lexical_cast/bad_lexical_cast.hpp>
#include <boost/property_tree/ptree.hpp>
#include <cmath>
#include <stdexcept>

#include "base/number_text.h"
#include "orvo_ui/panel_manager.h"
#include "rig/fault.h"
#include "rig/nearest.h"

namespace host {

namespace {

using Attribute = CVideoAttributes::Attribute;
using Type = Attribute::Type;

boost::shared_ptr<ui::detail::Serializable> VariableOf(const Attribute& attribute)
{
    const auto variable = ui::PanelManagerInstance().Variable(attribute.Id());
    if (!variable)
        throw std::runtime_error("found a setting without a variable, wanted one of an open source");
    return variable;
}

std::string Suggestion(const std::string& name, const std::vector<std::string>& names)
{
    const std::string nearest = Nearest(name, names);
    return nearest.empty() ? "" : fmt::format("; did you mean \"{}\"?", nearest);
}

/// The variable writes all digits that a number may need, 0.1 as 0.10000000000000001.
std::string Shortest(const std::string& number, const ui::detail::Serializable& variable)
{
    const std::string type = variable.GetTypeID();
    if (type.find("<double>") != std::string::npos)
        return fmt::format("{}", base::ParseNumber<double>(number));
    if (type.find("<float>") != std::string::npos)
        return fmt::format("{}", base::ParseNumber<float>(number));
    return number;
}

std::runtime_error Refusal(const std::string& text, const std::string& wanted)
{
    return std::runtime_error(fmt::format("found {}, wanted {}", Quoted(text), wanted));
}

/// Drivers begin their errors with the setting, and so do those who show them.
std::string WithoutName(const std::string& name, const std::string& text)
{
    const std::string prefix = name + ": ";
    return text.compare(0, prefix.size(), prefix) == 0 ? text.substr(prefix.size()) : text;
}

/// Of a number: "a whole number from 1 to 20 us".
std::string Wanted(const Attribute& attribute, const TVideoLimits& limits)
{
    if (attribute.Kind() == Type::Switch)
        return "TRUE or FALSE";
    const bool whole = attribute.Kind() < Type::Float;
    return fmt::format("a {} from {} to {}{}{}", whole ? "whole number" : "number", limits.min, limits.max,
                       limits.unit.empty() ? "" : " ", limits.unit);
}

/// Numbers that the variable would take for others: a negative one wraps around, and what is no number at all passes
/// comparisons with limits.
bool IsSane(const Attribute& attribute, const std::string& text)
{
    const bool has_sign = !text.empty() && text[0] == '-';
    if (attribute.Kind() >= Type::UnsignedChar && attribute.Kind() <= Type::UnsignedLong)
        return !has_sign;
    if (attribute.Kind() == Type::Float || attribute.Kind() == Type::Double)
        return std::isfinite(base::ParseNumber<double>(text));
    return true;
}

}  // namespace

CVideoAttributes::CVideoAttributes(capture::CSource& source) : properties_(source.Properties())
{
    for (const auto& property : properties_)
        for (auto& [name, attribute] : property->Attributes())
            all_.emplace_back(property->Name() + '.' + name, &attribute);
}

Attribute& CVideoAttributes::Find(const std::string& name) const
{
    const auto found = std::find_if(all_.begin(), all_.end(), [&](const auto& each) { return each.first == name; });
    if (found != all_.end())
        return *found->second;
    std::vector<std::string> names;
    for (const auto& each : all_)
        names.push_back(each.first);
    throw std::runtime_error(names.empty() ? "found a source without settings, wanted one that can be adjusted"
                                           : fmt::format("found {}, wanted the name of a setting that the source has{}",
                                                         Quoted(name), Suggestion(name, names)));
}

void CVideoAttributes::Set(const std::string& name, const std::string& text) const
{
    Attribute& attribute = Find(name);
    if (!CanBeSet(attribute))
        throw Refusal(text, "no value: the setting can only be read");
    const TVideoLimits limits = LimitsOf(attribute);
    const auto& choices = limits.choices;
    if (!choices.empty() && std::find(choices.begin(), choices.end(), text) == choices.end())
        throw Refusal(text, fmt::format("one of {}{}", fmt::join(choices, ", "), Suggestion(text, choices)));
    try {
        if (!IsSane(attribute, text))
            throw boost::bad_lexical_cast();
        VariableOf(attribute)->Set(text, ui::detail::Access_Label, 0);
    } catch (const boost::bad_lexical_cast&) {
        throw Refusal(text, Wanted(attribute, limits));
    } catch (const std::runtime_error& error) {
        throw std::runtime_error(WithoutName(name, error.what()));
    }
    attribute.Update();
}

std::string ValueOf(const ui::detail::Serializable& variable)
{
    std::string text;
    variable.Get(text, ui::detail::Access_Label);
    return Shortest(text, variable);
}

std::string ValueOf(const Attribute& attribute)
{
    return ValueOf(*VariableOf(attribute));
}

TVideoLimits LimitsOf(const Attribute& attribute)
{
    TVideoLimits limits;
    const auto variable = VariableOf(attribute);
    if (variable->HasAttributes()) {
        boost::property_tree::ptree tree;
        variable->GetAttribute(tree);
        for (const auto& [name, text] :
             {std::make_pair("min", &limits.min), {"max", &limits.max}, {"step", &limits.step}})
            if (const auto number = tree.get_optional<std::string>(name))
                *text = Shortest(*number, *variable);
        if (const auto items = tree.get_child_optional("item"))
            for (const auto& item : *items)
                limits.choices.push_back(item.second.data());
    }
    limits.unit = attribute.Widget().Attr("unit");
    if (limits.unit.size() >= 2 && limits.unit.front() == '[' && limits.unit.back() == ']')
        limits.unit = limits.unit.substr(1, limits.unit.size() - 2);
    return limits;
}

bool CanBeSet(const Attribute& attribute)
{
    return attribute.Kind() != Type::Label && attribute.Kind() != Type::Group;
}

bool IsEnabled(const Attribute& attribute)
{
    return attribute.Widget().Attr("enabled") != "FALSE";
}

}  // namespace host
