// The process-wide directory of variables and widgets, and a front end's way in.
#ifndef ORVO_UI_PANEL_MANAGER_H
#define ORVO_UI_PANEL_MANAGER_H

#include <boost/function.hpp>
#include <boost/noncopyable.hpp>
#include <boost/property_tree/ptree_fwd.hpp>
#include <boost/shared_ptr.hpp>
#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

#include "orvo_ui/export.h"
#include "orvo_ui/widget.h"

namespace ui {
namespace detail {

class PanelManager;
class Serializable;

}  // namespace detail

/// The one panel manager. It is never destroyed, so that handles in static storage may end after everything else.
ORVO_UI_API detail::PanelManager& PanelManagerInstance();

namespace detail {

/// Maps ids to variables and widgets. Safe on any thread; observers are called on the thread that notifies, with no
/// lock held.
class ORVO_UI_API PanelManager : private boost::noncopyable
{
public:
    /// The widget bound to a variable's id, the first made if there are several; an empty handle if there is none.
    wgt::Widget Widget(long id) const;
    /// The variable of that id, or null once nobody holds it.
    boost::shared_ptr<Serializable> Variable(long id) const;

    /// Every widget of kind "panel" that is alive, in order of creation.
    std::vector<wgt::Widget> Panels() const;

    /// Puts a widget and all below it into `tree`, in place of what it held:
    ///   kind        the widget's kind
    ///   id          the variable's id, where the widget names one
    ///   attributes  one child per attribute, in name order
    ///   type        of the variable: GetTypeID()
    ///   value       its text, the label of a collection; missing for a variable that cannot be read
    ///   error       instead of the value, what reading it threw
    ///   limits      what GetAttribute() says, for a variable that has attributes
    ///   children    one unnamed entry of the same form per child, in order
    /// Variables are read with no lock held, on the calling thread.
    void Describe(const wgt::Widget& widget, boost::property_tree::ptree& tree) const;

    /// Grows with every change to a widget tree (attributes, children, panels that come and go), so that a front end
    /// sees that what it read is out of date. Values of variables do not count: see Connect().
    std::uint64_t Revision() const;

    /// Tells the observers that the variable's value changed. What an observer throws gets out, and those behind it do
    /// not hear of this change.
    void NotifyDataChanged(long id) const;

    /// Calls `observer` with the id at each change until the returned number is given to Disconnect(). An observer may
    /// connect and disconnect; after Disconnect() a call that another thread had begun may still be running.
    std::size_t Connect(const boost::function<void(long id)>& observer);
    void Disconnect(std::size_t connection);

private:
    friend PanelManager& ui::PanelManagerInstance();
    PanelManager();
    ~PanelManager();
};

}  // namespace detail
}  // namespace ui

#endif
