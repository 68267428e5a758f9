// SPDX-FileCopyrightText: The velmar_remote authors
// SPDX-License-Identifier: MIT
//
// Threads that run the requests: one for each task that waits, so that tasks which wait for other
// tasks never starve them. Each thread keeps its own share of the heap, which grows with all that
// it runs. So the one that became idle last is used first, those that a burst leaves behind end
// after a while, and all after a number of tasks: then what they kept is the process's again.
//
// Thread-safe.
#ifndef VELMAR_EMBEDDED_REQUESTS_WORKERPOOL_H
#define VELMAR_EMBEDDED_REQUESTS_WORKERPOOL_H

#include <stddef.h>
#include <condition_variable>
#include <functional>
#include <list>
#include <mutex>
#include <thread>
#include <vector>

namespace velmar_embedded {

class WorkerPool {
 public:
    /// A thread ends after `tasksPerThread`.
    explicit WorkerPool(size_t tasksPerThread = 256) : _tasksPerThread(tasksPerThread) {}
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
    struct Worker {
        std::thread thread;
        std::condition_variable wake;
        std::function<void()> task;  // that it has to run; none while it is idle
    };
    using Workers = std::list<Worker>;

    void work(Workers::iterator self);
    bool waitForTask(std::unique_lock<std::mutex>& guard, Workers::iterator self);
    static void join(Workers& workers);

    const size_t _tasksPerThread;
    std::mutex _lock;
    Workers _workers;
    Workers _ended;                        // to be joined
    std::vector<Workers::iterator> _idle;  // in the order of becoming so
    bool _stopping = false;
};

}  // namespace velmar_embedded

#endif
