// A number of the user interface with the limits that its widget offers.
#ifndef UI_RANGE_H
#define UI_RANGE_H

#include "ui/value.h"

namespace ui {
namespace detail {

/// A value with "min", "max" and "step". They only inform the widget: a value outside of them is set all the same.
/// Instantiated for the numbers of ui/types.h.
template <typename T>
class ORVO_DEV_API range : public value<T>
{
public:
    using attributes_type = typename var::types::range<T>::attributes_type;

    range() = default;
    explicit range(T* field) : value<T>(field) {}

    /// The owner's to fill, right after the variable is made.
    attributes_type attributes;

    std::string GetTypeID() const override;
    bool HasAttributes() const override;
    /// Puts "min", "max", "step" and "type", the type name.
    void GetAttribute(boost::property_tree::ptree& tree) const override;
    void GetAttribute(boost::archive::polymorphic_oarchive& archive) const override;
    /// A copy of the attributes.
    void GetAttribute(boost::any& target) const override;
};

#define ORVO_UI_DECLARE(T) extern template class range<T>;
ORVO_UI_FOR_EACH_NUMBER(ORVO_UI_DECLARE)
#undef ORVO_UI_DECLARE

}  // namespace detail
}  // namespace ui

#endif
