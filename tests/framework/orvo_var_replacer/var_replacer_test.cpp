#include "orvo_var_replacer/var_replacer.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <stdexcept>

namespace {

std::string Replaced(const kt::CVarReplacer& vars, std::string text, int flags = 15)
{
    vars.Replace(text, flags);
    return text;
}

TEST(VarReplacer, ExpandsWhatTheChosenSourcesKnow)
{
    setenv("ORVO_HOME", "/env", 1);
    setenv("DATA_DIR", "/env/data", 1);
    setenv("USED", "/env/used", 1);
    kt::CVarReplacer vars("/data", "/rigs/stereo/rig.ini");
    vars.Set("USED", "/user");
    vars.Set("LOOP", "$LOOP");
    vars.Set("EMPTY", "");
    const struct
    {
        const char* text;
        int flags;
        const char* expanded;
    } rows[] = {
        {"${DATA_DIR}x$ORVO_HOME.$USED", 15, "/datax/env./user"},
        {"[$EMPTY]", 15, "[]"},
        // The value is not searched again, not even together with what follows it.
        {"${LOOP}_X $USED", 15, "$LOOP_X /user"},
        // The longest name counts, and case.
        {"$DATA_DIRS $data_dir", 15, "$DATA_DIRS $data_dir"},
        // What is no variable stays.
        {"$ORVO_NONE ${ORVO_NONE}", 15, "$ORVO_NONE ${ORVO_NONE}"},
        {"5$ $1 ${} ${USED ${US ED} $- ${", 15, "5$ $1 ${} ${USED ${US ED} $- ${"},
        {"$$USED$", 15, "$/user$"},
        // Sources by flag: user variables before the rig's before the environment's.
        {"$USED $DATA_DIR $INAME $ORVO_HOME", 1, "/user $DATA_DIR $INAME $ORVO_HOME"},
        {"$USED $DATA_DIR $INAME $ORVO_HOME", 2, "$USED /data $INAME $ORVO_HOME"},
        {"$USED $DATA_DIR $INAME $ORVO_HOME", 4, "$USED $DATA_DIR /rigs/stereo $ORVO_HOME"},
        {"$USED $DATA_DIR $INAME $ORVO_HOME", 8, "/env/used /env/data $INAME /env"},
        {"$USED $DATA_DIR $INAME $ORVO_HOME", -1, "/user /data /rigs/stereo /env"},
    };
    for (const auto& row : rows)
        EXPECT_EQ(Replaced(vars, row.text, row.flags), row.expanded) << row.text << " by " << row.flags;
    EXPECT_EQ(Replaced(kt::CVarReplacer("", ""), "$DATA_DIR $INAME"), "/env/data $INAME") << "no folder, no variable";
    EXPECT_EQ(Replaced(kt::CVarReplacer("", "rig.ini"), "$INAME/a.lut"), "./a.lut");
    for (const char* name : {"", "1ST", "A B", "A-B", "$A", "\xc3\x84"})
        EXPECT_THROW(vars.Set(name, "x"), std::invalid_argument) << name;
}

}  // namespace
