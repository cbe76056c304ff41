// The one way in which JSON leaves the program. A heavy header: for the few sources that write JSON.
#ifndef HOST_SYSTEM_JSON_TEXT_H
#define HOST_SYSTEM_JSON_TEXT_H

#include <nlohmann/json.hpp>
#include <string>

namespace host {

/// Keeps the order in which fields are put in.
using Json = nlohmann::ordered_json;

/// Two blanks per level and a line end. Bytes that are no UTF-8 (a file may hold any) become U+FFFD; numbers that JSON
/// does not have become null.
inline std::string JsonText(const Json& json)
{
    return json.dump(2, ' ', false, Json::error_handler_t::replace) + '\n';
}

}  // namespace host

#endif
