// SPDX-FileCopyrightText: The velmar_remote authors
// SPDX-License-Identifier: MIT
//
// The client's side of TLS (RFC 8446), over sockets that do not block.
//
// Not thread-safe.
#ifndef VELMAR_HTTP_TLS_H
#define VELMAR_HTTP_TLS_H

#include <openssl/ssl.h>
#include <sys/types.h>

#include <chrono>
#include <memory>
#include <string>

#include <velmar_wire/Connect.h>

namespace velmar_wire {

/// What the connection that this thread is making trusts; null without TLS.
const Trust* wantedTrust();

/// Connections to one server, one at a time.
class Tls {
 public:
    /// The server must have a certificate for `host`; `place` is "HOST:PORT". Throws
    /// std::invalid_argument for a file that has no certificates.
    Tls(std::string host, std::string place, const Trust& trust);

    /// Makes the handshake over a connected socket, which is borrowed until end(). Throws
    /// CannotConnectException, which says why and what to do about it, and NoAnswer.
    void begin(int socket, std::chrono::milliseconds timeout);
    void end() { _session.reset(); }

    // As send and recv; EAGAIN when `waitsFor` of poll has to happen first.
    ssize_t send(const char* data, size_t size);
    ssize_t receive(char* data, size_t size);
    short waitsFor() const { return _waitsFor; }

 private:
    ssize_t resultOf(int returned);
    [[noreturn]] void refuse();

    const std::string _host, _place;
    std::unique_ptr<SSL_CTX, decltype(&SSL_CTX_free)> _context;
    std::unique_ptr<SSL, decltype(&SSL_free)> _session{nullptr, SSL_free};
    short _waitsFor = 0;
};

}  // namespace velmar_wire

#endif
