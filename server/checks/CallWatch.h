// SPDX-FileCopyrightText: The velmar_remote authors
// SPDX-License-Identifier: MIT
//
// Watches one call of a provider's operation: what it is given, what it delivers, how it ends.
//
// Used by the thread of the call, not thread-safe.
#ifndef VELMAR_CHECKS_CALLWATCH_H
#define VELMAR_CHECKS_CALLWATCH_H

#include <Pegasus/Common/Array.h>
#include <Pegasus/Common/CIMInstance.h>
#include <Pegasus/Common/CIMName.h>
#include <Pegasus/Common/CIMObject.h>
#include <Pegasus/Common/CIMObjectPath.h>
#include <Pegasus/Common/CIMParamValue.h>
#include <Pegasus/Common/CIMStatusCode.h>
#include <Pegasus/Common/CIMValue.h>

#include <memory>
#include <string>

#include "checks/Checks.h"
#include "checks/InstanceRules.h"
#include "checks/ProtocolRules.h"
#include "client/Request.h"

namespace velmar_checks {

class CallWatch {
 public:
    /// Borrows all of them. `asked` is the class that the provider is asked for: the path's, for
    /// the association operations the association class.
    CallWatch(Checks& checks, const std::string& provider, const velmar_embedded::Request& request,
              const Pegasus::CIMName& asked);
    ~CallWatch();
    CallWatch(const CallWatch&) = delete;
    CallWatch& operator=(const CallWatch&) = delete;

    // What the response handler is told, before it acts on it.
    void processing() { _protocol.processing(_report); }
    void delivered(const Pegasus::CIMInstance& instance);
    void delivered(const Pegasus::CIMObject& object);
    void delivered(const Pegasus::CIMObjectPath& path);
    void delivered(const Pegasus::CIMValue& returnValue);
    void delivered(const Pegasus::CIMParamValue& outParameter);
    void completed() { _protocol.completed(_report); }

    /// The operation has returned.
    void returned() { _protocol.returned(_report); }
    /// It has thrown; call it in a catch block.
    void threw();

    /// Looks at the objects delivered since the last one once more, when they are encoded; null if
    /// there are none.
    std::shared_ptr<const velmar_embedded::AnswerGuard> takeGuard();

 private:
    class Guard;

    void checkRequest();
    void checkFailure(Pegasus::CIMStatusCode code, const std::string& message);
    void checkObject(const Pegasus::CIMConstObject& object);
    bool answersAboutAssociations() const;
    bool isEnumeration() const;

    Checks& _checks;
    const velmar_embedded::Request& _request;
    const Pegasus::CIMName _asked;
    const Facts _facts;  // of the class asked for
    const std::string _provider;
    const Reporter _report;
    Protocol _protocol;
    const MethodFacts* _method = nullptr;
    bool _requestIsGood;
    DistinctPaths _paths;
    std::shared_ptr<Guard> _guard;
};

}  // namespace velmar_checks

#endif
