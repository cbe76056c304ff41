// A folder for the files of a benchmark.
#ifndef BENCH_FOLDER_H
#define BENCH_FOLDER_H

#include <boost/filesystem/operations.hpp>
#include <boost/noncopyable.hpp>
#include <string>

/// Gone with the object. Its parent decides on which file system the files lie.
class CFolder : private boost::noncopyable
{
public:
    explicit CFolder(const boost::filesystem::path& parent = boost::filesystem::temp_directory_path())
        : path_(parent / boost::filesystem::unique_path("orvo-bench-%%%%%%%%"))
    {
        boost::filesystem::create_directory(path_);
    }
    ~CFolder()
    {
        boost::system::error_code ignored;
        boost::filesystem::remove_all(path_, ignored);
    }

    boost::filesystem::path operator/(const std::string& name) const { return path_ / name; }

private:
    const boost::filesystem::path path_;
};

#endif
