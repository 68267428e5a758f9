// SPDX-FileCopyrightText: The velmar_remote authors
// SPDX-License-Identifier: MIT
//
// The way to servers outside of this process. A client knows no network: a library that does (the
// room http/) installs its connector when it is loaded.
#ifndef VELMAR_EMBEDDED_EXCHANGE_CONNECTOR_H
#define VELMAR_EMBEDDED_EXCHANGE_CONNECTOR_H

#include <Pegasus/Common/Config.h>
#include <Pegasus/Common/String.h>

#include <memory>

#include "client/Request.h"

namespace velmar_embedded {

/// Not thread-safe: one request at a time.
class RemoteServer {
 public:
    virtual ~RemoteServer() = default;
    /// Waits `timeout` milliseconds for the answer, which is as a client sees it. Throws
    /// CIMException, ConnectionTimeoutException, CannotConnectException, and the exceptions of
    /// CIMClient for a malformed answer.
    virtual Answer exchange(const Request& request, Pegasus::Uint32 timeout) = 0;
};

/// Thread-safe.
class Connector {
 public:
    virtual ~Connector() = default;
    /// Throws CannotConnectException.
    virtual std::unique_ptr<RemoteServer> connect(const Pegasus::String& host, Pegasus::Uint32 port,
                                                  const Pegasus::String& user,
                                                  const Pegasus::String& password,
                                                  Pegasus::Uint32 timeout) const = 0;

    /// Null before any was.
    static const Connector* installed();
    /// `connector` must stay to the end of the process.
    static void install(const Connector& connector);
};

}  // namespace velmar_embedded

#endif
