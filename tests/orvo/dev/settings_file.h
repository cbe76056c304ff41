// Settings of the tests: one section, made from its keys, in memory.
#ifndef TESTS_DEV_SETTINGS_FILE_H
#define TESTS_DEV_SETTINGS_FILE_H

#include <map>
#include <string>

#include "orvo_inifiles/inifile.h"

namespace test {

using Keys = std::map<std::string, std::string>;

inline kt::ini::INIFile File(const Keys& keys = Keys())
{
    kt::ini::INIFile ini("/nowhere/rig.ini", "DEVICE");
    for (const auto& key : keys)
        ini.set(key.first, key.second);
    return ini;
}

inline Keys Contents(const kt::ini::INIFile& ini)
{
    Keys keys;
    for (const std::string& key : ini.Keys())
        ini.efind(key, keys[key]);
    return keys;
}

}  // namespace test

#endif
