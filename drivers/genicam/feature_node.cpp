#include "genicam/feature_node.h"

#include <arv.h>

#include <algorithm>
#include <boost/algorithm/string/join.hpp>
#include <boost/variant/get.hpp>
#include <cmath>
#include <memory>

#include "base/number_text.h"
#include "genicam/error.h"

namespace genicam {
namespace {

ValueKind KindOf(_ArvGcFeatureNode* node)
{
    // An enumeration is an integer and a text as well.
    if (ARV_IS_GC_ENUMERATION(node))
        return ValueKind::Choice;
    if (ARV_IS_GC_BOOLEAN(node))
        return ValueKind::Boolean;
    if (ARV_IS_GC_FLOAT(node))
        return ValueKind::Real;
    if (ARV_IS_GC_INTEGER(node))
        return ValueKind::Integer;
    return ARV_IS_GC_STRING(node) ? ValueKind::Text : ValueKind::Other;
}

/// The result of one call that puts its error into `error`.
template <typename T>
T Checked(T result, const CError& error)
{
    if (g_error_matches(error.Get(), ARV_DEVICE_ERROR, ARV_DEVICE_ERROR_TIMEOUT) ||
        g_error_matches(error.Get(), ARV_DEVICE_ERROR, ARV_DEVICE_ERROR_NOT_CONNECTED))
        throw CNoAnswer(error.Text());
    if (error.Failed())
        throw std::runtime_error(error.Text());
    return result;
}

void Done(const CError& error)
{
    Checked(0, error);
}

[[noreturn]] void Refuse(const std::string& found, const std::string& wanted)
{
    throw std::runtime_error("found " + found + ", wanted " + wanted);
}

/// A camera's text may hold anything.
std::string Readable(const char* text)
{
    if (text == nullptr)
        return {};
    const std::unique_ptr<char, void (*)(gpointer)> valid(g_utf8_make_valid(text, -1), g_free);
    return valid.get();
}

std::string RangeText(const TValue& min, const TValue& max, const std::string& unit)
{
    return Text(min, "") + " to " + Text(max, unit);
}

std::vector<std::string> AvailableEntries(_ArvGcFeatureNode* node)
{
    CError error;
    guint count = 0;
    const std::unique_ptr<const char*, void (*)(gpointer)> names(
        arv_gc_enumeration_dup_available_string_values(ARV_GC_ENUMERATION(node), &count, error), g_free);
    Done(error);
    return std::vector<std::string>(names.get(), names.get() + count);
}

}  // namespace

std::string Text(const TValue& value, const std::string& unit)
{
    const std::string behind = unit.empty() ? "" : " " + unit;
    if (const double* real = boost::get<double>(&value)) {
        char text[G_ASCII_DTOSTR_BUF_SIZE];
        return g_ascii_formatd(text, sizeof text, "%.9g", *real) + behind;
    }
    if (const long* integer = boost::get<long>(&value))
        return base::ExactText(*integer) + behind;
    if (const bool* boolean = boost::get<bool>(&value))
        return *boolean ? "TRUE" : "FALSE";
    return boost::get<std::string>(value) + behind;
}

CFeatureNode::CFeatureNode(_ArvDevice* device, const std::string& name) : node_(nullptr)
{
    ArvGcNode* node = arv_device_get_feature(device, name.c_str());
    if (!ARV_IS_GC_FEATURE_NODE(node))
        return;
    node_ = ARV_GC_FEATURE_NODE(node);
    kind_ = KindOf(node_);
}

bool CFeatureNode::IsImplemented() const
{
    CError error;
    return node_ != nullptr && Checked(arv_gc_feature_node_is_implemented(node_, error), error);
}

bool CFeatureNode::IsAvailable() const
{
    CError error;
    return IsImplemented() && Checked(arv_gc_feature_node_is_available(node_, error), error);
}

bool CFeatureNode::IsReadOnly() const
{
    return arv_gc_feature_node_get_actual_access_mode(node_) == ARV_GC_ACCESS_MODE_RO;
}

bool CFeatureNode::IsWriteOnly() const
{
    return arv_gc_feature_node_get_actual_access_mode(node_) == ARV_GC_ACCESS_MODE_WO;
}

bool CFeatureNode::IsForUsers() const
{
    const ArvGcVisibility visibility = arv_gc_feature_node_get_visibility(node_);
    return visibility == ARV_GC_VISIBILITY_BEGINNER || visibility == ARV_GC_VISIBILITY_EXPERT;
}

std::string CFeatureNode::Unit() const
{
    if (kind_ == ValueKind::Real)
        return Readable(arv_gc_float_get_unit(ARV_GC_FLOAT(node_)));
    return kind_ == ValueKind::Integer ? Readable(arv_gc_integer_get_unit(ARV_GC_INTEGER(node_))) : "";
}

TLimits<double> CFeatureNode::RealLimits() const
{
    CError error;
    TLimits<double> limits;
    limits.min = Checked(arv_gc_float_get_min(ARV_GC_FLOAT(node_), error), error);
    limits.max = Checked(arv_gc_float_get_max(ARV_GC_FLOAT(node_), error), error);
    limits.step = Checked(arv_gc_float_get_inc(ARV_GC_FLOAT(node_), error), error);
    // What a description without an increment comes to.
    if (!(limits.step > G_MINDOUBLE))
        limits.step = 0.0;
    return limits;
}

TLimits<long> CFeatureNode::IntegerLimits() const
{
    CError error;
    TLimits<long> limits;
    limits.min = Checked(arv_gc_integer_get_min(ARV_GC_INTEGER(node_), error), error);
    limits.max = Checked(arv_gc_integer_get_max(ARV_GC_INTEGER(node_), error), error);
    limits.step = std::max(1L, Checked(arv_gc_integer_get_inc(ARV_GC_INTEGER(node_), error), error));
    return limits;
}

std::vector<std::string> CFeatureNode::Entries() const
{
    std::vector<std::string> names;
    if (kind_ != ValueKind::Choice)
        return names;
    for (const GSList* item = arv_gc_enumeration_get_entries(ARV_GC_ENUMERATION(node_)); item; item = item->next) {
        ArvGcFeatureNode* const entry = ARV_GC_FEATURE_NODE(item->data);
        CError error;
        if (Checked(arv_gc_feature_node_is_implemented(entry, error), error))
            names.push_back(Readable(arv_gc_feature_node_get_name(entry)));
    }
    return names;
}

std::vector<std::string> CFeatureNode::Selects() const
{
    std::vector<std::string> names;
    if (!ARV_IS_GC_SELECTOR(node_) || !arv_gc_selector_is_selector(ARV_GC_SELECTOR(node_)))
        return names;
    for (const GSList* item = arv_gc_selector_get_selected_features(ARV_GC_SELECTOR(node_)); item; item = item->next)
        names.push_back(Readable(arv_gc_feature_node_get_name(ARV_GC_FEATURE_NODE(item->data))));
    return names;
}

std::vector<std::string> CFeatureNode::Members() const
{
    std::vector<std::string> names;
    if (!IsCategory())
        return names;
    for (const GSList* item = arv_gc_category_get_features(ARV_GC_CATEGORY(node_)); item; item = item->next)
        names.push_back(Readable(static_cast<const char*>(item->data)));
    return names;
}

bool CFeatureNode::IsCategory() const
{
    return ARV_IS_GC_CATEGORY(node_);
}

TValue CFeatureNode::Read() const
{
    CError error;
    switch (kind_) {
        case ValueKind::Real:
            return Checked(arv_gc_float_get_value(ARV_GC_FLOAT(node_), error), error);
        case ValueKind::Integer:
            return static_cast<long>(Checked(arv_gc_integer_get_value(ARV_GC_INTEGER(node_), error), error));
        case ValueKind::Boolean:
            return Checked(arv_gc_boolean_get_value(ARV_GC_BOOLEAN(node_), error), error) != FALSE;
        case ValueKind::Choice: {
            const char* entry = Checked(arv_gc_enumeration_get_string_value(ARV_GC_ENUMERATION(node_), error), error);
            if (entry == nullptr)
                Refuse("a value that has no entry", boost::algorithm::join(Entries(), ", "));
            return std::string(entry);
        }
        case ValueKind::Text:
            return Readable(Checked(arv_gc_string_get_value(ARV_GC_STRING(node_), error), error));
        case ValueKind::Other:
            break;
    }
    Refuse("a feature without a value", "one that can be read");
}

void CFeatureNode::Check(const TValue& value, const std::string& unit) const
{
    if (kind_ == ValueKind::Real) {
        const TLimits<double> limits = RealLimits();
        const double real = boost::get<double>(value);
        if (!(real >= limits.min && real <= limits.max) || !std::isfinite(real))
            Refuse(Text(value, unit), RangeText(limits.min, limits.max, unit));
    } else if (kind_ == ValueKind::Integer) {
        const TLimits<long> limits = IntegerLimits();
        const long integer = boost::get<long>(value);
        // Of the unsigned difference, because the one between the ends of the type does not fit into a long.
        const auto above_min = static_cast<unsigned long>(integer) - static_cast<unsigned long>(limits.min);
        if (integer < limits.min || integer > limits.max || above_min % static_cast<unsigned long>(limits.step) != 0)
            Refuse(Text(value, unit), RangeText(limits.min, limits.max, unit) +
                                          (limits.step > 1 ? " in steps of " + Text(limits.step, unit) : ""));
    } else if (kind_ == ValueKind::Choice) {
        const std::vector<std::string> entries = AvailableEntries(node_);
        if (std::find(entries.begin(), entries.end(), boost::get<std::string>(value)) == entries.end())
            Refuse(Text(value, ""), boost::algorithm::join(entries, ", "));
    } else if (kind_ == ValueKind::Text) {
        CError error;
        const long longest = Checked(arv_gc_string_get_max_length(ARV_GC_STRING(node_), error), error);
        const std::size_t size = boost::get<std::string>(value).size();
        if (longest > 0 && size > static_cast<std::size_t>(longest))
            Refuse("a text of " + std::to_string(size) + " bytes", "at most " + std::to_string(longest));
    }
}

void CFeatureNode::Write(const TValue& value, const std::string& unit) const
{
    CError error;
    if (!IsAvailable())
        Refuse("a feature that the camera does not have in its present state", "one that it has");
    if (Checked(arv_gc_feature_node_is_locked(node_, error), error)) {
        if (Read() == value)
            return;
        Refuse("a feature that the camera has locked in its present state", "one that can be written");
    }
    Check(value, unit);
    switch (kind_) {
        case ValueKind::Real:
            arv_gc_float_set_value(ARV_GC_FLOAT(node_), boost::get<double>(value), error);
            break;
        case ValueKind::Integer:
            arv_gc_integer_set_value(ARV_GC_INTEGER(node_), boost::get<long>(value), error);
            break;
        case ValueKind::Boolean:
            arv_gc_boolean_set_value(ARV_GC_BOOLEAN(node_), boost::get<bool>(value), error);
            break;
        case ValueKind::Choice:
            arv_gc_enumeration_set_string_value(ARV_GC_ENUMERATION(node_), boost::get<std::string>(value).c_str(),
                                                error);
            break;
        case ValueKind::Text:
            arv_gc_string_set_value(ARV_GC_STRING(node_), boost::get<std::string>(value).c_str(), error);
            break;
        case ValueKind::Other:
            break;
    }
    Done(error);
}

}  // namespace genicam
