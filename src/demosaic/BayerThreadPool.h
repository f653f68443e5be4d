#pragma once

#include <atomic>
#include <condition_variable>
#include <functional>
#include <mutex>
#include <thread>
#include <vector>

namespace BrxDemosaic {

// A fixed set of worker threads that share out the bands of one frame. The calling thread works
// too, as worker 0; `run` returns when every task is done.
class BayerThreadPool {
public:
    // `threads` counts the caller; 0 means one per processor core.
    explicit BayerThreadPool(int threads);
    ~BayerThreadPool();
    BayerThreadPool(BayerThreadPool const&) = delete;
    BayerThreadPool& operator=(BayerThreadPool const&) = delete;

    int size() const { return static_cast<int>(workers.size()) + 1; }

    // Calls task(index, worker) once for every index in [0, count); worker is below size().
    void run(int count, std::function<void(int, int)> const& task);

    static int coreCount();

private:
    void work(int worker);
    void drain(int worker);

    std::vector<std::thread> workers;
    std::mutex mutex;
    std::condition_variable wake;
    std::condition_variable finished;
    std::function<void(int, int)> const* job = nullptr;
    int jobCount = 0;
    std::atomic<int> next{0};
    int done = 0;
    unsigned generation = 0;
    bool stopping = false;
};

} // namespace BrxDemosaic
