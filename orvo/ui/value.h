// A single value of the user interface.
#ifndef UI_VALUE_H
#define UI_VALUE_H

#include "ui/adapter.h"
#include "ui/types.h"

namespace ui {
namespace detail {

/// A variable of one of the types of ui/types.h, without attributes; modes are ignored, and nothing is checked but the
/// type. Set throws boost::bad_lexical_cast for a text that is no T, boost::bad_any_cast for an any that holds anything
/// but exactly a T, and boost::archive::archive_exception; Get throws boost::bad_function_call without a getter.
template <typename T>
class ORVO_DEV_API value : public Serializable, public adapter<T>
{
public:
    value() = default;
    explicit value(T* field) : adapter<T>(field) {}

    std::string GetTypeID() const override;
    bool HasValue() const override;
    void Set(const std::string& source, AccessMode mode, int channel) override;
    void Get(std::string& target, AccessMode mode) const override;
    void Set(const boost::any& source, AccessMode mode, int channel) override;
    void Get(boost::any& target, AccessMode mode) const override;
    void Set(boost::archive::polymorphic_iarchive& archive, AccessMode mode, int channel) override;
    void Get(boost::archive::polymorphic_oarchive& archive, AccessMode mode) const override;
    bool HasAttributes() const override;
    void GetAttribute(boost::property_tree::ptree& tree) const override;
    void GetAttribute(boost::archive::polymorphic_oarchive& archive) const override;
    void GetAttribute(boost::any& target) const override;
};

#define ORVO_UI_DECLARE(T) extern template class value<T>;
ORVO_UI_FOR_EACH_SCALAR(ORVO_UI_DECLARE)
#undef ORVO_UI_DECLARE

}  // namespace detail
}  // namespace ui

#endif
