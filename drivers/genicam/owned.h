// One reference to an object of Aravis, let go with the pointer.
#ifndef GENICAM_OWNED_H
#define GENICAM_OWNED_H

#include <glib-object.h>

#include <memory>

namespace genicam {

struct TUnref
{
    void operator()(void* object) const { g_object_unref(object); }
};

template <typename T>
using Owned = std::unique_ptr<T, TUnref>;

}  // namespace genicam

#endif
