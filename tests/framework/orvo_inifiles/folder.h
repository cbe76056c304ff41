// A temporary folder with settings files in it.
#ifndef TESTS_INIFILES_FOLDER_H
#define TESTS_INIFILES_FOLDER_H

#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <boost/filesystem/operations.hpp>
#include <fstream>
#include <iterator>
#include <string>
#include <vector>

namespace test {

class CFolder
{
public:
    /// In memory where there is such a place: thousands of saves wait for the disk otherwise.
    CFolder()
        : path_((access("/dev/shm", W_OK) == 0 ? "/dev/shm" : boost::filesystem::temp_directory_path()) /
                boost::filesystem::unique_path("orvo-ini-%%%%%%%%%%%%"))
    {
        boost::filesystem::create_directory(path_);
    }
    ~CFolder()
    {
        boost::system::error_code ignored;
        boost::filesystem::remove_all(path_, ignored);
    }

    boost::filesystem::path operator/(const std::string& name) const { return path_ / name; }

    void Write(const std::string& name, const std::string& text) const
    {
        std::ofstream(((*this) / name).string(), std::ios::binary) << text;
    }

    /// The bytes of a file, or "(missing)".
    std::string Read(const std::string& name) const
    {
        std::ifstream file(((*this) / name).string(), std::ios::binary);
        return file ? std::string(std::istreambuf_iterator<char>(file), {}) : "(missing)";
    }

    /// Names of everything in the folder, sorted.
    std::vector<std::string> List() const
    {
        std::vector<std::string> names;
        for (boost::filesystem::directory_iterator i(path_), end; i != end; ++i)
            names.push_back(i->path().filename().string());
        std::sort(names.begin(), names.end());
        return names;
    }

    void Empty() const
    {
        for (const std::string& name : List())
            boost::filesystem::remove_all((*this) / name);
    }

    mode_t Mode(const std::string& name) const
    {
        struct stat status = {};
        stat(((*this) / name).c_str(), &status);
        return status.st_mode & 07777;
    }

private:
    const boost::filesystem::path path_;
};

}  // namespace test

#endif
