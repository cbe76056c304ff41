#include "ui/widgets.h"

namespace ui {
namespace wgt {

namespace {

Widget Enabled(const std::string& kind, long id, const std::string& label)
{
    return Widget(kind, id).Label(label).Enable(true).HExpand(1).VExpand(0);
}

}  // namespace

Widget Slider(long id, const std::string& label, bool)
{
    return Enabled("slider", id, label);
}

Widget Text(const std::string& label, bool)
{
    return Enabled("text", -1, label);
}

Widget TextBox(long id, const std::string& label, bool)
{
    return Enabled("textbox", id, label);
}

Widget Expanding(const std::string& kind)
{
    return Widget(kind).HExpand(1).VExpand(1);
}

GridSizer::GridSizer(unsigned int hgap, unsigned int vgap) : Widget("gridsizer")
{
    Attr("hgap", hgap);
    Attr("vgap", vgap);
}

void GridSizer::Add(const Widget& widget, unsigned int row, unsigned int column, int hexpand, int vexpand,
                    unsigned int row_span, unsigned int column_span)
{
    Widget cell("szcell");
    cell.Attr("row", row).Attr("column", column).Attr("row_span", row_span).Attr("column_span", column_span);
    cell.HExpand(hexpand).VExpand(vexpand);
    cell.Add(widget);
    Widget::Add(cell);
}

Page::Page(const std::string& label) : Widget("page")
{
    Label(label);
}

Panel::Panel(const std::string& label) : Widget("panel")
{
    Label(label).Attr("visible", "FALSE");
}

Panel::~Panel()
{
    Clear();
}

void Panel::Clear()
{
    for (Widget& child : Children())
        child.Detach();
}

}  // namespace wgt
}  // namespace ui
