// SPDX-FileCopyrightText: The velmar_remote authors
// SPDX-License-Identifier: MIT
//
// Connects a CIMClient by URL, over TLS where the URL says so.
#ifndef VELMAR_WIRE_CONNECT_H
#define VELMAR_WIRE_CONNECT_H

#include <stdint.h>

#include <string>

namespace Pegasus {
class CIMClient;
}

namespace velmar_wire {

/// What a URL names.
struct Address {
    std::string host;  ///< a name or number, of IPv6 without brackets
    uint16_t port;     ///< of TCP
    bool isEncrypted;  ///< https
};

/// Reads http://HOST:PORT or https://HOST:PORT; without PORT it is 5988 or 5989. Throws
/// std::invalid_argument.
Address addressOf(const std::string& url);

/// Which certificates are trusted.
struct Trust {
    /// A file of PEM certificates, of servers or of their issuers; empty: the system's.
    std::string file;
};

/// Connects the client, also over TLS (RFC 2818): then the server's certificate has to be valid,
/// trusted, and made for the URL's host. Throws std::invalid_argument for the URL or a file that
/// has no certificates, CannotConnectException. A certificate is looked at before the first
/// request, which throws CannotConnectException with the reason. Thread-safe.
void connect(Pegasus::CIMClient& client, const std::string& url, const std::string& user = {},
             const std::string& password = {}, const Trust& trust = {});

}  // namespace velmar_wire

#endif
