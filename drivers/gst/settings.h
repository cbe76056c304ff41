// The properties of a pipeline's elements as video properties.
#ifndef GST_SETTINGS_H
#define GST_SETTINGS_H

#include <memory>
#include <string>
#include <vector>

#include "capture/source.h"
#include "gst/handles.h"
#include "gst/outlet.h"

namespace gst {

/// An element of the line, and how it is called.
struct TElement
{
    /// As the line says ("name=left"), with "_" for "." and "="; else its kind and a number that counts from 0 within
    /// the line ("videotestsrc0"), so that it is the same each time the line is opened.
    std::string name;
    CRef<GstElement> element;
};

/// The elements of a bin, in the order of the line.
std::vector<TElement> NamedElements(GstBin* bin);

/// A video property for each element that can be adjusted while it runs, named as the element, whose attributes are
/// those GObject properties that the element itself (not a base class: "qos", "blocksize") marks as controllable or
/// mutable while playing: Switch for bool, Range for numbers, Choice for enumerations, Text for strings. Elements that
/// only pass data on ("queue", "capsfilter") have none.
///
/// What is set before the run shows from the second frame on where the first one already waits.
/// A setter throws std::runtime_error for a value outside of the property's limits, and, once the outlet is closed, for
/// any; it tells when the element took another value. A getter then gives the last value that was read. Safe on any
/// thread. They keep the elements, but nothing that runs.
capture::CSource::VideoProperties SettingsOf(const std::vector<TElement>& elements,
                                             const std::shared_ptr<COutlet>& outlet);

}  // namespace gst

#endif
