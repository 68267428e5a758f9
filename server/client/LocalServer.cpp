// SPDX-FileCopyrightText: The velmar_remote authors
// SPDX-License-Identifier: MIT

#include "client/LocalServer.h"

#include <utility>

namespace velmar_embedded {

namespace {

struct Started {
    std::mutex lock;
    std::weak_ptr<LocalServer> server;
};

// Lives until the process ends: a server may be destroyed by a static destructor.
Started& theStarted() {
    static Started& only = *new Started;
    return only;
}

}  // namespace

void Pending::take(Answer piece) {
    std::unique_lock<std::mutex> guard(_lock);
    _changed.wait(guard, [this] { return _givenUp || _pieces.size() < mostPieces; });
    if (!_givenUp) {
        _pieces.push(std::move(piece));
        _changed.notify_all();
    }
}

std::optional<Answer> Pending::nextPiece() {
    std::unique_lock<std::mutex> guard(_lock);
    _changed.wait(guard, [this] { return _finished || !_pieces.empty(); });
    if (_pieces.empty()) {
        return std::nullopt;
    }
    Answer piece = std::move(_pieces.front());
    _pieces.pop();
    _changed.notify_all();
    return piece;
}

void Pending::giveUp() {
    std::lock_guard<std::mutex> guard(_lock);
    _givenUp = true;
    _changed.notify_all();
}

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
    Started& started = theStarted();
    std::lock_guard<std::mutex> guard(started.lock);
    return started.server.lock();
}

bool LocalServer::announce(const std::shared_ptr<LocalServer>& server) {
    Started& started = theStarted();
    std::lock_guard<std::mutex> guard(started.lock);
    if (started.server.lock()) {
        return false;
    }
    started.server = server;
    return true;
}

void LocalServer::withdraw(const LocalServer& server) {
    Started& started = theStarted();
    std::lock_guard<std::mutex> guard(started.lock);
    if (started.server.lock().get() == &server) {
        started.server.reset();
    }
}

}  // namespace velmar_embedded
