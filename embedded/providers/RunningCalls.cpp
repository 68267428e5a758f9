// SPDX-FileCopyrightText: The velmar_remote authors
// SPDX-License-Identifier: MIT

#include "providers/RunningCalls.h"

#include "model/Utf8.h"

namespace velmar_embedded {

std::string Purpose::text() const {
    return className ? operation + (" of " + utf8(*className)) : operation;
}

RunningCalls::Scope::Scope(RunningCalls& calls, const Purpose& purpose, const std::string& who,
                           const Request* request)
    : _calls(calls), _purpose(purpose), _who(who), _request(request) {
    std::lock_guard<std::mutex> guard(_calls._lock);
    _place = _calls._running.insert(_calls._running.end(), this);
}

RunningCalls::Scope::~Scope() {
    std::lock_guard<std::mutex> guard(_calls._lock);
    _calls._running.erase(_place);
}

std::string RunningCalls::text(const Request* request) const {
    std::string all;
    std::lock_guard<std::mutex> guard(_lock);
    for (const Scope* call : _running) {
        if (!request || call->_request == request) {
            all += (all.empty() ? "" : ", ") + call->_purpose.text() + " in " + call->_who;
        }
    }
    return all;
}

}  // namespace velmar_embedded
