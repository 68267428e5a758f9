// SPDX-FileCopyrightText: The velmar_remote authors
// SPDX-License-Identifier: MIT
//
// The client's side of TLS.
#ifndef VELMAR_HTTP_TLS_H
#define VELMAR_HTTP_TLS_H

#include <httplib.h>

#include <memory>
#include <string>

#include <velmar_wire/Connect.h>

namespace velmar_wire {

/// What the connection that this thread is making trusts; null without TLS.
const Trust* wantedTrust();

/// A client whose server must have a certificate for `host`. Throws std::invalid_argument for a
/// file that has no certificates.
std::unique_ptr<httplib::SSLClient> tlsClient(const std::string& host, int port,
                                              const Trust& trust);

/// Why there is no connection to `place`, "HOST:PORT", and what to do about it; empty for an error
/// that has nothing to do with TLS.
std::string tlsFault(const httplib::SSLClient& client, httplib::Error error,
                     const std::string& host, const std::string& place);

}  // namespace velmar_wire

#endif
