#include "ui/range.h"

#include <boost/property_tree/ptree.hpp>

namespace ui {
namespace detail {

template <typename T>
std::string range<T>::GetTypeID() const
{
    return var::types::range<T>::type_name();
}

template <typename T>
bool range<T>::HasAttributes() const
{
    return true;
}

template <typename T>
void range<T>::GetAttribute(boost::property_tree::ptree& tree) const
{
    tree.put("min", text<T>::From(attributes.min));
    tree.put("max", text<T>::From(attributes.max));
    tree.put("step", text<T>::From(attributes.step));
    tree.put("type", GetTypeID());
}

template <typename T>
void range<T>::GetAttribute(boost::archive::polymorphic_oarchive& archive) const
{
    record<attributes_type>::Write(archive, "attributes", attributes);
}

template <typename T>
void range<T>::GetAttribute(boost::any& target) const
{
    target = attributes;
}

#define ORVO_UI_INSTANTIATE(T) template class range<T>;
ORVO_UI_FOR_EACH_NUMBER(ORVO_UI_INSTANTIATE)
#undef ORVO_UI_INSTANTIATE

}  // namespace detail
}  // namespace ui
