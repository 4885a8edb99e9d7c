// Threads that run side by side; the destructor waits for them.
#pragma once

#include <functional>
#include <thread>
#include <utility>
#include <vector>

namespace zq::test {

class Threads {
public:
    Threads() = default;
    ~Threads() {
        for (std::thread& thread : m_threads) {
            thread.join();
        }
    }
    Threads(const Threads&) = delete;
    Threads& operator=(const Threads&) = delete;

    void Add(std::function<void()> work) { m_threads.emplace_back(std::move(work)); }

private:
    std::vector<std::thread> m_threads;
};

} // namespace zq::test
