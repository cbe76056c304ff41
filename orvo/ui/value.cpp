#include "ui/value.h"

namespace ui {
namespace detail {

template <typename T>
std::string value<T>::GetTypeID() const
{
    return var::types::value<T>::type_name();
}

template <typename T>
bool value<T>::HasValue() const
{
    return this->HasGetter();
}

template <typename T>
void value<T>::Set(const std::string& source, AccessMode, int channel)
{
    this->Store(text<T>::Parse(source), channel);
}

template <typename T>
void value<T>::Get(std::string& target, AccessMode) const
{
    target = text<T>::From(this->Fetch());
}

template <typename T>
void value<T>::Set(const boost::any& source, AccessMode, int channel)
{
    this->Store(boost::any_cast<const T&>(source), channel);
}

template <typename T>
void value<T>::Get(boost::any& target, AccessMode) const
{
    target = this->Fetch();
}

template <typename T>
void value<T>::Set(boost::archive::polymorphic_iarchive& archive, AccessMode, int channel)
{
    this->Store(record<T>::Read(archive, "value"), channel);
}

template <typename T>
void value<T>::Get(boost::archive::polymorphic_oarchive& archive, AccessMode) const
{
    record<T>::Write(archive, "value", this->Fetch());
}

template <typename T>
bool value<T>::HasAttributes() const
{
    return false;
}

template <typename T>
void value<T>::GetAttribute(boost::property_tree::ptree&) const
{
}

template <typename T>
void value<T>::GetAttribute(boost::archive::polymorphic_oarchive&) const
{
}

template <typename T>
void value<T>::GetAttribute(boost::any&) const
{
}

#define ORVO_UI_INSTANTIATE(T) template class value<T>;
ORVO_UI_FOR_EACH_SCALAR(ORVO_UI_INSTANTIATE)
#undef ORVO_UI_INSTANTIATE

}  // namespace detail
}  // namespace ui
