// SPDX-FileCopyrightText: The velmar_remote authors
// SPDX-License-Identifier: MIT

#include "HttpConnection.h"

#include <errno.h>
#include <poll.h>
#include <strings.h>
#include <sys/socket.h>

#include <algorithm>

namespace velmar_wire {

namespace {

using Clock = std::chrono::steady_clock;

int millisecondsUntil(Clock::time_point time) {
    const auto left = std::chrono::ceil<std::chrono::milliseconds>(time - Clock::now()).count();
    return int(std::clamp<decltype(left)>(left, 0, 3600 * 1000));
}

const char* const tooMuch = "The server is busy with as many bytes as it takes at a time";

}  // namespace

HttpConnection::HttpConnection(int socket, int stopping, const Limits& limits, Traffic& traffic,
                               const HttpServer::Handler& check, const HttpServer::Handler& handle)
    : _socket(socket),
      _stopping(stopping),
      _limits(limits),
      _traffic(traffic),
      _check(check),
      _handle(handle),
      _idleSince(Clock::now()) {}

// Under the lock.
bool HttpConnection::isIdle() const {
    char first = 0;
    return _idleSince != Time::max() && recv(_socket, &first, 1, MSG_PEEK | MSG_DONTWAIT) != 1;
}

HttpConnection::Time HttpConnection::idleSince() const {
    std::lock_guard<std::mutex> guard(_lock);
    return isIdle() ? _idleSince : Time::max();
}

bool HttpConnection::endIdle() {
    std::lock_guard<std::mutex> guard(_lock);
    if (!isIdle()) {
        return false;
    }
    _ended = true;
    shutdown(_socket, SHUT_RD);  // wakes the thread that waits for a request
    return true;
}

// Counts the bytes that this connection holds. False if they are too many for the server.
bool HttpConnection::hold(size_t bytes) {
    const bool grows = bytes > _held;
    const size_t all = _traffic.bytes += bytes - _held;
    _held = bytes;
    return !grows || all <= _limits.bytesInFlight;
}

void HttpConnection::release() {
    std::string().swap(_input);
    hold(0);
}

// False when the time is over, the client has gone, the connection was ended, or the server stops
// and nothing has come.
bool HttpConnection::receive(Time until) {
    pollfd wanted[] = {{_socket, POLLIN, 0}, {_stopping, POLLIN, 0}};
    int ready = 0;
    do {
        ready = poll(wanted, 2, millisecondsUntil(until));
    } while (ready < 0 && errno == EINTR);
    if (ready <= 0 || (wanted[0].revents & (POLLIN | POLLHUP)) == 0) {
        return false;
    }
    char buffer[16384];
    // What was taken cannot be peeked at, so idleSince() sees it taken and counted, or neither.
    std::lock_guard<std::mutex> guard(_lock);
    const ssize_t count = recv(_socket, buffer, sizeof buffer, MSG_DONTWAIT);
    if (count <= 0 || _ended) {
        return false;
    }
    _idleSince = Time::max();
    _input.append(buffer, size_t(count));
    return true;
}

// Whether the client has gone.
bool HttpConnection::isGone() const {
    pollfd state = {_socket, 0, 0};
    return poll(&state, 1, 0) == 1 && (state.revents & (POLLERR | POLLHUP)) != 0;
}

// Not for long once the server stops.
bool HttpConnection::waitToSend(Time until) const {
    pollfd wanted[] = {{_socket, POLLOUT, 0}, {_stopping, POLLIN, 0}};
    const int ready = poll(wanted, 2, millisecondsUntil(until));
    if (ready <= 0) {
        return ready < 0 && errno == EINTR;
    }
    return wanted[0].revents != 0 || poll(wanted, 1, 1000) == 1;
}

bool HttpConnection::send(const std::string& text) {
    const Time until = Clock::now() + _limits.requestTime;
    for (size_t sent = 0; sent < text.size();) {
        const ssize_t count =
            ::send(_socket, text.data() + sent, text.size() - sent, MSG_NOSIGNAL | MSG_DONTWAIT);
        if (count > 0) {
            sent += size_t(count);
            continue;
        }
        if (count < 0 && errno == EINTR) {
            continue;
        }
        if (count == 0 || (errno != EAGAIN && errno != EWOULDBLOCK) || !waitToSend(until)) {
            return false;
        }
    }
    return true;
}

// After a request that was not read to its end nothing on the connection makes sense any more.
HttpConnection::Outcome HttpConnection::refuse(int status, const char* detail) {
    HttpResponse response;
    response.status = status;
    response.endsConnection = true;
    _isEnding = true;
    _traffic.refused += status == 413 || status == 431 || status == 503;
    if (detail) {
        response.headers.emplace_back("PGErrorDetail", percentEncoded(detail));
    }
    send(response.text());
    return Outcome::Refused;
}

HttpConnection::Outcome HttpConnection::readHead(HttpRequest& request) {
    size_t searched = 0;
    size_t end = 0;
    while ((end = _input.find("\r\n\r\n", searched)) == std::string::npos) {
        if (_input.size() > _limits.headSize) {
            return refuse(431);
        }
        searched = _input.size() < 3 ? 0 : _input.size() - 3;
        const bool isIdle = _input.empty();
        if (!receive(isIdle ? Clock::now() + _limits.idleTime : _until)) {
            return Outcome::Ended;
        }
        if (isIdle) {
            _until = Clock::now() + _limits.requestTime;
        }
    }
    if (end > _limits.headSize) {
        return refuse(431);
    }
    const auto head = parseHead(_input.substr(0, end));
    _input.erase(0, end + 4);
    if (!head) {
        return refuse(501);
    }
    request = *head;
    return Outcome::Good;
}

HttpConnection::Outcome HttpConnection::readBody(HttpRequest& request) {
    const BodyLength length = bodyLength(request.headers);
    if (length.kind == BodyLength::Missing) {
        return Outcome::Ended;  // a real server waits for ever; there is nothing to wait for
    }
    if (length.kind == BodyLength::Malformed) {
        return refuse(400, "Invalid Content-Length header detected");
    }
    if (length.size > _limits.bodySize) {
        return refuse(413);
    }
    const std::string* const expected = request.header("Expect");
    if (expected && strcasecmp(expected->c_str(), "100-continue") == 0 &&
        !send("HTTP/1.1 100 Continue\r\n\r\n")) {
        return Outcome::Ended;
    }
    if (length.kind == BodyLength::Known) {
        for (;;) {
            if (!hold(_input.size())) {
                return refuse(503, tooMuch);
            }
            if (_input.size() >= length.size) {
                break;
            }
            if (!receive(_until)) {
                return Outcome::Ended;
            }
        }
        // Moved, for `_input` would keep the room of the largest body.
        request.body = std::move(_input);
        _input = request.body.substr(length.size);
        request.body.resize(length.size);
        return Outcome::Good;
    }
    ChunkReader chunks;
    for (;;) {
        const ChunkReader::Result result = chunks.read(_input, request.body);
        if (result == ChunkReader::Malformed) {
            return refuse(400);
        }
        if (request.body.size() > _limits.bodySize) {
            return refuse(413);
        }
        if (!hold(_input.size() + request.body.size())) {
            return refuse(503, tooMuch);
        }
        if (result == ChunkReader::Whole) {
            return Outcome::Good;
        }
        if (!receive(_until)) {
            return Outcome::Ended;
        }
    }
}

bool HttpConnection::isStopping() const {
    pollfd wanted = {_stopping, POLLIN, 0};
    return poll(&wanted, 1, 0) == 1;
}

// Sends what follows the first chunk. False if the client has to see that the end is missing.
bool HttpConnection::sendRest(const HttpResponse& response) {
    Time end = Time::max();
    try {
        HttpHeaders trailer;
        for (;;) {
            const std::string data = response.more(trailer);
            const std::string text = data.empty() ? lastChunk(trailer) : chunk(data);
            hold(_input.size() + text.size());
            if (end == Time::max() && isStopping()) {
                end = Clock::now() + _limits.requestTime;
            }
            if (Clock::now() > end || !send(text)) {
                return false;
            }
            if (data.empty()) {
                return true;
            }
        }
    } catch (...) {  // also of the object model's exceptions, which are of their own
        return false;
    }
}

bool HttpConnection::serveOne() {
    HttpRequest request;
    if (readHead(request) != Outcome::Good) {
        return false;
    }
    const std::string foreign = foreignOrigin(request);
    if (!foreign.empty()) {
        refuse(403, foreign.c_str());
        return false;
    }
    const HttpResponse refused = _check(request);
    if (refused.status == 501 ||
        (refused.status != 200 && bodyLength(request.headers).kind != BodyLength::Known)) {
        refuse(refused.status);
        return false;
    }
    if (readBody(request) != Outcome::Good) {
        return false;
    }
    if (isGone()) {
        return false;
    }
    HttpResponse response = _handle(request);
    response.endsConnection = !request.keepsConnection();
    _isEnding = response.endsConnection && !response.more;
    // That there is an answer was decided with the request.
    std::string text = response.text();
    std::string().swap(response.body);
    hold(_input.size() + text.size());
    if (!send(text)) {
        return false;
    }
    std::string().swap(text);
    return (!response.more || sendRest(response)) && !response.endsConnection;
}

// Rests between two requests.
bool HttpConnection::serveAndRest() {
    if (!serveOne()) {
        return false;
    }
    hold(_input.size());
    std::lock_guard<std::mutex> guard(_lock);
    _until = Clock::now() + _limits.requestTime;
    if (_input.empty()) {
        _idleSince = Clock::now();
    }
    return true;
}

void HttpConnection::run() {
    _until = Clock::now() + _limits.requestTime;
    try {
        while (serveAndRest()) {
        }
    } catch (const std::exception&) {  // no memory: what this request had is free again
        try {
            release();
            refuse(503, "The server has no memory for the request");
        } catch (const std::exception&) {
        }
    }
    release();  // before the client can see that the connection has ended
}

}  // namespace velmar_wire
