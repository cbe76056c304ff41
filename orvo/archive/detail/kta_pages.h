// Memory for long lists that are filled from a file: taken from the system by the page, and not touched before use.
#ifndef ARCHIVE_DETAIL_KTA_PAGES_H
#define ARCHIVE_DETAIL_KTA_PAGES_H

#include <cstddef>
#include <limits>
#include <new>
#include <utility>

#include "base/export.h"

namespace kta {
namespace impl {

/// Pages that read as zero and cost address space alone until they are written. Throws std::bad_alloc.
ORVO_DEV_API void* TakePages(std::size_t bytes);
ORVO_DEV_API void ReturnPages(void* pages, std::size_t bytes) noexcept;

/// Says that all of these bytes will be written, so that the system may hand out large pages; page faults are most of
/// the price of a long list. For what TakePages() gave. Without effect on systems that have no such pages.
void ExpectPages(void* pages, std::size_t bytes) noexcept;

/// An allocator on such pages. Elements made by a resize are not constructed: they hold zeros on fresh pages. Worth it
/// for long lists of plain records only, as every list takes at least one page.
template <typename T>
struct TPageAllocator
{
    typedef T value_type;

    TPageAllocator() = default;
    template <typename U>
    TPageAllocator(const TPageAllocator<U>&)
    {
    }

    T* allocate(std::size_t count)
    {
        if (count > std::numeric_limits<std::size_t>::max() / sizeof(T))
            throw std::bad_alloc();
        return static_cast<T*>(TakePages(count * sizeof(T)));
    }
    void deallocate(T* pages, std::size_t count) noexcept { ReturnPages(pages, count * sizeof(T)); }

    template <typename U>
    void construct(U*)
    {
    }
    template <typename U, typename... Args>
    void construct(U* place, Args&&... args)
    {
        ::new (static_cast<void*>(place)) U(std::forward<Args>(args)...);
    }

    friend bool operator==(const TPageAllocator&, const TPageAllocator&) { return true; }
    friend bool operator!=(const TPageAllocator&, const TPageAllocator&) { return false; }
};

}  // namespace impl
}  // namespace kta

#endif
