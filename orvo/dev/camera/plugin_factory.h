// The process-wide registry of plugin constructors, filled by plugin libraries while they are loaded. A library that
// registered something must stay loaded to the end of the process.
//
//   namespace { const dev::camera::CPluginRegistration<Blur> registration("Blur", "radius=N", "Smooths the image."); }
#ifndef DEV_CAMERA_PLUGIN_FACTORY_H
#define DEV_CAMERA_PLUGIN_FACTORY_H

#include <boost/function.hpp>
#include <boost/noncopyable.hpp>
#include <boost/shared_ptr.hpp>
#include <map>
#include <string>
#include <vector>

#include "base/export.h"
#include "dev/camera/plugin_descriptions.h"

namespace dev {
namespace camera {
class Plugin;
}
}  // namespace dev

namespace kt {

/// Constructor functions by identifier. Thread rule: none, one thread at a time.
template <typename Id, typename Product, typename Creator>
class Factory : private boost::noncopyable
{
public:
    /// Returns false, and keeps the first, when the identifier is taken.
    bool Register(const Id& id, const Creator& creator) { return creators_.insert(std::make_pair(id, creator)).second; }

    /// The constructor function, or null when nothing is registered under the identifier.
    const Creator* Find(const Id& id) const
    {
        const auto found = creators_.find(id);
        return found == creators_.end() ? nullptr : &found->second;
    }

    /// All identifiers, in ascending order.
    std::vector<Id> RegisteredIds() const
    {
        std::vector<Id> ids;
        ids.reserve(creators_.size());
        for (const auto& entry : creators_)
            ids.push_back(entry.first);
        return ids;
    }

private:
    std::map<Id, Creator> creators_;
};

/// When a singleton goes: 1 is the only type in use, released at unload.
enum DestructorType : int
{
    DestroyAtUnload = 1
};

/// The one T of the process, made on first use.
template <typename T, DestructorType D>
class Singleton
{
public:
    static T& Instance();
};

using PluginFactory = Factory<std::string, dev::camera::Plugin, boost::function<dev::camera::Plugin*()>>;

/// The plugin factory; its one instance lives in the device library, whoever asks.
template <>
ORVO_DEV_API PluginFactory& Singleton<PluginFactory, (DestructorType)1>::Instance();

}  // namespace kt

namespace dev {
namespace camera {

using PluginSingleton = kt::Singleton<kt::PluginFactory, (kt::DestructorType)1>;

/// Registers `P` under an operation name, with its help texts, when it is constructed.
template <typename P>
struct CPluginRegistration
{
    CPluginRegistration(const std::string& operation, const std::string& syntax, const std::string& description)
    {
        PluginSingleton::Instance().Register(operation, [] { return static_cast<Plugin*>(new P); });
        Plugin_Descriptions::Add(operation, syntax, description);
    }
};

}  // namespace camera
}  // namespace dev

#endif
