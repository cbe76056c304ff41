// The other thread of a process that is measured.
#ifndef SECOND_THREAD_H
#define SECOND_THREAD_H

#include <condition_variable>
#include <mutex>
#include <thread>

/// A thread that only lives: a process with a single one may take short cuts that no running camera has.
class CSecondThread
{
public:
    ~CSecondThread()
    {
        {
            const std::lock_guard<std::mutex> lock(mutex_);
            ending_ = true;
        }
        changed_.notify_all();
        thread_.join();
    }

private:
    void Run()
    {
        std::unique_lock<std::mutex> lock(mutex_);
        changed_.wait(lock, [this] { return ending_; });
    }

    std::mutex mutex_;
    std::condition_variable changed_;
    bool ending_ = false;
    std::thread thread_{&CSecondThread::Run, this};
};

#endif
