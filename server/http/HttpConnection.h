// SPDX-FileCopyrightText: The velmar_remote authors
// SPDX-License-Identifier: MIT
//
// One connection of the HTTP server: its requests, one after the other.
#ifndef VELMAR_WIRE_HTTPCONNECTION_H
#define VELMAR_WIRE_HTTPCONNECTION_H

#include <atomic>
#include <chrono>
#include <mutex>
#include <string>

#include "HttpServer.h"

namespace velmar_wire {

/// What the connections of a server have in common. Thread-safe.
struct Traffic {
    std::atomic<size_t> bytes{0};      ///< received or made, not yet used or sent
    std::atomic<uint64_t> refused{0};  ///< requests over a limit
};

class HttpConnection {
 public:
    using Time = std::chrono::steady_clock::time_point;

    /// `stopping` becomes readable when the server stops. Closes neither.
    HttpConnection(int socket, int stopping, const Limits& limits, Traffic& traffic,
                   const HttpServer::Handler& check, const HttpServer::Handler& handle);

    /// Serves until the client, a limit or endIdle() ends it. Throws nothing.
    void run();

    /// Whether it ends with the answer that it is sending. On any thread.
    bool isEnding() const { return _isEnding; }
    /// Since when no byte of a request has come; Time::max() if one has. On any thread.
    Time idleSince() const;
    /// Ends it if it is idle; false if it is not. On any thread.
    bool endIdle();

 private:
    enum class Outcome { Good, Refused, Ended };

    bool isIdle() const;
    bool receive(Time until);
    bool waitToSend(Time until) const;
    bool isGone() const;
    bool send(const std::string& text);
    Outcome refuse(int status, const char* detail = nullptr);
    Outcome readHead(HttpRequest& request);
    Outcome readBody(HttpRequest& request);
    bool hold(size_t bytes);
    void release();
    bool isStopping() const;
    bool sendRest(const HttpResponse& response);
    bool serveOne();
    bool serveAndRest();

    const int _socket;
    const int _stopping;
    const Limits& _limits;
    Traffic& _traffic;
    const HttpServer::Handler& _check;
    const HttpServer::Handler& _handle;
    std::string _input;  // received, not yet used
    Time _until;         // for the request that is being read
    size_t _held = 0;    // its part of the traffic's bytes
    mutable std::mutex _lock;
    Time _idleSince;
    bool _ended = false;
    std::atomic<bool> _isEnding{false};
};

}  // namespace velmar_wire

#endif
