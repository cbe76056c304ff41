// The platform's books: every variable and every widget node that is alive, behind one lock.
#ifndef ORVO_UI_DETAIL_REGISTRY_H
#define ORVO_UI_DETAIL_REGISTRY_H

#include <boost/noncopyable.hpp>
#include <boost/shared_ptr.hpp>
#include <boost/weak_ptr.hpp>
#include <cstdint>
#include <map>
#include <mutex>
#include <string>
#include <utility>
#include <vector>

#include "orvo_ui/detail/observers.h"

namespace ui {
namespace detail {

class Node;
class Serializable;

/// The mutex guards the members below it and everything that changes in any node. Nothing may end while it is held:
/// a node or variable that ends takes the lock itself, and a variable's owner may do whatever it likes. So whoever
/// might hold the last reference lets it go behind the lock.
struct Registry
{
    std::mutex mutex;
    long last_variable = 0;
    std::uint64_t last_node = 0;
    std::uint64_t revision = 0;
    std::map<long, boost::weak_ptr<Serializable>> variables;
    std::map<std::pair<long, std::uint64_t>, boost::weak_ptr<Node>> bound;  ///< by variable, then in order of creation
    std::map<std::uint64_t, boost::weak_ptr<Node>> panels;                  ///< in order of creation

    Observers<long> observers;  ///< has a lock of its own
};

/// The one registry. It is never destroyed: handles in static storage end after it would have.
Registry& Book();

/// One node of a widget tree.
class Node : private boost::noncopyable
{
public:
    static boost::shared_ptr<Node> Make(const std::string& kind, long id);
    ~Node();

    const std::string kind;
    const long id;

    // Guarded by the registry's mutex.
    std::map<std::string, std::string> attributes;
    std::vector<boost::shared_ptr<Node>> children;
    boost::weak_ptr<Node> parent;

private:
    Node(const std::string& kind_value, long id_value) : kind(kind_value), id(id_value) {}

    std::uint64_t serial_ = 0;                  ///< in order of creation
    boost::shared_ptr<Serializable> variable_;  ///< only held, so that it lives as long as the node
};

}  // namespace detail
}  // namespace ui

#endif
