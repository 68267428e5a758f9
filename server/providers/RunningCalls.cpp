// SPDX-FileCopyrightText: The velmar_remote authors
// SPDX-License-Identifier: MIT

#include "providers/RunningCalls.h"

#include <utility>

#include "model/Text.h"

namespace velmar_embedded {

std::string Purpose::text() const {
    return className ? operation + (" of " + utf8(*className)) : operation;
}

RunningCalls::Scope::Scope(RunningCalls& calls, const Purpose& purpose, const std::string& who,
                           const Request* request)
    : _calls(calls), _purpose(purpose), _who(who), _request(request) {
    std::lock_guard<std::mutex> guard(_calls._lock);
    _older = std::exchange(_calls._newest, this);
    (_older ? _older->_newer : _calls._oldest) = this;
}

RunningCalls::Scope::~Scope() {
    std::lock_guard<std::mutex> guard(_calls._lock);
    (_older ? _older->_newer : _calls._oldest) = _newer;
    (_newer ? _newer->_older : _calls._newest) = _older;
}

std::string RunningCalls::text(const Request* request) const {
    std::string all;
    std::lock_guard<std::mutex> guard(_lock);
    for (const Scope* call = _oldest; call; call = call->_newer) {
        if (!request || call->_request == request) {
            all += (all.empty() ? "" : ", ") + call->_purpose.text() + " in " + call->_who;
        }
    }
    return all;
}

}  // namespace velmar_embedded
