// SPDX-FileCopyrightText: The velmar_remote authors
// SPDX-License-Identifier: MIT

#include "checks/CallWatch.h"

#include <Pegasus/Common/Exception.h>

#include <mutex>
#include <utility>
#include <vector>

#include "checks/AssociationRules.h"
#include "checks/CreationRules.h"
#include "checks/IndicationRules.h"
#include "checks/MethodRules.h"
#include "checks/Wording.h"

using namespace Pegasus;
using velmar_embedded::Operation;
using velmar_embedded::Request;

namespace velmar_checks {

namespace {

// The server may be completing the path of an object that was delivered to another request too.
CIMObjectPath pathOf(const CIMConstObject& object) {
    std::lock_guard<std::mutex> guard(velmar_embedded::deliveredPathLock());
    return object.getPath();
}

bool isSingle(Operation operation) {
    return operation == Operation::GetInstance || operation == Operation::CreateInstance;
}

}  // namespace

class CallWatch::Guard : public velmar_embedded::AnswerGuard {
 public:
    Guard(Findings& findings, std::string provider)
        : _findings(findings), _provider(std::move(provider)) {}

    void add(const CIMConstObject& object, std::shared_ptr<const Snapshot> snapshot) {
        _handed.push_back({object, std::move(snapshot)});
    }
    void encoding() const override {
        for (const Handed& one : _handed) {
            checkUnchanged(_findings, _provider, one);
        }
    }

 private:
    Findings& _findings;
    const std::string _provider;
    std::vector<Handed> _handed;
};

CallWatch::CallWatch(Checks& checks, const std::string& provider, const Request& request,
                     const CIMName& asked)
    : _checks(checks),
      _request(request),
      _asked(asked),
      _facts(checks.schema().find(request.nameSpace, asked)),
      _provider(provider),
      _report(checks.findings(), provider, _facts ? _facts->name() : utf8(asked)),
      _protocol(operationName(request.operation), isSingle(request.operation)) {
    if (_facts) {
        checkRequest();
    }
    _requestIsGood = _report.isClean();
}

CallWatch::~CallWatch() = default;

void CallWatch::checkRequest() {
    switch (_request.operation) {
        case Operation::CreateInstance:
            checkEnds(_report, _checks.schema(), _request.nameSpace, *_facts, _request.instance);
            [[fallthrough]];
        case Operation::ModifyInstance:
            checkGiven(_report, *_facts, operationName(_request.operation), _request.instance);
            break;
        case Operation::InvokeMethod:
            _method = checkCall(_report, *_facts, _request.methodName, _request.parameters);
            break;
        default:
            break;
    }
}

bool CallWatch::answersAboutAssociations() const {
    return _request.operation == Operation::Associators ||
           _request.operation == Operation::AssociatorNames;
}

bool CallWatch::isEnumeration() const {
    return _request.operation == Operation::EnumerateInstances ||
           _request.operation == Operation::EnumerateInstanceNames;
}

void CallWatch::delivered(const CIMInstance& instance) {
    _protocol.delivered(_report);
    if (instance.isUninitialized()) {
        _protocol.emptyDelivery(_report);
    } else {
        checkObject(instance);
    }
}

void CallWatch::delivered(const CIMObject& object) {
    _protocol.delivered(_report);
    if (object.isUninitialized()) {
        _protocol.emptyDelivery(_report);
    } else if (object.isInstance()) {
        checkObject(object);
    }
}

void CallWatch::checkObject(const CIMConstObject& object) {
    SchemaFacts& schema = _checks.schema();
    const CIMName asked = answersAboutAssociations() ? CIMName() : _asked;
    const Facts facts =
        checkClass(_report, schema, _request.nameSpace, asked, object.getClassName());
    const Reporter report = _report.about(facts ? facts->name() : utf8(object.getClassName()));
    const DeliveredObjects::Delivery delivery =
        _checks.deliveredObjects().deliver(report, object, facts);
    if (!_request.fromHandle) {
        if (!_guard) {
            _guard = std::make_shared<Guard>(_checks.findings(), _provider);
        }
        _guard->add(object, delivery.snapshot);
    }
    if (!facts) {
        return;
    }
    if (answersAboutAssociations() && _facts) {
        checkFarClass(_report, *_facts, _request.resultClass, *facts);
        if (_checks.isServedByOther(_request.nameSpace, object.getClassName(), _provider)) {
            return;  // fetched from there, most likely
        }
    }
    checkKeyProperties(report, *facts, object, _request.propertyList);
    if (delivery.isKnownGood && !isEnumeration()) {
        return;
    }
    const CIMObjectPath path = pathOf(object);
    if (isEnumeration()) {
        checkPathKeys(report, *facts, path, path.getKeyBindings().size() == 0);
        _paths.check(report, path);
    }
    if (!delivery.isKnownGood) {
        checkContents(report, *facts, object, path);
        checkPlace(report, _request.nameSpace, path);
        checkEnds(report, schema, _request.nameSpace, *facts, object);
        if (report.isClean()) {
            _checks.deliveredObjects().noteGood(object, facts);
        }
    }
}

void CallWatch::delivered(const CIMObjectPath& path) {
    _protocol.delivered(_report);
    if (path.getClassName().isNull()) {
        _protocol.emptyDelivery(_report);
        return;
    }
    SchemaFacts& schema = _checks.schema();
    const bool isFar = answersAboutAssociations();
    const CIMNamespaceName& nameSpace =
        isFar && !path.getNameSpace().isNull() ? path.getNameSpace() : _request.nameSpace;
    const Facts facts =
        checkClass(_report, schema, nameSpace, isFar ? CIMName() : _asked, path.getClassName());
    if (!facts) {
        return;
    }
    const Reporter report = _report.about(facts->name());
    checkPathKeys(report, *facts, path, true);
    if (isFar) {
        if (_facts) {
            checkFarClass(_report, *_facts, _request.resultClass, *facts);
        }
        return;
    }
    checkPlace(report, _request.nameSpace, path);
    checkEndKeys(report, schema, _request.nameSpace, *facts, path);
    if (isEnumeration()) {
        _paths.check(report, path);
    }
}

void CallWatch::delivered(const CIMValue& returnValue) {
    _protocol.delivered(_report);
    if (returnValue.isNull()) {
        _protocol.emptyDelivery(_report);
    } else if (_method) {
        checkReturnValue(_report, *_method, returnValue);
    }
}

void CallWatch::delivered(const CIMParamValue& outParameter) {
    _protocol.delivered(_report);
    if (outParameter.isUninitialized()) {
        _protocol.emptyDelivery(_report);
    } else if (_method) {
        checkOutParameter(_report, *_method, outParameter);
    }
}

void CallWatch::threw() {
    if (_requestIsGood) {  // else it is what the caller deserved
        _protocol.threw(_report, utf8(_request.methodName));
    }
    if (!_facts) {
        return;
    }
    try {
        throw;
    } catch (const CIMException& e) {
        checkFailure(e.getCode(), utf8(e.getMessage()));
    } catch (...) {
    }
}

// What the status tells of the provider.
void CallWatch::checkFailure(CIMStatusCode code, const std::string& message) {
    const bool unknownClass = code == CIM_ERR_INVALID_CLASS || code == CIM_ERR_NOT_FOUND;
    if (_request.operation == Operation::InvokeMethod && _facts->isIndication() && unknownClass) {
        checkEnrichment(_report, _request.methodName, message);
    } else if (_facts->isAssociation() && code == CIM_ERR_INVALID_PARAMETER) {
        checkRefusedRole(_report, *_facts, _request.role);
        checkRefusedRole(_report, *_facts, _request.resultRole);
    }
}

std::shared_ptr<const velmar_embedded::AnswerGuard> CallWatch::takeGuard() {
    return std::exchange(_guard, nullptr);
}

}  // namespace velmar_checks
