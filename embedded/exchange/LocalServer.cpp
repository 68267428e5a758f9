// SPDX-FileCopyrightText: The velmar_remote authors
// SPDX-License-Identifier: MIT

#include "exchange/LocalServer.h"

#include <utility>

namespace velmar_embedded {

namespace {

std::mutex startedLock;
std::weak_ptr<LocalServer> startedServer;

}  // namespace

void Pending::finish(Answer answer, std::optional<Failure> failure) {
    std::lock_guard<std::mutex> guard(_lock);
    _answer = std::move(answer);
    _failure = std::move(failure);
    _finished = true;
    _changed.notify_all();
}

bool Pending::wait(std::optional<std::chrono::milliseconds> time) {
    std::unique_lock<std::mutex> guard(_lock);
    auto finished = [this] { return _finished; };
    if (time) {
        return _changed.wait_for(guard, *time, finished);
    }
    _changed.wait(guard, finished);
    return true;
}

std::shared_ptr<LocalServer> LocalServer::started() {
    std::lock_guard<std::mutex> guard(startedLock);
    return startedServer.lock();
}

bool LocalServer::announce(const std::shared_ptr<LocalServer>& server) {
    std::lock_guard<std::mutex> guard(startedLock);
    if (startedServer.lock()) {
        return false;
    }
    startedServer = server;
    return true;
}

void LocalServer::withdraw(const LocalServer& server) {
    std::lock_guard<std::mutex> guard(startedLock);
    if (startedServer.lock().get() == &server) {
        startedServer.reset();
    }
}

}  // namespace velmar_embedded
