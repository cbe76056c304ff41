// Builders for the widgets of which the panels of devices are made.
//
// Every builder gives its widget the attributes that it names, and nothing else; truth values are "TRUE" and "FALSE",
// numbers decimal text. "hexpand" and "vexpand" say whether a widget takes the room that is left ("1") or not ("0").
#ifndef UI_WIDGETS_H
#define UI_WIDGETS_H

#include <boost/noncopyable.hpp>
#include <string>

#include "base/export.h"
#include "orvo_ui/widget.h"

namespace ui {
namespace wgt {

// The flag of the next three is part of the interface and has no effect, on purpose: the widget is always made enabled.
// Call Enable(false) on it afterwards for one that only shows.

/// A "slider" on the variable `id`: "label", "enabled" TRUE, "hexpand" 1, "vexpand" 0. It takes its limits from the
/// variable.
ORVO_DEV_API Widget Slider(long id, const std::string& label, bool = true);
/// A "text" that shows `label` and no variable; attributes as above.
ORVO_DEV_API Widget Text(const std::string& label, bool = true);
/// A "textbox" on the variable `id`; attributes as above.
ORVO_DEV_API Widget TextBox(long id, const std::string& label, bool = true);

/// A widget without a variable that takes all the room there is: "hexpand" 1, "vexpand" 1. For "vsizer", "hsizer",
/// "propertygrid" and their like.
ORVO_DEV_API Widget Expanding(const std::string& kind);

/// A "gridsizer" with "hgap" and "vgap", in pixels. Each thing in it sits in a cell of its own.
class ORVO_DEV_API GridSizer : public Widget
{
public:
    explicit GridSizer(unsigned int hgap = 0, unsigned int vgap = 0);

    /// Adds a "szcell" that holds `widget`, with "row" and "column" from 0, "row_span", "column_span", and the expand
    /// flags of the cell.
    void Add(const Widget& widget, unsigned int row, unsigned int column, int hexpand, int vexpand,
             unsigned int row_span, unsigned int column_span);
};

/// A "page" of a notebook, with its "label".
class ORVO_DEV_API Page : public Widget
{
public:
    explicit Page(const std::string& label);
};

/// The "panel" of a device: its "label", and "visible" FALSE until a front end shows it.
/// What is in the panel reads and writes the fields of the device that owns it; so it leaves the panel when the Panel
/// ends, and a front end that still holds the panel's widget finds it empty. Drop what you hold of its children before
/// the device goes.
class ORVO_DEV_API Panel : public Widget, private boost::noncopyable
{
public:
    explicit Panel(const std::string& label);
    ~Panel();

    /// Takes everything out.
    void Clear();
};

}  // namespace wgt
}  // namespace ui

#endif
