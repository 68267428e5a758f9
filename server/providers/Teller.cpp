// SPDX-FileCopyrightText: The velmar_remote authors
// SPDX-License-Identifier: MIT

#include "providers/Teller.h"

#include <system_error>
#include <utility>

namespace velmar_embedded {

namespace {

thread_local const Teller* telling = nullptr;

}  // namespace

bool Teller::queue(std::function<void()> tell) {
    std::lock_guard<std::mutex> guard(_lock);
    if (_stopping) {
        return false;
    }
    if (!_thread.joinable()) {
        try {
            _thread = std::thread(&Teller::work, this);
        } catch (const std::system_error&) {
            return false;
        }
    }
    _queue.push_back(std::move(tell));
    _queued++;
    _changed.notify_all();
    return true;
}

void Teller::work() {
    telling = this;
    std::unique_lock<std::mutex> guard(_lock);
    for (;;) {
        _changed.wait(guard, [this] { return _stopping || !_queue.empty(); });
        if (_queue.empty()) {
            return;
        }
        const std::function<void()> tell = std::move(_queue.front());
        _queue.pop_front();
        guard.unlock();
        tell();
        guard.lock();
        _told++;
        _changed.notify_all();
    }
}

bool Teller::isTelling() const { return telling == this; }

void Teller::flush() {
    if (isTelling()) {
        return;
    }
    std::unique_lock<std::mutex> guard(_lock);
    _changed.wait(guard, [this, until = _queued] { return _told >= until; });
}

void Teller::stop() {
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
