#include "dev/camera/video_property.h"

#include <boost/algorithm/string/classification.hpp>
#include <boost/algorithm/string/split.hpp>
#include <stdexcept>
#include <vector>

namespace dev {
namespace camera {

VideoProperty::VideoProperty(const std::string& name, kt::ini::INIFile* settings)
    : panel_(name), settings_(settings), name_(name)
{
}

videoprop::Attribute& VideoProperty::Attribute(const std::string& name)
{
    const auto found = attributes_.find(name);
    if (found != attributes_.end())
        return found->second;
    std::string names;
    for (const auto& attribute : attributes_)
        names += (names.empty() ? "" : ", ") + attribute.first;
    throw std::runtime_error("video property " + name_ + ": found no attribute \"" + name +
                             "\", wanted one of: " + (names.empty() ? "none is there" : names));
}

void VideoProperty::AddAttribute(const videoprop::Attribute& attribute)
{
    std::vector<std::string> words;
    boost::algorithm::split(words, attribute.Name(), boost::algorithm::is_any_of("."));

    ui::wgt::Widget parent = panel_;
    std::string path;
    for (std::size_t i = 0; i + 1 < words.size(); ++i) {
        path += (i == 0 ? "" : ".") + words[i];
        auto group = groups_.find(path);
        if (group == groups_.end()) {
            group = groups_.emplace(path, videoprop::attribute::Group(words[i])).first;
            parent.Add(group->second.Widget());
        }
        parent = group->second.Widget();
    }
    parent.Add(attribute.Widget());
    attributes_.emplace(attribute.Name(), attribute);
}

}  // namespace camera
}  // namespace dev
