// SPDX-FileCopyrightText: The velmar_remote authors
// SPDX-License-Identifier: MIT
//
// Receives alerts of any CIM server over HTTP.
#ifndef VELMAR_WIRE_ALERTLISTENER_H
#define VELMAR_WIRE_ALERTLISTENER_H

#include <Pegasus/Common/CIMInstance.h>
#include <Pegasus/Common/CIMName.h>
#include <Pegasus/Common/CIMObjectPath.h>

#include <functional>
#include <memory>
#include <string>

namespace Pegasus {
class CIMClient;
}

namespace velmar_wire {

/// Listens on 127.0.0.1 for indications that servers export (DMTF DSP0200).
class AlertListener {
 public:
    /// What gets each alert.
    using Take = std::function<void(const Pegasus::CIMInstance& alert)>;

    /// `take` gets each alert, one at a time, on a thread of the listener. What it throws makes the
    /// server send the alert again. Throws std::runtime_error if no port is free.
    explicit AlertListener(Take take);
    /// Waits for a running `take`.
    ~AlertListener();
    AlertListener(const AlertListener&) = delete;
    AlertListener& operator=(const AlertListener&) = delete;

    /// The destination of subscriptions, "http://127.0.0.1:PORT".
    std::string url() const;

 private:
    struct Impl;
    std::unique_ptr<Impl> _impl;
};

/// A filter, a destination and their subscription, as instances in a server's interop namespace.
class RemoteSubscription {
 public:
    /// Creates them; `name` is that of filter and destination. Borrows the client, which is
    /// connected. Throws CIMException; then nothing is left.
    RemoteSubscription(Pegasus::CIMClient& client, const Pegasus::CIMNamespaceName& interop,
                       const std::string& name, const std::string& query,
                       const Pegasus::CIMNamespaceName& source, const std::string& destination);
    /// Deletes them, as far as the server does.
    ~RemoteSubscription();
    RemoteSubscription(const RemoteSubscription&) = delete;
    RemoteSubscription& operator=(const RemoteSubscription&) = delete;

 private:
    void remove();

    Pegasus::CIMClient& _client;
    const Pegasus::CIMNamespaceName _interop;
    Pegasus::Array<Pegasus::CIMObjectPath> _created;  ///< in this order
};

}  // namespace velmar_wire

#endif
