#include "archive/detail/kta_pages.h"

#include <sys/mman.h>

#include <cstdint>

namespace kta {
namespace impl {

void* TakePages(std::size_t bytes)
{
    // Without a reservation of swap: a list has room for far more than most archives fill.
    void* const pages =
        mmap(nullptr, bytes, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS | MAP_NORESERVE, -1, 0);
    if (pages == MAP_FAILED)
        throw std::bad_alloc();
    return pages;
}

void ReturnPages(void* pages, std::size_t bytes) noexcept
{
    munmap(pages, bytes);
}

void ExpectPages(void* pages, std::size_t bytes) noexcept
{
#ifdef MADV_HUGEPAGE
    // Only whole large pages, so that the end of a list does not take one that stays empty.
    const std::size_t large_page = std::size_t(2) << 20;
    const std::size_t beginning = (large_page - reinterpret_cast<std::uintptr_t>(pages) % large_page) % large_page;
    if (bytes >= beginning + large_page)
        madvise(static_cast<char*>(pages) + beginning, (bytes - beginning) / large_page * large_page, MADV_HUGEPAGE);
#else
    static_cast<void>(pages);
    static_cast<void>(bytes);
#endif
}

}  // namespace impl
}  // namespace kta
