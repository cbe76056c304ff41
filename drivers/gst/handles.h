// Owners of what GStreamer counts references of.
#ifndef GST_HANDLES_H
#define GST_HANDLES_H

#include <gst/gst.h>

#include <memory>

namespace gst {

struct TUnref
{
    void operator()(gpointer object) const { gst_object_unref(object); }
    void operator()(GstCaps* caps) const { gst_caps_unref(caps); }
    void operator()(GstSample* sample) const { gst_sample_unref(sample); }
    void operator()(GstIterator* iterator) const { gst_iterator_free(iterator); }
    void operator()(GError* error) const { g_error_free(error); }
    void operator()(gchar* text) const { g_free(text); }
};

/// One reference, or none.
template <typename T>
using CRef = std::unique_ptr<T, TUnref>;

/// One more reference to a GstObject.
template <typename T>
CRef<T> Share(T* object)
{
    return CRef<T>(static_cast<T*>(gst_object_ref(object)));
}

}  // namespace gst

#endif
