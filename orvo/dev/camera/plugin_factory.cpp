#include "dev/camera/plugin_factory.h"

#include <boost/make_shared.hpp>

#include "dev/camera/plugin.h"

namespace kt {

template <>
PluginFactory& Singleton<PluginFactory, (DestructorType)1>::Instance()
{
    // Made on first use, so that plugin libraries may register while they are being loaded, in whatever order.
    static const boost::shared_ptr<PluginFactory> factory = boost::make_shared<PluginFactory>();
    return *factory;
}

}  // namespace kt
