// Finds a number by a hash: open addressing in one array, so that a look-up costs about one cache miss.
#ifndef ORVO_INIFILES_DETAIL_FLAT_INDEX_H
#define ORVO_INIFILES_DETAIL_FLAT_INDEX_H

#include <boost/utility/string_view.hpp>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <vector>

namespace kt {
namespace ini {
namespace detail {

/// Stands for "no section", "no entry", "no edit".
constexpr std::uint32_t none = 0xffffffffu;

/// Mixes eight bytes at a time; the same text has different hashes in different sections.
inline std::uint32_t Hash(std::uint32_t section, boost::string_view text)
{
    constexpr std::uint64_t odd = 0x9e3779b97f4a7c15u;
    std::uint64_t hash = (section + 1) * odd ^ text.size();
    const char* bytes = text.data();
    std::size_t left = text.size();
    std::uint64_t word = 0;
    for (; left >= sizeof word; bytes += sizeof word, left -= sizeof word) {
        std::memcpy(&word, bytes, sizeof word);
        hash = (hash ^ word) * odd;
        hash ^= hash >> 32;
    }
    word = 0;
    for (std::size_t i = 0; i < left; ++i)
        word = word << 8 | static_cast<unsigned char>(bytes[i]);
    hash = (hash ^ word) * odd;
    return static_cast<std::uint32_t>(hash ^ hash >> 32);
}

/// A set of numbers other than `none`, each with the hash it is found by. Nothing is ever removed.
class CFlatIndex
{
public:
    /// Makes room for `more` numbers, so that inserting them moves nothing and cannot fail.
    void MakeRoom(std::size_t more)
    {
        const std::size_t count = count_ + more;
        std::size_t slots = 16;
        while (slots < count + count / 2)
            slots *= 2;
        if (slots > slots_.size())
            Rehash(slots);
    }

    /// The number with that hash for which `is_it(number)` holds, or `none`.
    template <typename Predicate>
    std::uint32_t Find(std::uint32_t hash, Predicate is_it) const
    {
        if (slots_.empty())
            return none;
        const std::size_t mask = slots_.size() - 1;
        for (std::size_t i = hash & mask; slots_[i].number != none; i = (i + 1) & mask)
            if (slots_[i].hash == hash && is_it(slots_[i].number))
                return slots_[i].number;
        return none;
    }

    /// Adds a number that is not there yet.
    void Insert(std::uint32_t hash, std::uint32_t number)
    {
        MakeRoom(1);
        ++count_;
        Place({hash, number});
    }

private:
    struct TSlot
    {
        std::uint32_t hash;
        std::uint32_t number;
    };

    void Place(TSlot slot)
    {
        const std::size_t mask = slots_.size() - 1;
        std::size_t i = slot.hash & mask;
        while (slots_[i].number != none)
            i = (i + 1) & mask;
        slots_[i] = slot;
    }

    void Rehash(std::size_t size)
    {
        std::vector<TSlot> old(size, TSlot{0, none});
        old.swap(slots_);
        for (const TSlot& slot : old)
            if (slot.number != none)
                Place(slot);
    }

    std::vector<TSlot> slots_;  ///< a power of two of them, two thirds in use at most
    std::size_t count_ = 0;
};

}  // namespace detail
}  // namespace ini
}  // namespace kt

#endif
