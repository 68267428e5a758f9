// SPDX-FileCopyrightText: The velmar_remote authors
// SPDX-License-Identifier: MIT
//
// An HTTP server on the loopback interface. It is not cpp-httplib's, whose reader answers what is
// no plain request (M-POST, a missing length, garbage) in ways of its own, and whose accept loop
// cannot tell an idle client from a busy one.
#ifndef VELMAR_WIRE_HTTPSERVER_H
#define VELMAR_WIRE_HTTPSERVER_H

#include <stdint.h>

#include <functional>
#include <memory>

#include <velmar_wire/WireServer.h>
#include "HttpMessage.h"

namespace velmar_wire {

class HttpServer {
 public:
    using Handler = std::function<HttpResponse(const HttpRequest&)>;

    /// `check` answers a head whose body is not to be read with a status that is not 200; `handle`
    /// gives the answer. Both are called on several threads.
    HttpServer(const Limits& limits, Handler check, Handler handle);
    ~HttpServer();

    /// Throws std::runtime_error when it cannot listen on the port (0: any). Returns the port.
    uint16_t start(uint16_t port);
    /// Ends idle connections, waits for the answers that are being made.
    void stop();
    /// Of connections and requests.
    Refusals refusals() const;

 private:
    class Impl;
    std::unique_ptr<Impl> _impl;
};

}  // namespace velmar_wire

#endif
