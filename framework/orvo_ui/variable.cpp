#include "orvo_ui/variable.h"

#include <boost/make_shared.hpp>

#include "orvo_ui/detail/registry.h"

namespace ui {
namespace detail {

Serializable::~Serializable() = default;

namespace {

/// What all owners of a variable share: when the last one goes, the id is struck off the books.
struct Entry : private boost::noncopyable
{
    explicit Entry(const boost::shared_ptr<Serializable>& adapter) : variable(adapter) {}
    ~Entry()
    {
        std::lock_guard<std::mutex> lock(Book().mutex);
        Book().variables.erase(id);
    }

    long id = -1;
    const boost::shared_ptr<Serializable> variable;
};

}  // namespace
}  // namespace detail

namespace var {

Base::Base() : id_(-1) {}

Base::Base(const boost::shared_ptr<detail::Serializable>& variable) : id_(-1)
{
    if (!variable)
        return;
    const auto entry = boost::make_shared<detail::Entry>(variable);
    variable_ = boost::shared_ptr<detail::Serializable>(entry, variable.get());

    detail::Registry& book = detail::Book();
    std::lock_guard<std::mutex> lock(book.mutex);
    const long id = book.last_variable + 1;
    book.variables.emplace(id, variable_);
    book.last_variable = entry->id = id_ = id;
}

Base::Base(const Base&) = default;
Base& Base::operator=(const Base&) = default;
Base::~Base() = default;

void Base::Update() const
{
    if (variable_)
        detail::Book().observers.Notify(id_);
}

}  // namespace var
}  // namespace ui
