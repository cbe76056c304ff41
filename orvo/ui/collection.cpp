#include "ui/collection.h"

namespace ui {
namespace detail {

template <typename T>
T choice<T>::IndexToInternalValue(int index) const
{
    return this->labels_.at(static_cast<std::size_t>(index));
}

template <typename T>
int choice<T>::InternalValueToIndex(const T& value) const
{
    for (std::size_t i = 0; i < this->labels_.size(); ++i) {
        if (this->labels_[i] == value)
            return static_cast<int>(i);
    }
    // The heading goes to standard error and the list to standard output, on purpose.
    std::cerr << "(choice) '" << value << "' not found. Valid values are:\n";
    for (const T& label : this->labels_)
        std::cout << label << '\n';
    return -1;
}

template class collection_adapter<std::string, std::string>;
template class choice<std::string>;

}  // namespace detail
}  // namespace ui
