#include "orvo_proc_cimage/detail/pool.h"

#include <algorithm>
#include <boost/align/aligned_alloc.hpp>
#include <mutex>

#include "orvo_proc_cimage/image.h"

// Under the address sanitizer idle memory is poisoned, so that a use after release is seen although nothing was freed.
#if defined(__SANITIZE_ADDRESS__)
#define ORVO_POISON 1
#elif defined(__has_feature)
#if __has_feature(address_sanitizer)
#define ORVO_POISON 1
#endif
#endif
#ifdef ORVO_POISON
#include <sanitizer/asan_interface.h>
#else
#define ASAN_POISON_MEMORY_REGION(address, size) ((void)(address), (void)(size))
#define ASAN_UNPOISON_MEMORY_REGION(address, size) ((void)(address), (void)(size))
#endif

namespace cimage {
namespace detail {
namespace {

/// Blocks that travel between a thread's cache and the store under one lock.
constexpr std::size_t blocks_at_once = 32;

void* Allocate(std::size_t bytes)
{
    void* const memory = boost::alignment::aligned_alloc(alignment, bytes);
    if (memory == nullptr)
        throw std::bad_alloc();
    return memory;
}

void Free(void* memory, std::size_t bytes)
{
    ASAN_UNPOISON_MEMORY_REGION(memory, bytes);
    boost::alignment::aligned_free(memory);
}

/// What a buffer for `bytes` bytes really holds; buffers of the same capacity stand in for each other.
std::size_t Capacity(std::size_t bytes)
{
    if (bytes > SIZE_MAX - alignment)
        throw std::bad_alloc();
    return (bytes + alignment - 1) / alignment * alignment;
}

/// Idle pixel buffers, oldest first. A full store lets the oldest go, so that it follows a camera to a new size.
class CBufferStore
{
public:
    /// The warmest idle buffer of that capacity, or null.
    std::uint8_t* Take(std::size_t capacity)
    {
        const std::lock_guard<std::mutex> lock(mutex_);
        for (std::size_t i = count_; i-- > 0;) {
            if (idle_[i].capacity != capacity)
                continue;
            std::uint8_t* const buffer = idle_[i].buffer;
            std::copy(idle_ + i + 1, idle_ + count_, idle_ + i);
            --count_;
            bytes_ -= capacity;
            return buffer;
        }
        return nullptr;
    }

    void Give(std::uint8_t* buffer, std::size_t capacity)
    {
        if (capacity > max_idle_bytes) {
            Free(buffer, capacity);
            return;
        }
        TBuffer dropped[max_idle_buffers];
        std::size_t drop = 0;
        {
            const std::lock_guard<std::mutex> lock(mutex_);
            for (; count_ - drop == max_idle_buffers || bytes_ + capacity > max_idle_bytes; ++drop) {
                dropped[drop] = idle_[drop];
                bytes_ -= idle_[drop].capacity;
            }
            if (drop > 0)
                std::copy(idle_ + drop, idle_ + count_, idle_);
            count_ -= drop;
            idle_[count_++] = TBuffer{buffer, capacity};
            bytes_ += capacity;
        }
        // The system takes its time over large memory: not under the lock.
        for (std::size_t i = 0; i < drop; ++i)
            Free(dropped[i].buffer, dropped[i].capacity);
    }

    TIdle Idle()
    {
        const std::lock_guard<std::mutex> lock(mutex_);
        return TIdle{count_, bytes_};
    }

private:
    struct TBuffer
    {
        std::uint8_t* buffer;
        std::size_t capacity;
    };

    std::mutex mutex_;
    TBuffer idle_[max_idle_buffers];
    std::size_t count_ = 0;
    std::size_t bytes_ = 0;
};

/// Idle blocks that no thread's cache holds.
class CBlockStore
{
public:
    /// Moves up to `wanted` blocks to `to`; returns how many.
    std::size_t Take(void** to, std::size_t wanted)
    {
        const std::lock_guard<std::mutex> lock(mutex_);
        const std::size_t taken = std::min(wanted, count_);
        count_ -= taken;
        std::copy(idle_ + count_, idle_ + count_ + taken, to);
        return taken;
    }

    /// Takes `given` blocks over; what does not fit is freed.
    void Give(void* const* from, std::size_t given)
    {
        std::size_t kept = 0;
        {
            const std::lock_guard<std::mutex> lock(mutex_);
            kept = std::min(given, max_idle_objects - count_);
            std::copy(from, from + kept, idle_ + count_);
            count_ += kept;
        }
        for (std::size_t i = kept; i < given; ++i)
            Free(from[i], block_bytes);
    }

private:
    std::mutex mutex_;
    void* idle_[max_idle_objects];
    std::size_t count_ = 0;
};

/// Never destroyed, on purpose: see the head of the header.
struct TStores
{
    CBufferStore buffers;
    CBlockStore blocks;
};
TStores& Stores()
{
    static TStores* const stores = new TStores;
    return *stores;
}

/// A thread's own idle blocks, a stack. Before the thread's first use and after its last the stack is empty and has no
/// room, which sends a take and a give alike to the slow path: the fast one need not ask.
struct TBlockCache
{
    enum State
    {
        fresh,
        open,
        closed
    };

    State state;
    std::size_t count;
    std::size_t room;
    void* idle[2 * blocks_at_once];
};
thread_local TBlockCache t_cache;  // plain data, all zero: it outlives every destructor of its thread

/// Empties the thread's cache into the store when the thread ends.
struct TCacheOwner
{
    TCacheOwner()
    {
        t_cache.state = TBlockCache::open;
        t_cache.room = 2 * blocks_at_once;
    }
    ~TCacheOwner()
    {
        Stores().blocks.Give(t_cache.idle, t_cache.count);
        t_cache.state = TBlockCache::closed;
        t_cache.count = 0;
        t_cache.room = 0;
    }
};

/// Once per thread. A destructor of the thread that runs after the owner's finds the cache closed, and it stays so.
void OpenCache()
{
    if (t_cache.state == TBlockCache::fresh) {
        thread_local const TCacheOwner owner;
        (void)owner;
    }
}

BOOST_NOINLINE void* TakeBlockFromStore()
{
    OpenCache();
    void* taken[blocks_at_once];
    const std::size_t count = Stores().blocks.Take(taken, t_cache.room == 0 ? 1 : blocks_at_once);
    if (count == 0)
        return Allocate(block_bytes);
    t_cache.count = count - 1;
    std::copy(taken + 1, taken + count, t_cache.idle);
    return taken[0];
}

BOOST_NOINLINE void GiveBlockToStore(void* block)
{
    OpenCache();
    if (t_cache.count < t_cache.room) {
        t_cache.idle[t_cache.count++] = block;
        return;
    }
    if (t_cache.room == 0) {
        Stores().blocks.Give(&block, 1);
        return;
    }
    // The older half goes; the warm one stays.
    Stores().blocks.Give(t_cache.idle, blocks_at_once);
    std::copy(t_cache.idle + blocks_at_once, t_cache.idle + t_cache.count, t_cache.idle);
    t_cache.count -= blocks_at_once;
    t_cache.idle[t_cache.count++] = block;
}

}  // namespace

std::uint8_t* TakeBuffer(std::size_t bytes)
{
    const std::size_t capacity = Capacity(bytes);
    std::uint8_t* buffer = Stores().buffers.Take(capacity);
    if (buffer == nullptr)
        buffer = static_cast<std::uint8_t*>(Allocate(capacity));
    ASAN_UNPOISON_MEMORY_REGION(buffer, bytes);
    ASAN_POISON_MEMORY_REGION(buffer + bytes, capacity - bytes);
    return buffer;
}

void GiveBuffer(std::uint8_t* buffer, std::size_t bytes) noexcept
{
    ASAN_POISON_MEMORY_REGION(buffer, bytes);
    Stores().buffers.Give(buffer, Capacity(bytes));
}

TIdle IdleBuffers()
{
    return Stores().buffers.Idle();
}

void* TakeBlock()
{
    void* const block = t_cache.count > 0 ? t_cache.idle[--t_cache.count] : TakeBlockFromStore();
    ASAN_UNPOISON_MEMORY_REGION(block, block_bytes);
    return block;
}

void GiveBlock(void* block) noexcept
{
    ASAN_POISON_MEMORY_REGION(block, block_bytes);
    if (t_cache.count < t_cache.room)
        t_cache.idle[t_cache.count++] = block;
    else
        GiveBlockToStore(block);
}

}  // namespace detail
}  // namespace cimage
