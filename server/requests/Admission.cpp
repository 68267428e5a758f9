// SPDX-FileCopyrightText: The velmar_remote authors
// SPDX-License-Identifier: MIT

#include "requests/Admission.h"

#include <optional>
#include <utility>

#include "providers/Course.h"

using namespace Pegasus;

namespace velmar_embedded {

bool Admission::open() {
    std::lock_guard<std::mutex> guard(_lock);
    if (_state != State::Prepared) {
        return false;
    }
    _state = State::Running;
    return true;
}

bool Admission::close() {
    std::lock_guard<std::mutex> guard(_lock);
    if (_state != State::Running) {
        return false;
    }
    _state = State::Draining;
    return true;
}

void Admission::waitForLast() {
    std::unique_lock<std::mutex> guard(_lock);
    _left.wait(guard, [this] { return _running == 0; });
    _state = State::Stopped;
}

bool Admission::enter(bool fromHandle) {
    std::lock_guard<std::mutex> guard(_lock);
    if (_state != State::Running && !(_state == State::Draining && fromHandle && _running > 0)) {
        return false;
    }
    _running++;
    return true;
}

void Admission::leave() {
    std::lock_guard<std::mutex> guard(_lock);
    if (--_running == 0) {
        _left.notify_all();
    }
}

std::shared_ptr<Pending> Admission::submit(std::shared_ptr<const Request> request,
                                           Gate::Chain chain) {
    return run(request->fromHandle, chain, [this, request](AnswerSink& sink) {
        return serve(_services, *request, request->takesPieces ? &sink : nullptr);
    });
}

std::shared_ptr<Pending> Admission::run(bool fromHandle, Gate::Chain chain,
                                        std::function<Answer(AnswerSink&)> work) {
    if (!enter(fromHandle)) {
        throw CIMException(CIM_ERR_SERVER_IS_SHUTTING_DOWN,
                           String("the server is shutting down or was stopped"));
    }
    auto pending = std::make_shared<Pending>();
    try {
        Course course = Course::current();
        course.depth++;
        _services.workers.run([this, pending, chain, course, work = std::move(work)] {
            const Gate::Scope gates(chain);
            const Course::Scope following(course);
            Answer answer;
            auto failure = failureOf([&] { answer = work(*pending); });
            pending->finish(std::move(answer), std::move(failure));
            leave();
        });
    } catch (...) {
        leave();
        throw Failure::ofCurrentException().exception();
    }
    return pending;
}

void Admission::complete(const std::function<void()>& work) {
    const std::shared_ptr<Pending> pending = run(false, Gate::chain(), [&work](AnswerSink&) {
        work();
        return Answer();
    });
    pending->wait(std::nullopt);
    if (pending->failure()) {
        throw pending->failure()->exception();
    }
}

}  // namespace velmar_embedded
