// What tests of capture drivers need: a folder of picture files, a driver loaded as a host loads it, a sink that looks.
#ifndef TESTS_DRIVERS_DRIVER_FIXTURE_H
#define TESTS_DRIVERS_DRIVER_FIXTURE_H

#include <dlfcn.h>
#include <gtest/gtest.h>

#include <boost/filesystem.hpp>
#include <boost/noncopyable.hpp>
#include <fstream>
#include <functional>
#include <map>
#include <memory>
#include <string>
#include <vector>

#include "capture/source.h"
#include "orvo_proc_cimage/image.h"

namespace drivers_test {

/// A folder of its own, gone with the object.
class CFolder : private boost::noncopyable
{
public:
    CFolder() : path_(boost::filesystem::temp_directory_path() / boost::filesystem::unique_path())
    {
        boost::filesystem::create_directories(path_);
    }
    ~CFolder()
    {
        boost::system::error_code ignored;
        boost::filesystem::remove_all(path_, ignored);
    }

    std::string Path(const std::string& name) const { return (path_ / name).string(); }

    std::string Write(const std::string& name, const std::string& bytes) const
    {
        std::ofstream(Path(name), std::ios::binary) << bytes;
        return Path(name);
    }

    /// A grey picture of 8 bits whose pixels all hold `value`.
    std::string WritePgm(const std::string& name, unsigned int width, unsigned int height, char value) const
    {
        return Write(name, "P5\n" + std::to_string(width) + " " + std::to_string(height) + "\n255\n" +
                               std::string(width * height, value));
    }

private:
    const boost::filesystem::path path_;
};

/// The driver of that name out of the build tree.
inline const capture::CDriver& LoadDriver(const std::string& name)
{
    void* const library = ::dlopen((ORVO_DRIVERS_DIR "/" + name + ".so").c_str(), RTLD_NOW | RTLD_LOCAL);
    if (library == nullptr)
        throw std::runtime_error(::dlerror());
    return *reinterpret_cast<decltype(&orvo_capture_driver_2)>(::dlsym(library, "orvo_capture_driver_2"))();
}

using Keys = std::vector<std::pair<std::string, std::string>>;

/// A camera's section in memory.
inline kt::ini::INIFile Settings(const Keys& keys = {})
{
    kt::ini::INIFile settings("no file of this name", "CAM");
    for (const auto& key : keys)
        settings.set(key.first, key.second);
    return settings;
}

/// Keeps what a source delivers, and may be told to act on a frame.
class CFakeSink : public capture::CSink
{
public:
    /// Called with each frame on the source's thread, after it was kept; false ends the run.
    std::function<bool(const dev::TFrame<>&)> on_frame = [](const dev::TFrame<>&) { return true; };

    void Offer(const dev::TFrame<>& frame) override
    {
        ++offered;
        Push(frame);
    }
    bool Push(const dev::TFrame<>& frame) override
    {
        frames.push_back(frame);
        return on_frame(frame);
    }
    void Lost(const std::string& reason, std::uint64_t count) override { lost[reason] += count; }
    void Interrupted(const std::string& reason) override { ++interruptions[reason]; }
    void Count(const std::string& name, std::uint64_t count) override { counted[name] += count; }

    std::vector<dev::TFrame<>> frames;
    std::map<std::string, std::uint64_t> lost;
    std::map<std::string, std::uint64_t> interruptions;
    std::map<std::string, std::uint64_t> counted;
    std::size_t offered = 0;  ///< how many of them came without waiting for the host
};

}  // namespace drivers_test

#endif
