#include "orvo_ui/panel_manager.h"

#include <boost/property_tree/ptree.hpp>
#include <exception>

#include "orvo_ui/detail/registry.h"
#include "orvo_ui/variable.h"

namespace ui {
namespace detail {

using boost::property_tree::ptree;

Registry& Book()
{
    static Registry& book = *new Registry;
    return book;
}

namespace {

void DescribeVariable(const Serializable& variable, ptree& tree)
{
    tree.put("type", variable.GetTypeID());
    if (variable.HasValue()) {
        try {
            std::string text;
            variable.Get(text, Access_Label);
            tree.put("value", text);
        } catch (const std::exception& error) {
            tree.put("error", error.what());
        }
    }
    if (variable.HasAttributes()) {
        ptree limits;
        variable.GetAttribute(limits);
        tree.add_child("limits", limits);
    }
}

}  // namespace

PanelManager::PanelManager() = default;
PanelManager::~PanelManager() = default;

wgt::Widget PanelManager::Widget(long id) const
{
    wgt::Widget widget;
    Registry& book = Book();
    std::lock_guard<std::mutex> lock(book.mutex);
    for (auto entry = book.bound.lower_bound(std::make_pair(id, std::uint64_t{0}));
         entry != book.bound.end() && entry->first.first == id; ++entry) {
        widget = wgt::Widget(entry->second.lock());  // null for one that ends at this moment
        if (!widget.IsNull())
            break;
    }
    return widget;
}

boost::shared_ptr<Serializable> PanelManager::Variable(long id) const
{
    boost::shared_ptr<Serializable> variable;
    Registry& book = Book();
    std::lock_guard<std::mutex> lock(book.mutex);
    const auto found = book.variables.find(id);
    if (found != book.variables.end())
        variable = found->second.lock();
    return variable;
}

std::vector<wgt::Widget> PanelManager::Panels() const
{
    std::vector<wgt::Widget> panels;
    Registry& book = Book();
    std::lock_guard<std::mutex> lock(book.mutex);
    panels.reserve(book.panels.size());
    for (const auto& entry : book.panels) {
        if (boost::shared_ptr<Node> node = entry.second.lock())
            panels.push_back(wgt::Widget(node));
    }
    return panels;
}

void PanelManager::Describe(const wgt::Widget& widget, ptree& tree) const
{
    tree.clear();
    tree.put("kind", widget.Kind());
    if (widget.Id() != -1)
        tree.put("id", std::to_string(widget.Id()));  // a stream would group the digits as the locale does

    ptree attributes;
    for (const auto& attribute : widget.Attributes())
        attributes.push_back(ptree::value_type(attribute.first, ptree(attribute.second)));
    tree.add_child("attributes", attributes);

    if (const boost::shared_ptr<Serializable> variable = Variable(widget.Id()))
        DescribeVariable(*variable, tree);

    ptree children;
    for (const wgt::Widget& child : widget.Children()) {
        Describe(child, children.push_back(ptree::value_type())->second);
    }
    tree.add_child("children", children);
}

std::uint64_t PanelManager::Revision() const
{
    std::lock_guard<std::mutex> lock(Book().mutex);
    return Book().revision;
}

void PanelManager::NotifyDataChanged(long id) const
{
    Book().observers.Notify(id);
}

std::size_t PanelManager::Connect(const boost::function<void(long id)>& observer)
{
    return Book().observers.Connect(observer);
}

void PanelManager::Disconnect(std::size_t connection)
{
    Book().observers.Disconnect(connection);
}

}  // namespace detail

detail::PanelManager& PanelManagerInstance()
{
    static detail::PanelManager& manager = *new detail::PanelManager;
    return manager;
}

}  // namespace ui
