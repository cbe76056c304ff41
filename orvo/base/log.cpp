#include "base/log.h"

#include <iostream>

namespace base {
namespace {

const char* Tag(Severity severity)
{
    switch (severity) {
        case Severity::Warning:
            return "[WW]";
        case Severity::Error:
            return "[EE]";
        case Severity::Information:
            break;
    }
    return "[II]";
}

}  // namespace

std::string Location(const std::string& signature)
{
    const std::size_t bracket = signature.rfind('(');
    if (bracket == std::string::npos)
        return signature;

    const std::size_t end = signature.rfind("::", bracket);
    if (end == std::string::npos)
        return signature;

    const std::string scope = signature.substr(0, end);
    std::size_t begin = scope.rfind("::");
    if (begin == std::string::npos)
        begin = scope.rfind(' ');
    return begin == std::string::npos ? scope : scope.substr(begin);
}

void Log(Severity severity, const std::string& signature, const std::string& message)
{
    // One unformatted write: lines of several threads stay whole, and no setting of the stream shows in them. Flushed,
    // because the line before a stop is the one that matters.
    const std::string line = std::string(Tag(severity)) + ' ' + Location(signature) + ": " + message + '\n';
    std::cout.write(line.data(), static_cast<std::streamsize>(line.size())).flush();
}

}  // namespace base
