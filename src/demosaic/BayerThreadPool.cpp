#include "demosaic/BayerThreadPool.h"

namespace BrxDemosaic {

int BayerThreadPool::coreCount() {
    unsigned n = std::thread::hardware_concurrency();
    return n == 0 ? 1 : static_cast<int>(n);
}

BayerThreadPool::BayerThreadPool(int threads) {
    if (threads <= 0)
        threads = coreCount();
    for (int i = 1; i < threads; ++i)
        workers.emplace_back([this, i] { work(i); });
}

BayerThreadPool::~BayerThreadPool() {
    {
        std::lock_guard<std::mutex> lock(mutex);
        stopping = true;
    }
    wake.notify_all();
    for (std::thread& t : workers)
        t.join();
}

void BayerThreadPool::drain(int worker) {
    for (;;) {
        int const index = next.fetch_add(1, std::memory_order_relaxed);
        if (index >= jobCount)
            return;
        (*job)(index, worker);
    }
}

void BayerThreadPool::work(int worker) {
    unsigned seen = 0;
    for (;;) {
        {
            std::unique_lock<std::mutex> lock(mutex);
            wake.wait(lock, [&] { return stopping || generation != seen; });
            if (stopping)
                return;
            seen = generation;
        }
        drain(worker);
        {
            std::lock_guard<std::mutex> lock(mutex);
            ++done;
        }
        finished.notify_all();
    }
}

void BayerThreadPool::run(int count, std::function<void(int, int)> const& task) {
    if (count <= 0)
        return;
    if (workers.empty() || count == 1) {
        for (int i = 0; i < count; ++i)
            task(i, 0);
        return;
    }
    {
        std::lock_guard<std::mutex> lock(mutex);
        job = &task;
        jobCount = count;
        next.store(0, std::memory_order_relaxed);
        done = 0;
        ++generation;
    }
    wake.notify_all();
    drain(0);
    // Every worker checks in for every frame, so none still holds this job when the next begins.
    std::unique_lock<std::mutex> lock(mutex);
    finished.wait(lock, [&] { return done == static_cast<int>(workers.size()); });
    job = nullptr;
}

} // namespace BrxDemosaic
