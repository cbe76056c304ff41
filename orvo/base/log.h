// The console line: "[II] ::CCamera: message" on standard output, one per event.
#ifndef BASE_LOG_H
#define BASE_LOG_H

#include <boost/current_function.hpp>
#include <string>

#include "base/export.h"

namespace base {

/// What a line reports; printed as "[II]", "[WW]" and "[EE]".
enum class Severity
{
    Information,
    Warning,
    Error
};

/// Where a line comes from, cut out of the reporting function's full signature: from the "::" that precedes the last
/// "::" before the last "(", up to that last "::", so that a member of dev::CCamera gives "::CCamera". Without an
/// earlier "::" it begins at the last blank before the last "::" (the blank included), without such a blank at the
/// start; a signature without "(", or without "::" before it, is its own location.
ORVO_DEV_API std::string Location(const std::string& signature);

/// Writes the tag, a blank, the location, ": ", the message and a line end to standard output.
/// `signature` is BOOST_CURRENT_FUNCTION at the place that reports.
ORVO_DEV_API void Log(Severity severity, const std::string& signature, const std::string& message);

}  // namespace base

#endif
