// Widgets: the tree of which panels are made. A front end reads it as data and renders it.
#ifndef ORVO_UI_WIDGET_H
#define ORVO_UI_WIDGET_H

#include <boost/shared_ptr.hpp>
#include <map>
#include <string>
#include <type_traits>
#include <vector>

#include "orvo_ui/export.h"

namespace ui {
namespace detail {

class Node;
class PanelManager;

}  // namespace detail

namespace wgt {

/// A handle on one node of a widget tree: a kind ("panel", "slider", …), the id of the variable that it shows (-1:
/// none), string attributes, and children. Copies share the node, so that what is set through one shows in the tree. A
/// node keeps its children and the variable that it names alive; a node belongs to one parent at most, which it does
/// not keep alive.
/// Safe on any thread: the platform locks inside. One handle belongs to one thread at a time, as a shared_ptr does.
class ORVO_UI_API Widget
{
public:
    /// An empty handle; only assignment, comparison and IsNull are legal, the rest throws std::logic_error.
    Widget();
    /// A node without attributes, children and parent.
    explicit Widget(const std::string& kind, long id = -1);

    bool IsNull() const { return !node_; }
    bool operator==(const Widget& other) const { return node_ == other.node_; }
    bool operator!=(const Widget& other) const { return node_ != other.node_; }

    std::string Kind() const;
    long Id() const;

    /// Appends a child; a child that has a parent leaves it first. Throws std::logic_error, and changes nothing, if the
    /// tree would close into a ring.
    void Add(const Widget& child);
    /// Leaves the parent, if there is one.
    void Detach();
    std::vector<Widget> Children() const;

    /// Sets an attribute. Truth values are "TRUE" and "FALSE", numbers decimal text.
    Widget& Attr(const std::string& name, const std::string& value);
    template <typename T, typename = typename std::enable_if<std::is_integral<T>::value>::type>
    Widget& Attr(const std::string& name, T value)
    {
        static_assert(!std::is_same<T, bool>::value, "a truth value is written \"TRUE\" or \"FALSE\"");
        return Attr(name, std::to_string(value));
    }
    /// The attribute's text, empty when it was never set.
    std::string Attr(const std::string& name) const;
    std::map<std::string, std::string> Attributes() const;

    Widget& Label(const std::string& label) { return Attr("label", label); }
    Widget& Enable(bool enabled) { return Attr("enabled", enabled ? "TRUE" : "FALSE"); }
    Widget& HExpand(int n) { return Attr("hexpand", n); }
    Widget& VExpand(int n) { return Attr("vexpand", n); }
    Widget& Unit(const std::string& unit) { return Attr("unit", unit); }

private:
    friend class detail::PanelManager;

    explicit Widget(const boost::shared_ptr<detail::Node>& node);
    detail::Node& Get() const;

    boost::shared_ptr<detail::Node> node_;
};

}  // namespace wgt
}  // namespace ui

#endif
