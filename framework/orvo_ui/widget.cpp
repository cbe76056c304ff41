#include "orvo_ui/widget.h"

#include <algorithm>
#include <stdexcept>

#include "orvo_ui/detail/registry.h"

namespace ui {
namespace detail {

boost::shared_ptr<Node> Node::Make(const std::string& kind, long id)
{
    const boost::shared_ptr<Node> node(new Node(kind, id));
    Registry& book = Book();
    std::lock_guard<std::mutex> lock(book.mutex);
    node->serial_ = ++book.last_node;
    if (id != -1) {
        const auto found = book.variables.find(id);
        if (found != book.variables.end())
            node->variable_ = found->second.lock();
        book.bound.emplace(std::make_pair(id, node->serial_), node);
    }
    if (kind == "panel") {
        book.panels.emplace(node->serial_, node);
        ++book.revision;
    }
    return node;
}

Node::~Node()
{
    Registry& book = Book();
    std::lock_guard<std::mutex> lock(book.mutex);
    if (id != -1)
        book.bound.erase(std::make_pair(id, serial_));
    if (book.panels.erase(serial_) != 0)
        ++book.revision;
}

}  // namespace detail

namespace wgt {

using detail::Book;
using detail::Node;

namespace {

using Lock = std::lock_guard<std::mutex>;
using NodePtr = boost::shared_ptr<Node>;

/// Takes the child out of its parent's list. The caller holds the lock and `child`, and `parent` until the lock is
/// gone.
void Remove(const NodePtr& child, const NodePtr& parent)
{
    std::vector<NodePtr>& siblings = parent->children;
    siblings.erase(std::find(siblings.begin(), siblings.end(), child));
    child->parent.reset();
}

}  // namespace

Widget::Widget() = default;

Widget::Widget(const std::string& kind, long id) : node_(Node::Make(kind, id)) {}

Widget::Widget(const boost::shared_ptr<detail::Node>& node) : node_(node) {}

Node& Widget::Get() const
{
    if (!node_)
        throw std::logic_error("this widget is an empty handle");
    return *node_;
}

std::string Widget::Kind() const
{
    return Get().kind;
}

long Widget::Id() const
{
    return Get().id;
}

void Widget::Add(const Widget& child)
{
    Get();
    child.Get();
    const NodePtr& added = child.node_;
    std::vector<NodePtr> ancestors{node_};
    NodePtr old_parent;
    Lock lock(Book().mutex);
    while (ancestors.back()) {
        if (ancestors.back() == added)
            throw std::logic_error("a widget (\"" + added->kind + "\") cannot be added below itself");
        ancestors.push_back(ancestors.back()->parent.lock());
    }
    node_->children.reserve(node_->children.size() + 1);
    old_parent = added->parent.lock();
    if (old_parent)
        Remove(added, old_parent);
    node_->children.push_back(added);
    added->parent = node_;
    ++Book().revision;
}

void Widget::Detach()
{
    Get();
    NodePtr parent;
    Lock lock(Book().mutex);
    parent = node_->parent.lock();
    if (!parent)
        return;
    Remove(node_, parent);
    ++Book().revision;
}

std::vector<Widget> Widget::Children() const
{
    const Node& node = Get();
    std::vector<Widget> children;
    Lock lock(Book().mutex);
    children.reserve(node.children.size());
    for (const NodePtr& child : node.children)
        children.push_back(Widget(child));
    return children;
}

Widget& Widget::Attr(const std::string& name, const std::string& value)
{
    Node& node = Get();
    Lock lock(Book().mutex);
    const auto attribute = node.attributes.emplace(name, value);
    if (!attribute.second) {
        if (attribute.first->second == value)
            return *this;
        attribute.first->second = value;
    }
    ++Book().revision;
    return *this;
}

std::string Widget::Attr(const std::string& name) const
{
    const Node& node = Get();
    Lock lock(Book().mutex);
    const auto found = node.attributes.find(name);
    return found == node.attributes.end() ? std::string() : found->second;
}

std::map<std::string, std::string> Widget::Attributes() const
{
    const Node& node = Get();
    Lock lock(Book().mutex);
    return node.attributes;
}

}  // namespace wgt
}  // namespace ui
