// What images are made of: pixel buffers, recycled by size, and fixed blocks of memory for the image objects.
//
// Both stores belong to the process and are bounded; both are never destroyed, so that an image in static storage may
// be dropped after everything else. Blocks, which a tree of nodes takes and gives on every frame, go through a small
// cache of each thread first: the usual take or give is a few plain instructions, and one in thirty-two locks.
//
// Thread rule: everything here is safe on any thread, and what one thread took another may give.
#ifndef ORVO_PROC_CIMAGE_DETAIL_POOL_H
#define ORVO_PROC_CIMAGE_DETAIL_POOL_H

#include <cstddef>
#include <cstdint>

namespace cimage {
namespace detail {

/// Boundary of buffers and blocks, in bytes.
constexpr std::size_t alignment = 64;

/// Size of every block, in bytes: the reference counts, an image object, and room for a release function.
constexpr std::size_t block_bytes = 192;

/// Memory for `bytes` bytes of pixels, at least one; what they hold is undefined. Throws std::bad_alloc.
std::uint8_t* TakeBuffer(std::size_t bytes);

/// Gives back what TakeBuffer(bytes) handed out.
void GiveBuffer(std::uint8_t* buffer, std::size_t bytes) noexcept;

/// What lies idle among the pixel buffers.
struct TIdle
{
    std::size_t buffers;
    std::size_t bytes;
};
TIdle IdleBuffers();

/// One block. Throws std::bad_alloc.
void* TakeBlock();
void GiveBlock(void* block) noexcept;

}  // namespace detail
}  // namespace cimage

#endif
