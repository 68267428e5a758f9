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
#include <string>
#include <vector>

/// CIM operations over HTTP.
namespace velmar_wire {

/// What a client may ask of the server.
struct Limits {
    size_t headSize = 64 * 1024;                   ///< bytes of a request's line and headers
    size_t bodySize = 16 * 1024 * 1024;            ///< bytes
    size_t bytesInFlight = 128 * 1024 * 1024;      ///< of requests, and of text to be sent
    size_t connections = 100;                      ///< at a time; idle ones make room for new ones
    std::chrono::milliseconds requestTime{20000};  ///< for a request, or a chunk to be taken
    std::chrono::milliseconds idleTime{60000};     ///< between two requests of a connection
};

/// How indications reach a listener.
struct DeliveryPolicy {
    unsigned retries = 3;                       ///< after a delivery that failed
    std::chrono::milliseconds interval{30000};  ///< before each of them
    std::chrono::milliseconds timeout{10000};   ///< for a listener to answer
    size_t queueCapacity = 1000;                ///< per listener; what comes then is dropped
    size_t queueBytes = 4 * 1024 * 1024;        ///< the same, of their messages
    size_t listeners = 100;                     ///< at a time; further destinations are refused
    /// Hosts beside 127.0.0.1, localhost and [::1] that alerts may go to, as URLs name them.
    std::vector<std::string> hosts;
};

/// What a WireServer is made with.
struct Options {
    uint16_t port = 0;        ///< 0: a free one
    Limits limits;            ///< on what clients send
    DeliveryPolicy delivery;  ///< to listeners
};

/// What was over a limit since the start.
struct Refusals {
    uint64_t connections = 0;   ///< while all others were busy
    uint64_t requests = 0;      ///< too large, or too many bytes in flight, or no memory
    uint64_t destinations = 0;  ///< for further listeners
    uint64_t alerts = 0;        ///< dropped, since too many or too large ones waited for a listener
};

/// Serves an embedded server to WBEM clients of this host (DSP0200). Thread-safe.
class WireServer {
 public:
    /// Serves `server`, which must outlive this object, from here on: it has to be started. Throws
    /// std::runtime_error if the port is in use.
    explicit WireServer(velmar_embedded::Server& server, const Options& options = Options());
    /// Ends the connections, waits for the answers that are being made; indications that are not
    /// delivered yet are given up. Stop the server after it.
    ~WireServer();
    WireServer(const WireServer&) = delete;
    WireServer& operator=(const WireServer&) = delete;

    /// Where it listens, on 127.0.0.1.
    uint16_t port() const;

    /// What was refused since it listens. Thread-safe.
    Refusals refusals() const;

 private:
    struct Impl;
    std::unique_ptr<Impl> _impl;
};

}  // namespace velmar_wire

#endif
