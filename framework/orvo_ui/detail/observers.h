// Callbacks that are called with no lock held.
#ifndef ORVO_UI_DETAIL_OBSERVERS_H
#define ORVO_UI_DETAIL_OBSERVERS_H

#include <boost/function.hpp>
#include <boost/make_shared.hpp>
#include <boost/shared_ptr.hpp>
#include <cstddef>
#include <map>
#include <mutex>
#include <vector>

namespace ui {
namespace detail {

/// Safe on any thread, and inside a callback.
template <typename... Args>
class Observers
{
public:
    using Observer = boost::function<void(Args...)>;

    std::size_t Connect(const Observer& observer)
    {
        const auto entry = boost::make_shared<const Observer>(observer);
        std::lock_guard<std::mutex> lock(mutex_);
        observers_.emplace(++last_, entry);
        return last_;
    }

    void Disconnect(std::size_t connection)
    {
        Entry gone;  // ends behind the lock: what a callback holds may call us when it ends
        std::lock_guard<std::mutex> lock(mutex_);
        const auto found = observers_.find(connection);
        if (found != observers_.end()) {
            gone.swap(found->second);
            observers_.erase(found);
        }
    }

    void Notify(Args... args) const
    {
        std::vector<Entry> entries;
        {
            std::lock_guard<std::mutex> lock(mutex_);
            entries.reserve(observers_.size());
            for (const auto& observer : observers_)
                entries.push_back(observer.second);
        }
        for (const Entry& entry : entries)
            (*entry)(args...);
    }

private:
    using Entry = boost::shared_ptr<const Observer>;

    mutable std::mutex mutex_;
    std::map<std::size_t, Entry> observers_;
    std::size_t last_ = 0;
};

}  // namespace detail
}  // namespace ui

#endif
