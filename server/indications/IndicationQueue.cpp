// SPDX-FileCopyrightText: The velmar_remote authors
// SPDX-License-Identifier: MIT

#include "indications/IndicationQueue.h"

#include <system_error>
#include <utility>

#include "client/Request.h"
#include "providers/Course.h"

using namespace Pegasus;

namespace velmar_embedded {

namespace {

thread_local bool insideSubscriber = false;

}  // namespace

IndicationQueue::IndicationQueue(WorkerPool& workers, std::string name, size_t capacity,
                                 Deliver deliver, Notices& notices)
    : _workers(workers),
      _name(std::move(name)),
      _capacity(capacity),
      _deliver(std::move(deliver)),
      _notices(notices) {}

Step IndicationQueue::stepOf(Step::Kind kind, const std::string& provider,
                             const CIMInstance& indication) {
    Step step{kind, "deliver", provider, "", CIMObjectPath(), ""};
    if (!indication.isUninitialized()) {
        step.path = indication.getPath();
        step.path.setClassName(indication.getClassName());
    }
    return step;
}

bool IndicationQueue::inSubscriber() { return insideSubscriber; }

void IndicationQueue::push(const CIMInstance& indication) {
    Entry entry{indication, {}};
    size_t capacity = _capacity;
    if (_notices.wantsSteps()) {
        entry.step = stepOf(Step::Kind::Delivery, "", indication);
        beginStep(entry.step, _notices.observer());
        capacity = _notices.faults.isFull(entry.step) ? 0 : _capacity;
    }
    if (!take(entry, capacity)) {
        endStep(entry.step, {{}, {}, 0, "dropped"}, _notices.observer());
    }
}

bool IndicationQueue::take(const Entry& entry, size_t capacity) {
    std::string problem;
    {
        std::lock_guard<std::mutex> guard(_lock);
        if (_closed) {
            return false;
        }
        if (_queue.size() < capacity && schedule()) {
            _queue.push_back(entry);
            _dropping = false;
            return true;
        }
        _counts.overflowed++;
        if (_dropping) {
            return false;
        }
        _dropping = true;
        problem = _queue.size() < capacity
                      ? "no thread for its subscriber"
                      : std::to_string(_queue.size()) + " indications wait for its subscriber";
    }
    _notices.problem(_name + ": " + problem + ", new ones are dropped");
    return false;
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
        const Entry entry = std::move(_queue.front());
        _queue.pop_front();
        _counts.delivered++;
        _delivering = true;
        guard.unlock();
        handOver(entry);
        guard.lock();
        _delivering = false;
        _changed.notify_all();
    }
    _scheduled = false;
}

void IndicationQueue::handOver(const Entry& entry) {
    StepEnd end;
    end.waited = std::chrono::steady_clock::now() - entry.step.began;
    insideSubscriber = true;
    try {
        Course course;
        course.step = entry.step.id;
        const Course::Scope following(course);
        _deliver(entry.indication);
        end.delivered = 1;
    } catch (...) {
        end.error = describeCurrentException();
        _notices.problem(_name + ": its subscriber failed: " + end.error);
    }
    insideSubscriber = false;
    endStep(entry.step, end, _notices.observer());
}

void IndicationQueue::drain() {
    std::unique_lock<std::mutex> guard(_lock);
    _changed.wait(guard, [this] { return _queue.empty() && !_delivering; });
}

void IndicationQueue::close() {
    std::unique_lock<std::mutex> guard(_lock);
    _closed = true;
    _counts.discarded += _queue.size();
    const std::deque<Entry> discarded = std::move(_queue);
    _queue.clear();
    _changed.notify_all();
    if (!insideSubscriber) {
        _changed.wait(guard, [this] { return !_delivering; });
    }
    guard.unlock();
    for (const Entry& entry : discarded) {
        endStep(entry.step, {{}, {}, 0, "discarded"}, _notices.observer());
    }
}

IndicationCounts IndicationQueue::counts() const {
    std::lock_guard<std::mutex> guard(_lock);
    return _counts;
}

}  // namespace velmar_embedded
