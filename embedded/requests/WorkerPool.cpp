// SPDX-FileCopyrightText: The velmar_remote authors
// SPDX-License-Identifier: MIT

#include "requests/WorkerPool.h"

#include <utility>

namespace velmar_embedded {

WorkerPool::~WorkerPool() { stop(); }

void WorkerPool::run(std::function<void()> task) {
    std::lock_guard<std::mutex> guard(_lock);
    _tasks.push_back(std::move(task));
    if (_tasks.size() <= _idle) {
        _changed.notify_one();
        return;
    }
    try {
        _threads.emplace_back(&WorkerPool::work, this);
    } catch (...) {
        _tasks.pop_back();
        throw;
    }
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
            task();  // no further thread to be had: one after the other
        }
    }
    if (!tasks.empty()) {
        tasks[0]();
    }
    std::unique_lock<std::mutex> guard(lock);
    done.wait(guard, [&] { return pending == 0; });
}

void WorkerPool::stop() {
    std::vector<std::thread> threads;
    {
        std::lock_guard<std::mutex> guard(_lock);
        _stopping = true;
        threads.swap(_threads);
    }
    _changed.notify_all();
    for (std::thread& thread : threads) {
        thread.join();
    }
}

void WorkerPool::work() {
    std::unique_lock<std::mutex> guard(_lock);
    for (;;) {
        _idle++;
        _changed.wait(guard, [this] { return _stopping || !_tasks.empty(); });
        _idle--;
        if (_tasks.empty()) {
            return;
        }
        std::function<void()> task = std::move(_tasks.front());
        _tasks.pop_front();
        guard.unlock();
        task();
        task = nullptr;  // what it owns goes before the thread counts as idle
        guard.lock();
    }
}

}  // namespace velmar_embedded
