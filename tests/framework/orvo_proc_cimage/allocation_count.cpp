#include "allocation_count.h"

#include <atomic>
#include <cerrno>
#include <cstddef>

// The C library's own entry points, which lie beneath the names that are replaced here.
extern "C" {
void* __libc_malloc(std::size_t size);
void* __libc_calloc(std::size_t count, std::size_t size);
void* __libc_realloc(void* memory, std::size_t size);
void* __libc_memalign(std::size_t boundary, std::size_t size);
}

namespace {

std::atomic<unsigned long> g_count{0};

}  // namespace

unsigned long allocation_count::All()
{
    return g_count.load();
}
// Visible, so that the libraries of the program call these and not the C library's.
#pragma GCC visibility push(default)
extern "C" {

void* malloc(std::size_t size)
{
    ++g_count;
    return __libc_malloc(size);
}

void* calloc(std::size_t count, std::size_t size)
{
    ++g_count;
    return __libc_calloc(count, size);
}

void* realloc(void* memory, std::size_t size)
{
    ++g_count;
    return __libc_realloc(memory, size);
}

void* memalign(std::size_t boundary, std::size_t size)
{
    ++g_count;
    return __libc_memalign(boundary, size);
}

void* aligned_alloc(std::size_t boundary, std::size_t size)
{
    return memalign(boundary, size);
}

int posix_memalign(void** memory, std::size_t boundary, std::size_t size)
{
    *memory = memalign(boundary, size);
    return *memory == nullptr ? ENOMEM : 0;
}

}  // extern "C"
#pragma GCC visibility pop
