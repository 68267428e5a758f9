// SPDX-FileCopyrightText: The velmar_remote authors
// SPDX-License-Identifier: MIT
//
// The embedded CIM server on the wire: CIM operations over HTTP (DSP0200, DSP0201) on the loopback
// interface, and its indications to listeners.
#ifndef VELMAR_WIRE_WIRESERVER_H
#define VELMAR_WIRE_WIRESERVER_H

#include <stddef.h>
#include <stdint.h>
#include <velmar_embedded/Server.h>

#include <chrono>
#include <memory>

/// CIM operations over HTTP.
namespace velmar_wire {

/// What a client may ask of the server.
struct Limits {
    size_t headSize = 64 * 1024;                   ///< bytes of a request's line and headers
    size_t bodySize = 16 * 1024 * 1024;            ///< bytes
    size_t connections = 100;                      ///< at a time; more are refused
    std::chrono::milliseconds requestTime{20000};  ///< for a request to arrive, or to be read
    std::chrono::milliseconds idleTime{60000};     ///< between two requests of a connection
};

/// How indications reach a listener.
struct DeliveryPolicy {
    unsigned retries = 3;                       ///< after a delivery that failed
    std::chrono::milliseconds interval{30000};  ///< before each of them
    std::chrono::milliseconds timeout{10000};   ///< for a listener to answer
    size_t queueCapacity = 1000;                ///< per listener; what comes then is dropped
};

/// What a WireServer is made with.
struct Options {
    uint16_t port = 0;        ///< 0: a free one
    Limits limits;            ///< on what clients send
    DeliveryPolicy delivery;  ///< to listeners
};

/// Serves an embedded server to WBEM clients of this host (DSP0200). Thread-safe.
class WireServer {
 public:
    /// Serves `server`, which must outlive this object, from here on: it has to be started. Throws
    /// std::runtime_error when the port cannot be had.
    explicit WireServer(velmar_embedded::Server& server, const Options& options = Options());
    /// Ends the connections, waits for the answers that are being made; indications that are not
    /// delivered yet are given up. Stop the server after it.
    ~WireServer();
    WireServer(const WireServer&) = delete;
    WireServer& operator=(const WireServer&) = delete;

    /// Where it listens, on 127.0.0.1.
    uint16_t port() const;

 private:
    struct Impl;
    std::unique_ptr<Impl> _impl;
};

}  // namespace velmar_wire

#endif
