// SPDX-FileCopyrightText: The velmar_remote authors
// SPDX-License-Identifier: MIT

#include "requests/Enumerations.h"

#include <Pegasus/Common/Exception.h>

#include <algorithm>
#include <utility>

#include "model/Text.h"

using namespace Pegasus;

namespace velmar_embedded {

void Enumerations::extend(Enumeration& enumeration) {
    enumeration.end =
        Clock::now() +
        std::chrono::seconds(enumeration.request().pull.timeout.value_or(defaultTimeout));
}

Answer Enumerations::open(Answer whole, Uint32 most) {
    Enumeration enumeration{AnswerSlices(std::move(whole)), {}};
    Answer piece = enumeration.slices.take(most);
    piece.continuation =
        enumeration.slices.left() == 0 ? String() : String(keep(std::move(enumeration)).c_str());
    return piece;
}

std::string Enumerations::keep(Enumeration enumeration) {
    extend(enumeration);
    const std::lock_guard<std::mutex> guard(_lock);
    if (_open.size() == mostOpen) {
        throw CIMException(
            CIM_ERR_SERVER_LIMITS_EXCEEDED,
            String((std::to_string(mostOpen) + " enumerations are open already").c_str()));
    }
    if (!_watch.joinable()) {
        _watch = std::thread(&Enumerations::endOverdue, this);
    }
    const std::string context = _prefix + std::to_string(++_lastId);
    _open.emplace(context, std::move(enumeration));
    _changed.notify_all();
    return context;
}

Enumerations::Open::iterator Enumerations::find(const Request& request) {
    const auto found = _open.find(utf8(request.pull.context));
    if (found == _open.end() || found->second.request().nameSpace != request.nameSpace) {
        throw CIMException(CIM_ERR_INVALID_ENUMERATION_CONTEXT, String("Context undefined."));
    }
    return found;
}

Answer Enumerations::pull(const Request& request) {
    Open::node_type ended;  // its objects go when the lock is free
    const std::lock_guard<std::mutex> guard(_lock);
    const auto found = find(request);
    Enumeration& enumeration = found->second;
    if (enumeration.hasPaths() != (request.operation == Operation::PullInstancePaths)) {
        ended = _open.extract(found);
        throw CIMException(CIM_ERR_FAILED, String("Open and Pull Message types do not match."));
    }
    Answer piece = enumeration.slices.take(request.pull.mostObjects);
    extend(enumeration);
    if (enumeration.slices.left() == 0) {
        ended = _open.extract(found);
    }
    piece.continuation = ended ? String() : request.pull.context;
    return piece;
}

void Enumerations::close(const Request& request) {
    Open::node_type ended;
    const std::lock_guard<std::mutex> guard(_lock);
    ended = _open.extract(find(request));
}

Uint64 Enumerations::count(const Request& request) {
    const std::lock_guard<std::mutex> guard(_lock);
    return find(request)->second.slices.left();
}

void Enumerations::endOverdue() {
    std::unique_lock<std::mutex> guard(_lock);
    while (!_stopped) {
        const auto first = std::min_element(
            _open.begin(), _open.end(),
            [](const auto& a, const auto& b) { return a.second.end < b.second.end; });
        if (first == _open.end()) {
            _changed.wait(guard);
        } else if (first->second.end > Clock::now()) {
            const Clock::time_point end = first->second.end;
            _changed.wait_until(guard, end);
        } else {
            Open::node_type ended = _open.extract(first);
            guard.unlock();
            ended = {};
            guard.lock();
        }
    }
}

void Enumerations::stop() {
    Open ended;
    {
        const std::lock_guard<std::mutex> guard(_lock);
        _stopped = true;
        ended.swap(_open);
        _changed.notify_all();
    }
    if (_watch.joinable()) {
        _watch.join();
    }
}

}  // namespace velmar_embedded
