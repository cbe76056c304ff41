// The signals of the library: they take no lock, because everything but a camera's tree expects one thread at a time.
// Slots run at once on the raising thread. Signals2 stands in for the first Signals library, which Boost dropped.
#ifndef BASE_SIGNAL_H
#define BASE_SIGNAL_H

#include <boost/signals2/dummy_mutex.hpp>
#include <boost/signals2/signal_type.hpp>
#include <boost/signals2/trackable.hpp>

namespace base {

template <typename Signature>
using Signal =
    typename boost::signals2::signal_type<Signature,
                                          boost::signals2::keywords::mutex_type<boost::signals2::dummy_mutex>>::type;

/// Base of an object whose slots, connected through boost::bind, end with it.
using Trackable = boost::signals2::trackable;

}  // namespace base

#endif
