// Faults of a rig as data. A heavy header, as json_text.h is.
#ifndef HOST_COMMANDS_FAULT_JSON_H
#define HOST_COMMANDS_FAULT_JSON_H

#include <string>
#include <vector>

#include "rig/fault.h"
#include "system/json_text.h"

namespace host {

inline Json FaultsAsJson(const std::string& file, const std::vector<TFault>& faults)
{
    Json json = Json::array();
    for (const TFault& fault : faults)
        json.push_back({{"file", file},
                        {"line", fault.line},
                        {"section", fault.section},
                        {"key", fault.key},
                        {"found", fault.found},
                        {"wanted", fault.wanted},
                        {"suggestion", fault.suggestion}});
    return json;
}

}  // namespace host

#endif
