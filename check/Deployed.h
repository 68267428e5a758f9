// SPDX-FileCopyrightText: The velmar_remote authors
// SPDX-License-Identifier: MIT
//
// Providers in a CIM server outside of this process: what is registered there and which classes it
// has, read over the wire, and the rules on what its clients are answered.
#ifndef VELMAR_CHECKS_DRIVER_DEPLOYED_H
#define VELMAR_CHECKS_DRIVER_DEPLOYED_H

#include <Pegasus/Client/CIMClient.h>
#include <velmar_embedded/Observer.h>
#include <velmar_embedded/schema/Repository.h>

#include <string>
#include <vector>

#include "check/RegisteredClasses.h"
#include "checks/Checks.h"
#include "client/Connector.h"
#include "providers/Notices.h"
#include "providers/Registry.h"
#include "providers/RunningCalls.h"

namespace velmar_driver {

/// Thread-safe once made.
class Deployed {
 public:
    /// Reads the registrations for `nameSpace`, instances of PG_Provider and
    /// PG_ProviderCapabilities in `interop`, and all classes of the namespace. Takes the server's
    /// host name for that of this process (System::setHostName), which paths are measured by.
    /// Throws what CIMClient does.
    Deployed(Pegasus::CIMClient& client, const Pegasus::CIMNamespaceName& interop,
             const Pegasus::CIMNamespaceName& nameSpace);
    Deployed(const Deployed&) = delete;
    Deployed& operator=(const Deployed&) = delete;

    const std::vector<RegisteredClass>& classes() const { return _classes; }
    /// What could not be read as it is, a line each.
    const std::vector<std::string>& notes() const { return _notes; }

    /// The rules on registrations and schema.
    void checkRegistrations();
    /// The rules on an alert that a subscriber was sent.
    void checkAlert(const Pegasus::CIMInstance& alert);
    std::vector<velmar_checks::Finding> findings() { return _checks.findings().all(); }

 private:
    friend class WatchedConnector;
    void readHostName(Pegasus::CIMClient& client, const Pegasus::CIMNamespaceName& interop);
    void readClasses(Pegasus::CIMClient& client);
    void readRegistrations(Pegasus::CIMClient& client, const Pegasus::CIMNamespaceName& interop);
    void readStored(Pegasus::CIMClient& client);
    void registerProvider(const Pegasus::CIMInstance& capabilities);

    // What findings are told to, beside being kept.
    class Quiet : public velmar_embedded::Observer {
        void onFinding(const velmar_checks::Finding&) override {}
    };

    const Pegasus::CIMNamespaceName _nameSpace;
    Quiet _quiet;
    velmar_embedded::Notices _told{&_quiet};
    velmar_embedded::RunningCalls _running;
    velmar_embedded::Repository _schema;
    velmar_checks::Checks _checks;
    velmar_embedded::Registry _registry;
    std::vector<velmar_embedded::RegisteredModule> _modules;  // as one
    std::vector<RegisteredClass> _classes;
    std::vector<std::string> _notes;
};

/// Applies the rules to what clients that connect while it lives are answered. Borrows `about`,
/// which must outlive these clients, too.
class WatchedConnector : public velmar_embedded::Connector {
 public:
    explicit WatchedConnector(Deployed& about);
    ~WatchedConnector() override;
    std::unique_ptr<velmar_embedded::RemoteServer> connect(const Pegasus::String& host,
                                                           Pegasus::Uint32 port,
                                                           const Pegasus::String& user,
                                                           const Pegasus::String& password,
                                                           Pegasus::Uint32 timeout) const override;

 private:
    Deployed& _about;
    const velmar_embedded::Connector& _connector;
};

}  // namespace velmar_driver

#endif
