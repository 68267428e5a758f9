// SPDX-FileCopyrightText: The velmar_remote authors
// SPDX-License-Identifier: MIT
//
// An HTTP client that passes on the body of an answer while it comes. It is not cpp-httplib's,
// which takes a trailer, where CIM servers say what went wrong after the first chunk, for a broken
// body.
//
// Not thread-safe.
#ifndef VELMAR_WIRE_HTTPCLIENT_H
#define VELMAR_WIRE_HTTPCLIENT_H

#include <chrono>
#include <functional>
#include <memory>
#include <stdexcept>
#include <string>

#include "HttpMessage.h"
#include "Tls.h"

namespace velmar_wire {

/// Why there is no answer, or not all of it.
class NoAnswer : public std::runtime_error {
 public:
    explicit NoAnswer(const std::string& text, bool timeIsOver = false)
        : std::runtime_error(text), isTimeout(timeIsOver) {}
    const bool isTimeout;
};

/// Whether one of the events of poll happened to a socket before the time was over.
bool happens(int socket, short events, std::chrono::milliseconds timeout);

/// Keeps its connection between two requests.
class HttpClient {
 public:
    using Time = std::chrono::milliseconds;
    using Take = std::function<void(const char* data, size_t size)>;

    /// An answer without its body.
    struct Reply {
        int status = 0;
        HttpHeaders headers;
        HttpHeaders trailer;
    };

    /// Over TLS if there is something to trust. Throws std::invalid_argument as Tls does.
    HttpClient(std::string host, int port, const Trust* trust = nullptr);
    ~HttpClient() { disconnect(); }
    HttpClient(const HttpClient&) = delete;
    HttpClient& operator=(const HttpClient&) = delete;

    /// Throws NoAnswer if nothing listens there, and what Tls throws.
    void connect(Time timeout);
    void disconnect();
    /// "127.0.0.1:5988".
    std::string place() const;

    /// `take` gets the body if the status is 200, else it is left unread. The server may be silent
    /// for `timeout` at a time. Throws NoAnswer, and what `take` throws.
    Reply post(const std::string& target, const HttpHeaders& headers, const std::string& body,
               Time timeout, const Take& take);

 private:
    bool isUsable() const;
    void send(const std::string& text, Time timeout);
    void waitFor(short events, Time timeout) const;
    bool receive(Time timeout);
    Reply readHead(Time timeout);
    void readBody(Reply& reply, Time timeout, const Take& take);
    void readChunks(Reply& reply, Time timeout, const Take& take);
    void readKnown(size_t size, Time timeout, const Take& take);

    const std::string _host;
    const int _port;
    std::unique_ptr<Tls> _tls;  // null without
    int _socket = -1;
    std::string _input;  // received, not yet used
};

}  // namespace velmar_wire

#endif
