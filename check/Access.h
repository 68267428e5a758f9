// SPDX-FileCopyrightText: The velmar_remote authors
// SPDX-License-Identifier: MIT
//
// How the driver reaches the server that it asks.
#ifndef VELMAR_CHECKS_DRIVER_ACCESS_H
#define VELMAR_CHECKS_DRIVER_ACCESS_H

#include <Pegasus/Client/CIMClient.h>
#include <velmar_embedded/Server.h>

#include <string>

#include "check/RegisteredClasses.h"

namespace velmar_driver {

class Access {
 public:
    virtual ~Access() = default;
    /// Connects a client. Thread-safe. Throws what CIMClient does.
    virtual void connect(Pegasus::CIMClient& client) = 0;
    /// Whether subscriptions may be made.
    virtual bool hearsAlerts() const = 0;
    /// Subscribes to all alerts of a class; returns what ends it. Throws CIMException.
    virtual std::string subscribe(const RegisteredClass& alerts) = 0;
    virtual void unsubscribe(const std::string& id) = 0;
    /// Waits for alerts that are on their way, for the first one too if it is `expected`.
    virtual void drain(bool expected) = 0;
};

/// A started server in this process, which it borrows.
class EmbeddedAccess : public Access {
 public:
    explicit EmbeddedAccess(velmar_embedded::Server& server) : _server(server) {}
    void connect(Pegasus::CIMClient& client) override { client.connectLocal(); }
    bool hearsAlerts() const override { return true; }
    std::string subscribe(const RegisteredClass& alerts) override;
    void unsubscribe(const std::string& id) override { _server.unsubscribe(id); }
    void drain(bool) override { _server.drain(); }

 private:
    velmar_embedded::Server& _server;
};

}  // namespace velmar_driver

#endif
