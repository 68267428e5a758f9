// SPDX-FileCopyrightText: The velmar_remote authors
// SPDX-License-Identifier: MIT

#include "requests/WorkerPool.h"

#include <algorithm>
#include <chrono>
#include <utility>

namespace velmar_embedded {

WorkerPool::~WorkerPool() { stop(); }

void WorkerPool::run(std::function<void()> task) {
    Workers ended;
    {
        std::lock_guard<std::mutex> guard(_lock);
        ended.swap(_ended);
        if (!_idle.empty()) {
            _idle.back()->task = std::move(task);
            _idle.back()->wake.notify_one();
            _idle.pop_back();
        } else {
            const auto worker = _workers.emplace(_workers.end());
            worker->task = std::move(task);
            try {
                worker->thread = std::thread(&WorkerPool::work, this, worker);
            } catch (...) {
                _workers.erase(worker);
                _ended.splice(_ended.end(), ended);
                throw;
            }
        }
    }
    join(ended);
}

void WorkerPool::runAll(const std::vector<std::function<void()>>& tasks) {
    std::mutex lock;
    std::condition_variable done;
    size_t pending = 0;
    auto finish = [&] {
        // Notified under the lock: the waiting thread owns these variables and leaves at once.
        std::lock_guard<std::mutex> guard(lock);
        if (--pending == 0) {
            done.notify_one();
        }
    };
    for (size_t i = 1; i < tasks.size(); i++) {
        {
            std::lock_guard<std::mutex> guard(lock);
            pending++;
        }
        auto task = [&tasks, &finish, i] {
            tasks[i]();
            finish();
        };
        try {
            run(task);
        } catch (const std::exception&) {
            task();  // no further thread: one after the other
        }
    }
    if (!tasks.empty()) {
        tasks[0]();
    }
    std::unique_lock<std::mutex> guard(lock);
    done.wait(guard, [&] { return pending == 0; });
}

void WorkerPool::stop() {
    Workers workers;
    {
        std::lock_guard<std::mutex> guard(_lock);
        _stopping = true;
        workers.swap(_workers);
        workers.splice(workers.end(), _ended);
    }
    for (Worker& worker : workers) {
        worker.wake.notify_one();
    }
    join(workers);
}

void WorkerPool::join(Workers& workers) {
    for (Worker& worker : workers) {
        worker.thread.join();
    }
}

// False when none comes for a while, or the pool stops.
bool WorkerPool::waitForTask(std::unique_lock<std::mutex>& guard, Workers::iterator self) {
    _idle.push_back(self);
    self->wake.wait_for(guard, std::chrono::seconds(5), [&] { return self->task || _stopping; });
    if (!self->task) {
        _idle.erase(std::find(_idle.begin(), _idle.end(), self));
    }
    return bool(self->task);
}

void WorkerPool::work(Workers::iterator self) {
    std::unique_lock<std::mutex> guard(_lock);
    for (size_t left = _tasksPerThread;; left--) {
        std::function<void()> task = std::move(self->task);
        self->task = nullptr;
        guard.unlock();
        task();
        task = nullptr;  // what it owns goes before the thread counts as idle
        guard.lock();
        if (_stopping || left <= 1 || !waitForTask(guard, self)) {
            break;
        }
    }
    if (!_stopping) {  // else the pool is joining it
        _ended.splice(_ended.end(), _workers, self);
    }
}

}  // namespace velmar_embedded
