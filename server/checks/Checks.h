// SPDX-FileCopyrightText: The velmar_remote authors
// SPDX-License-Identifier: MIT
//
// The checks as the server sees them: it tells what happens, they say what is wrong with it.
//
// Thread-safe.
#ifndef VELMAR_CHECKS_CHECKS_H
#define VELMAR_CHECKS_CHECKS_H

#include <Pegasus/Common/CIMIndication.h>
#include <Pegasus/Common/CIMInstance.h>
#include <Pegasus/Common/CIMName.h>

#include <functional>
#include <mutex>
#include <set>
#include <string>
#include <vector>

#include <velmar_embedded/schema/Repository.h>
#include "checks/ClassFacts.h"
#include "checks/Findings.h"
#include "checks/SharingRules.h"
#include "providers/LoadedProvider.h"
#include "providers/Notices.h"
#include "providers/RegistrationReader.h"
#include "providers/Registry.h"

namespace velmar_checks {

class Checks : public velmar_embedded::LoadObserver {
 public:
    /// Borrows all three; the registry may be made later.
    Checks(const velmar_embedded::Repository& schema, const velmar_embedded::Registry& registry,
           velmar_embedded::Notices& notices, bool on)
        : _registry(registry),
          _notices(notices),
          _on(on),
          _findings([this](const Finding& finding) { _notices.finding(finding); }),
          _schema(schema) {}

    bool areOn() const { return _on; }

    Findings& findings() { return _findings; }
    SchemaFacts& schema() { return _schema; }
    DeliveredObjects& deliveredObjects() { return _deliveredObjects; }

    /// The registrations and the schema as they are now; what was found before is not told again.
    void checkPackage(const std::vector<velmar_embedded::RegisteredModule>& modules);
    /// Whether another provider serves the instances of a class, and is watched itself.
    bool isServedByOther(const Pegasus::CIMNamespaceName& nameSpace,
                         const Pegasus::CIMName& className, const std::string& provider) const;
    /// A provider delivers an indication.
    void checkIndication(const std::string& provider, const Pegasus::CIMIndication& indication);
    /// The server stores a created instance itself.
    void noteStored(const Pegasus::CIMNamespaceName& nameSpace,
                    const Pegasus::CIMInstance& instance);
    /// Lets go of what providers delivered, before their libraries are closed.
    void forgetDelivered() { _deliveredObjects.clear(); }
    /// The modules of these locations could not be closed, since threads run in them.
    void checkClosed(const std::vector<std::string>& busy);

    void notCreated(const std::string& provider) override;
    void notInitialized(const std::string& provider) override;
    void notTerminated(const std::string& provider) override;
    void loaded(const std::string& provider, const Pegasus::CIMProvider& object,
                bool staysLoaded) override;

 private:
    const velmar_embedded::Registry& _registry;
    velmar_embedded::Notices& _notices;
    const bool _on;
    Findings _findings;
    SchemaFacts _schema;
    DeliveredObjects _deliveredObjects;
    std::mutex _packageLock;
    std::set<std::string> _packageFindings;  // their lines
};

}  // namespace velmar_checks

#endif
