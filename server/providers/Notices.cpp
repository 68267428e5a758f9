// SPDX-FileCopyrightText: The velmar_remote authors
// SPDX-License-Identifier: MIT

#include "providers/Notices.h"

#include <stdio.h>

#include <system_error>
#include <utility>

namespace velmar_embedded {

namespace {

thread_local const Notices* telling = nullptr;

}  // namespace

void Observer::onProblem(const std::string& text) {
    fprintf(stderr, "CIM server: %s\n", text.c_str());
}

void Observer::onFinding(const velmar_checks::Finding& finding) {
    fprintf(stderr, "CIM server: %s\n%s\n", toLine(finding).c_str(), helpFor(finding).c_str());
}

void Notices::problem(const std::string& text) {
    tell([text](Observer& observer) {
        try {
            observer.onProblem(text);
        } catch (...) {  // a problem more, which must not lead to the next
            Observer().onProblem("the observer of problems failed, told of " + text);
        }
    });
}

void Notices::finding(const velmar_checks::Finding& finding) {
    tell([finding](Observer& observer) {
        try {
            observer.onFinding(finding);
        } catch (...) {
            Observer().onProblem("the observer of findings failed, told of " + toLine(finding));
        }
    });
}

void Notices::tell(std::function<void(Observer&)> what) {
    if (_observer == nullptr || !queue(what)) {
        Observer toStderr;
        what(toStderr);
    }
}

// Returns false if it will not be told: after stop, or if no thread can be started.
bool Notices::queue(const std::function<void(Observer&)>& what) {
    std::lock_guard<std::mutex> guard(_lock);
    if (_stopping) {
        return false;
    }
    if (!_thread.joinable()) {
        try {
            _thread = std::thread(&Notices::work, this);
        } catch (const std::system_error&) {
            return false;
        }
    }
    _queue.push_back(what);
    _queued++;
    _changed.notify_all();
    return true;
}

void Notices::work() {
    telling = this;
    std::unique_lock<std::mutex> guard(_lock);
    for (;;) {
        _changed.wait(guard, [this] { return _stopping || !_queue.empty(); });
        if (_queue.empty()) {
            return;
        }
        const std::function<void(Observer&)> what = std::move(_queue.front());
        _queue.pop_front();
        guard.unlock();
        what(*_observer);
        guard.lock();
        _told++;
        _changed.notify_all();
    }
}

bool Notices::isTelling() const { return telling == this; }

void Notices::flush() {
    if (isTelling()) {
        return;
    }
    std::unique_lock<std::mutex> guard(_lock);
    _changed.wait(guard, [this, until = _queued] { return _told >= until; });
}

void Notices::stop() {
    {
        std::lock_guard<std::mutex> guard(_lock);
        _stopping = true;
        _changed.notify_all();
    }
    if (_thread.joinable()) {
        _thread.join();
    }
}

}  // namespace velmar_embedded
