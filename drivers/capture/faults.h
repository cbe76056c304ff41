// How a driver words the faults of a request, and what it does with them when it is to be opened all the same.
#ifndef CAPTURE_FAULTS_H
#define CAPTURE_FAULTS_H

#include <stdexcept>
#include <string>
#include <vector>

#include "capture/source.h"

namespace capture {

/// For TFault::found.
inline std::string Quoted(const std::string& text)
{
    return "\"" + text + "\"";
}

/// Throws std::runtime_error with a line for each, if there are any.
inline void ThrowFaults(const std::vector<TFault>& faults)
{
    if (faults.empty())
        return;
    std::string text;
    for (const TFault& fault : faults)
        text += (text.empty() ? "" : "\n") + fault.key + ": found " + fault.found + ", wanted " + fault.wanted;
    throw std::runtime_error(text);
}

}  // namespace capture

#endif
