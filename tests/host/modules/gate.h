// Where the test driver and the test operations wait for each other, so that races come out the same every time.
#ifndef TESTS_HOST_MODULES_GATE_H
#define TESTS_HOST_MODULES_GATE_H

#include <boost/config.hpp>
#include <string>

namespace gate {

/// Opens a gate for good.
BOOST_SYMBOL_EXPORT void Open(const std::string& name);
/// Waits until a gate is open.
BOOST_SYMBOL_EXPORT void Await(const std::string& name);

}  // namespace gate

#endif
