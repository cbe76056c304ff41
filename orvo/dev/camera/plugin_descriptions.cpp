#include "dev/camera/plugin_descriptions.h"

namespace dev {
namespace camera {

std::map<std::string, std::pair<std::string, std::string>> Plugin_Descriptions::desc;

void Plugin_Descriptions::Add(const std::string& operation, const std::string& syntax, const std::string& description)
{
    desc.insert(std::make_pair(operation, std::make_pair(syntax, description)));
}

const std::string& Plugin_Descriptions::Syntax(const std::string& operation)
{
    return desc[operation].first;
}

const std::string& Plugin_Descriptions::Description(const std::string& operation)
{
    return desc[operation].second;
}

}  // namespace camera
}  // namespace dev
