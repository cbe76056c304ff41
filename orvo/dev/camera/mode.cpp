#include "dev/camera/mode.h"

#include <boost/bimap.hpp>

namespace dev {
namespace camera {
namespace videoprop {
namespace attribute {
namespace mode {
namespace {

using Labels = boost::bimap<std::string, Type>;

Labels AllLabels()
{
    Labels labels;
    // Not in the order of the numbers, on purpose: Auto is 1 although a user meets it last.
    labels.insert(Labels::value_type("Manual", Type::Manual));
    labels.insert(Labels::value_type("Once", Type::Once));
    labels.insert(Labels::value_type("Auto", Type::Auto));
    return labels;
}

}  // namespace

std::string Label(Type mode)
{
    // One for the process, filled by the first mode that asks: other threads wait for it here.
    static const Labels m_bm_modes = AllLabels();
    return m_bm_modes.right.at(mode);
}

}  // namespace mode
}  // namespace attribute
}  // namespace videoprop
}  // namespace camera
}  // namespace dev

namespace ui {
namespace detail {

template class collection_adapter<std::string, dev::camera::videoprop::attribute::mode::Type>;
template class map_adapter<std::string, dev::camera::videoprop::attribute::mode::Type>;
template class map<dev::camera::videoprop::attribute::mode::Type>;

}  // namespace detail
}  // namespace ui
