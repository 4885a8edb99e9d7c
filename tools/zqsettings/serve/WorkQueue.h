// Work for one thread, in the order in which it was given.
#pragma once

#include <condition_variable>
#include <deque>
#include <functional>
#include <mutex>
#include <thread>

namespace zq::tool {

class WorkQueue {
public:
    WorkQueue() : m_thread([this] { Run(); }) {}
    // Waits for the work that is being done; the rest is dropped.
    ~WorkQueue() {
        {
            const std::lock_guard lock(m_mutex);
            m_isEnding = true;
        }
        m_wake.notify_one();
        m_thread.join();
    }
    WorkQueue(const WorkQueue&) = delete;
    WorkQueue& operator=(const WorkQueue&) = delete;

    // False where `most` pieces are waiting already. The work must not throw.
    bool Add(std::function<void()> work, size_t most = 1024) {
        {
            const std::lock_guard lock(m_mutex);
            if (m_work.size() >= most) {
                return false;
            }
            m_work.push_back(std::move(work));
        }
        m_wake.notify_one();
        return true;
    }

private:
    void Run() {
        std::unique_lock lock(m_mutex);
        for (;;) {
            m_wake.wait(lock, [this] { return m_isEnding || !m_work.empty(); });
            if (m_isEnding) {
                return;
            }
            const std::function<void()> work = std::move(m_work.front());
            m_work.pop_front();
            lock.unlock();
            work();
            lock.lock();
        }
    }

    std::mutex m_mutex;
    std::condition_variable m_wake;
    std::deque<std::function<void()>> m_work;
    bool m_isEnding = false;
    std::thread m_thread;
};

} // namespace zq::tool
