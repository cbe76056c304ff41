// The typed handle on a user-interface variable.
#ifndef UI_VARIABLE_H
#define UI_VARIABLE_H

#include <boost/make_shared.hpp>
#include <boost/shared_ptr.hpp>

#include "orvo_ui/variable.h"

namespace ui {
namespace var {

/// A variable whose adapter is a D, for instance ui::detail::range<double>. Copies share the adapter; so does every
/// widget that names Id(), which is why a handle may go out of scope as soon as the widgets are made.
template <typename D>
class TBase : public Base
{
public:
    /// A variable that its owner connects afterwards: handle->ConnectGet, handle->ConnectSet.
    TBase() : TBase(boost::make_shared<D>()) {}

    /// A variable that reads and writes `*field`, which must outlive the variable and the widgets that name it.
    explicit TBase(typename D::value_type* field) : TBase(boost::make_shared<D>(field)) {}

    D& operator*() const { return *adapter_; }
    D* operator->() const { return adapter_.get(); }

private:
    explicit TBase(const boost::shared_ptr<D>& adapter) : Base(adapter), adapter_(adapter) {}

    boost::shared_ptr<D> adapter_;
};

}  // namespace var
}  // namespace ui

#endif
