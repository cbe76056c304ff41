// A settings file of the tests: one section, made from its keys, in a folder of its own.
#ifndef TESTS_DEV_SETTINGS_FILE_H
#define TESTS_DEV_SETTINGS_FILE_H

#include <boost/filesystem/fstream.hpp>
#include <boost/filesystem/operations.hpp>
#include <map>
#include <string>

#include "orvo_inifiles/inifile.h"

namespace test {

using Keys = std::map<std::string, std::string>;

class SettingsFile
{
public:
    explicit SettingsFile(const Keys& keys = Keys())
        : folder_(boost::filesystem::temp_directory_path() / boost::filesystem::unique_path("orvo-dev-%%%%%%%%")),
          ini(Write(keys), "DEVICE")
    {
    }

    ~SettingsFile()
    {
        boost::system::error_code ignored;
        boost::filesystem::remove_all(folder_, ignored);
    }

    SettingsFile(const SettingsFile&) = delete;
    SettingsFile& operator=(const SettingsFile&) = delete;

    /// The section as it stands in memory.
    Keys Content() const
    {
        Keys keys;
        for (const std::string& key : ini.Keys())
            ini.efind(key, keys[key]);
        return keys;
    }

private:
    boost::filesystem::path Write(const Keys& keys)
    {
        boost::filesystem::create_directory(folder_);
        const boost::filesystem::path file = folder_ / "rig.ini";
        boost::filesystem::ofstream stream(file);
        stream << "[DEVICE]\n";
        for (const auto& key : keys)
            stream << key.first << " = " << key.second << '\n';
        return file;
    }

    boost::filesystem::path folder_;

public:
    kt::ini::INIFile ini;
};

}  // namespace test

#endif
