// Damage of a recording as JSON; a heavy header, as json_text.h is.
#ifndef HOST_RECORD_DAMAGE_JSON_H
#define HOST_RECORD_DAMAGE_JSON_H

#include <vector>

#include "rec/recording.h"
#include "system/json_text.h"

namespace host {

inline Json DamageJson(const std::vector<rec::TDamage>& damages)
{
    Json json = Json::array();
    for (const rec::TDamage& damage : damages)
        json.push_back(
            {{"where", damage.where}, {"byte", damage.offset}, {"bytes", damage.bytes}, {"what", damage.what}});
    return json;
}

}  // namespace host

#endif
