// SPDX-FileCopyrightText: The velmar_remote authors
// SPDX-License-Identifier: MIT

#include "indications/IndicationQueue.h"

#include <system_error>
#include <utility>

#include "client/Request.h"

using namespace Pegasus;

namespace velmar_embedded {

namespace {

thread_local bool insideSubscriber = false;

}  // namespace

IndicationQueue::IndicationQueue(WorkerPool& workers, std::string name, size_t capacity,
                                 Deliver deliver, Report report)
    : _workers(workers),
      _name(std::move(name)),
      _capacity(capacity),
      _deliver(std::move(deliver)),
      _report(std::move(report)) {}

bool IndicationQueue::inSubscriber() { return insideSubscriber; }

void IndicationQueue::push(const CIMInstance& indication) {
    std::string problem;
    {
        std::lock_guard<std::mutex> guard(_lock);
        if (_closed) {
            return;
        }
        if (_queue.size() < _capacity && schedule()) {
            _queue.push_back(indication);
            _dropping = false;
            return;
        }
        _counts.overflowed++;
        if (_dropping) {
            return;
        }
        _dropping = true;
        problem = _queue.size() < _capacity
                      ? "no thread for its subscriber"
                      : std::to_string(_capacity) + " indications wait for its subscriber";
    }
    _report(_name + ": " + problem + ", new ones are dropped");
}

// False when the system gives no thread.
bool IndicationQueue::schedule() {
    if (_scheduled) {
        return true;
    }
    try {
        _workers.run([queue = shared_from_this()] { queue->work(); });
    } catch (const std::system_error&) {
        return false;
    }
    _scheduled = true;
    return true;
}

void IndicationQueue::noteUnmatched() {
    std::lock_guard<std::mutex> guard(_lock);
    _counts.unmatched++;
}

void IndicationQueue::work() {
    std::unique_lock<std::mutex> guard(_lock);
    while (!_queue.empty()) {
        const CIMInstance indication = std::move(_queue.front());
        _queue.pop_front();
        _counts.delivered++;
        _delivering = true;
        guard.unlock();
        handOver(indication);
        guard.lock();
        _delivering = false;
        _changed.notify_all();
    }
    _scheduled = false;
}

void IndicationQueue::handOver(const CIMInstance& indication) {
    insideSubscriber = true;
    try {
        _deliver(indication);
    } catch (...) {
        _report(_name + ": its subscriber failed: " + describeCurrentException());
    }
    insideSubscriber = false;
}

void IndicationQueue::drain() {
    std::unique_lock<std::mutex> guard(_lock);
    _changed.wait(guard, [this] { return _queue.empty() && !_delivering; });
}

void IndicationQueue::close() {
    std::unique_lock<std::mutex> guard(_lock);
    _closed = true;
    _counts.discarded += _queue.size();
    _queue.clear();
    _changed.notify_all();
    if (!insideSubscriber) {
        _changed.wait(guard, [this] { return !_delivering; });
    }
}

IndicationCounts IndicationQueue::counts() const {
    std::lock_guard<std::mutex> guard(_lock);
    return _counts;
}

}  // namespace velmar_embedded
