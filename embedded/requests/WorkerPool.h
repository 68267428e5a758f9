// SPDX-FileCopyrightText: The velmar_remote authors
// SPDX-License-Identifier: MIT
//
// Threads that run the requests: one for each task that waits, so that tasks which wait for other
// tasks never starve them. Idle threads are used again; none ends before the pool.
//
// Thread-safe.
#ifndef VELMAR_EMBEDDED_REQUESTS_WORKERPOOL_H
#define VELMAR_EMBEDDED_REQUESTS_WORKERPOOL_H

#include <condition_variable>
#include <deque>
#include <functional>
#include <mutex>
#include <thread>
#include <vector>

namespace velmar_embedded {

class WorkerPool {
 public:
    WorkerPool() = default;
    /// Joins the threads after all tasks.
    ~WorkerPool();
    WorkerPool(const WorkerPool&) = delete;
    WorkerPool& operator=(const WorkerPool&) = delete;

    /// Runs `task`, which must not throw, on a thread of its own. Throws std::system_error when
    /// the system gives no thread.
    void run(std::function<void()> task);

    /// Runs the tasks in parallel, the first on this thread, and returns after all of them.
    void runAll(const std::vector<std::function<void()>>& tasks);

    /// Joins the threads after all tasks; no task may be added from here on.
    void stop();

 private:
    void work();

    std::mutex _lock;
    std::condition_variable _changed;
    std::deque<std::function<void()>> _tasks;
    std::vector<std::thread> _threads;
    size_t _idle = 0;
    bool _stopping = false;
};

}  // namespace velmar_embedded

#endif
