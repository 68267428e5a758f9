// SPDX-FileCopyrightText: The velmar_remote authors
// SPDX-License-Identifier: MIT

#include "providers/Problems.h"

#include <stdio.h>

#include <system_error>
#include <utility>

namespace velmar_embedded {

namespace {

thread_local const Problems* telling = nullptr;

void toStderr(const std::string& problem) { fprintf(stderr, "CIM server: %s\n", problem.c_str()); }

}  // namespace

void Problems::report(const std::string& problem) {
    if (!_observer || !queue(problem)) {
        toStderr(problem);
    }
}

// False when nobody would tell of it.
bool Problems::queue(const std::string& problem) {
    std::lock_guard<std::mutex> guard(_lock);
    if (_stopping) {
        return false;
    }
    if (!_teller.joinable()) {
        try {
            _teller = std::thread(&Problems::tell, this);
        } catch (const std::system_error&) {  // no thread to be had
            return false;
        }
    }
    _queue.push_back(problem);
    _reported++;
    _changed.notify_all();
    return true;
}

void Problems::tell() {
    telling = this;
    std::unique_lock<std::mutex> guard(_lock);
    for (;;) {
        _changed.wait(guard, [this] { return _stopping || !_queue.empty(); });
        if (_queue.empty()) {
            return;
        }
        const std::string problem = std::move(_queue.front());
        _queue.pop_front();
        guard.unlock();
        try {
            _observer(problem);
        } catch (...) {  // a problem more, which must not lead to the next
            toStderr("the observer of problems failed, told of " + problem);
        }
        guard.lock();
        _told++;
        _changed.notify_all();
    }
}

bool Problems::inObserver() const { return telling == this; }

void Problems::flush() {
    if (inObserver()) {
        return;
    }
    std::unique_lock<std::mutex> guard(_lock);
    _changed.wait(guard, [this, until = _reported] { return _told >= until; });
}

void Problems::stop() {
    {
        std::lock_guard<std::mutex> guard(_lock);
        _stopping = true;
        _changed.notify_all();
    }
    if (_teller.joinable()) {
        _teller.join();
    }
}

}  // namespace velmar_embedded
