#include "modules/gate.h"

#include <condition_variable>
#include <mutex>
#include <set>

namespace gate {

namespace {

std::mutex mutex;
std::condition_variable changed;
std::set<std::string> open_gates;

}  // namespace

void Open(const std::string& name)
{
    const std::lock_guard<std::mutex> lock(mutex);
    open_gates.insert(name);
    changed.notify_all();
}

void Await(const std::string& name)
{
    std::unique_lock<std::mutex> lock(mutex);
    changed.wait(lock, [&name] { return open_gates.count(name) > 0; });
}

}  // namespace gate
