// SPDX-FileCopyrightText: The velmar_remote authors
// SPDX-License-Identifier: MIT
//
// One connection of the HTTP server: its requests, one after the other.
#ifndef VELMAR_WIRE_HTTPCONNECTION_H
#define VELMAR_WIRE_HTTPCONNECTION_H

#include <chrono>
#include <string>

#include "HttpServer.h"

namespace velmar_wire {

class HttpConnection {
 public:
    /// `stopping` becomes readable when the server stops. Closes neither.
    HttpConnection(int socket, int stopping, const Limits& limits, const HttpServer::Handler& check,
                   const HttpServer::Handler& handle)
        : _socket(socket), _stopping(stopping), _limits(limits), _check(check), _handle(handle) {}

    /// Serves until the client or a limit ends it.
    void run();

 private:
    using Time = std::chrono::steady_clock::time_point;
    enum class Outcome { Good, Refused, Ended };

    bool receive(Time until);
    bool waitToSend(Time until) const;
    bool isGone() const;
    bool send(const std::string& text);
    Outcome refuse(int status, const char* detail = nullptr);
    Outcome readHead(HttpRequest& request);
    Outcome readBody(HttpRequest& request);
    bool serveOne();

    const int _socket;
    const int _stopping;
    const Limits& _limits;
    const HttpServer::Handler& _check;
    const HttpServer::Handler& _handle;
    std::string _input;  // received, not yet used
    Time _until;         // for the request that is being read
};

}  // namespace velmar_wire

#endif
