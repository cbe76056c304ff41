// The binding of a user-interface variable to the data of its owner.
#ifndef UI_ADAPTER_H
#define UI_ADAPTER_H

#include <boost/bind/bind.hpp>
#include <boost/function.hpp>
#include <boost/noncopyable.hpp>
#include <stdexcept>
#include <string>

#include "base/signal.h"

namespace ui {
namespace detail {

/// One getter, and three channels of setters, of which each hears the values that are set through it. A variable that
/// nobody bound has no value, and swallows what is set.
template <typename T>
class adapter : private boost::noncopyable
{
public:
    using value_type = T;

    adapter() = default;

    /// Binds to a field: the variable reads it, and writes it through channel 0, without a lock. The field must outlive
    /// the variable.
    explicit adapter(T* field)
    {
        ConnectGet(boost::bind(&internal_get_pointer, field));
        ConnectSet(boost::bind(&internal_set_pointer, field, boost::placeholders::_1), 0);
    }

    /// Connects a setter to channel 0, 1 or 2; several run in order of connection, on the thread that sets, and what
    /// one throws goes to the caller of Set. Throws std::out_of_range for any other channel.
    void ConnectSet(const boost::function1<void, T>& setter, int channel) { Channel(channel).connect(setter); }

    /// Replaces the getter.
    void ConnectGet(const boost::function0<T>& getter) { getter_ = getter; }

    static T internal_get_pointer(const T* field) { return *field; }
    static void internal_set_pointer(T* field, T value) { *field = value; }

protected:
    ~adapter() = default;

    bool HasGetter() const { return !getter_.empty(); }
    /// Throws boost::bad_function_call without a getter.
    T Fetch() const { return getter_(); }
    void Store(const T& value, int channel) { Channel(channel)(value); }

private:
    using Setters = base::Signal<void(T)>;

    Setters& Channel(int channel)
    {
        if (channel < 0 || channel >= channels)
            throw std::out_of_range("a variable has no setter channel " + std::to_string(channel));
        return setters_[channel];
    }

    enum
    {
        channels = 3
    };
    Setters setters_[channels];
    boost::function<T()> getter_;
};

}  // namespace detail
}  // namespace ui

#endif
