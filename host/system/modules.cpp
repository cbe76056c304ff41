#include "system/modules.h"

#include <dlfcn.h>
#include <fmt/format.h>
#include <algorithm>
#include <cstdlib>

#include "base/number_text.h"
#include "dev/camera/plugin_factory.h"

namespace host {

namespace {

namespace fs = std::filesystem;

constexpr const char* driver_entry = "orvo_capture_driver_2";  // as capture/source.h declares it

std::vector<fs::path> StandardFolders()
{
    std::vector<fs::path> folders;
    if (const char* const path = std::getenv("ORVO_MODULE_PATH"))
        for (const std::string& folder : base::Tokens(path, ":"))
            folders.emplace_back(folder);
    std::error_code error;
    const fs::path program = fs::read_symlink("/proc/self/exe", error);
    if (!error)
        folders.push_back((program.parent_path() / ORVO_MODULES_FROM_PROGRAM).lexically_normal());
    return folders;
}

/// Loads a shared object for good: its code may be in use until the process ends.
/// Everything is resolved now, so that a missing symbol is told here and does not stop a running rig.
void* LoadForGood(const fs::path& file)
{
    // A name without a slash would be looked for in the system's library folders.
    void* const handle = dlopen(fs::absolute(file).c_str(), RTLD_NOW | RTLD_LOCAL);
    if (handle == nullptr)
        throw std::runtime_error(fmt::format("{} could not be loaded: {}", file.string(), dlerror()));
    return handle;
}

bool IsKnown(const std::string& operation)
{
    return operation == "Identity" || dev::camera::PluginSingleton::Instance().Find(operation) != nullptr;
}

}  // namespace

CModules::CModules() : CModules(StandardFolders()) {}

CModules::CModules(std::vector<fs::path> folders) : folders_(std::move(folders)) {}

CModules::Files CModules::FilesOf(const char* kind) const
{
    Files files;
    for (const fs::path& folder : folders_) {
        std::error_code error;
        for (fs::directory_iterator entry(folder / kind, error), end; !error && entry != end; entry.increment(error))
            if (entry->path().extension() == ".so")
                files.emplace(entry->path().stem().string(), entry->path());
    }
    return files;
}

std::string CModules::Folders(const char* kind) const
{
    std::string text;
    for (const fs::path& folder : folders_)
        text += (text.empty() ? "" : ", ") + (folder / kind).string();
    return text;
}

std::vector<std::string> CModules::Schemes() const
{
    std::vector<std::string> schemes;
    for (const auto& file : FilesOf("drivers"))
        schemes.push_back(file.first);
    return schemes;
}

capture::CDriver& CModules::Driver(const std::string& scheme)
{
    const auto known = drivers_.find(scheme);
    if (known != drivers_.end())
        return *known->second;

    const Files files = FilesOf("drivers");
    const auto file = files.find(scheme);
    if (file == files.end())
        throw no_such_module(fmt::format("there is no driver \"{}\" in {}", scheme, Folders("drivers")));
    void* const handle = LoadForGood(file->second);
    const auto entry = reinterpret_cast<decltype(&orvo_capture_driver_2)>(dlsym(handle, driver_entry));
    if (entry == nullptr)
        throw std::runtime_error(
            fmt::format("{} is no capture driver: it has no {}()", file->second.string(), driver_entry));
    capture::CDriver* const driver = entry();
    if (driver == nullptr)
        throw std::runtime_error(fmt::format("{} gave no driver", file->second.string()));
    drivers_[scheme] = driver;
    return *driver;
}

void CModules::LoadPlugin(const fs::path& file)
{
    const auto tried = plugins_.insert({file, {}});
    std::string& fault = tried.first->second;
    if (tried.second) {
        const std::size_t before = Operations().size();
        try {
            const bool loaded_before = dlopen(fs::absolute(file).c_str(), RTLD_NOW | RTLD_NOLOAD) != nullptr;
            LoadForGood(file);
            if (Operations().size() == before && !loaded_before)
                fault = fmt::format("{} registers no new operation", file.string());
        } catch (const std::exception& error) {
            fault = error.what();
        }
    }
    if (!fault.empty())
        throw std::runtime_error(fault);
}

void CModules::NeedOperation(const std::string& operation)
{
    if (IsKnown(operation))
        return;
    const Files files = FilesOf("plugins");
    const auto file = files.find(operation);
    if (file != files.end()) {
        LoadPlugin(file->second);
        if (!IsKnown(operation))
            throw std::runtime_error(
                fmt::format("{} does not hold the operation \"{}\"", file->second.string(), operation));
        return;
    }
    const auto faults = LoadAllPlugins();
    if (IsKnown(operation))
        return;
    std::string message = fmt::format("there is no operation \"{}\" in {}", operation, Folders("plugins"));
    for (const std::string& fault : faults)
        message += "; " + fault;
    throw no_such_module(message);
}

std::vector<std::string> CModules::LoadAllPlugins()
{
    std::vector<std::string> faults;
    for (const auto& file : FilesOf("plugins")) {
        try {
            LoadPlugin(file.second);
        } catch (const std::exception& error) {
            faults.push_back(error.what());  // one bad library takes nothing from the others
        }
    }
    return faults;
}

std::vector<std::string> CModules::Operations()
{
    std::vector<std::string> operations = dev::camera::PluginSingleton::Instance().RegisteredIds();
    const auto place = std::lower_bound(operations.begin(), operations.end(), "Identity");
    if (place == operations.end() || *place != "Identity")
        operations.insert(place, "Identity");
    return operations;
}

}  // namespace host
