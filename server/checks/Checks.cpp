// SPDX-FileCopyrightText: The velmar_remote authors
// SPDX-License-Identifier: MIT

#include "checks/Checks.h"

#include "checks/CreationRules.h"
#include "checks/IndicationRules.h"
#include "checks/LoadingRules.h"
#include "checks/RegistrationRules.h"
#include "checks/Wording.h"

using namespace Pegasus;

namespace velmar_checks {

void Checks::checkPackage(const std::vector<velmar_embedded::RegisteredModule>& modules) {
    if (!_on) {
        return;
    }
    Findings now;  // whatever was found before
    checkModules(now, modules);
    checkProviders(now, modules, _registry.registrations());
    checkRegistrations(now, _schema, _registry.registrations());
    for (const Finding& finding : now.all()) {
        bool isNew;
        {
            std::lock_guard<std::mutex> guard(_packageLock);
            isNew = _packageFindings.insert(toLine(finding)).second;
        }
        if (isNew) {
            _findings.add(finding);
        }
    }
}

bool Checks::isServedByOther(const CIMNamespaceName& nameSpace, const CIMName& className,
                             const std::string& provider) const {
    const velmar_embedded::LoadedProvider* serving =
        _registry.find(nameSpace, className, velmar_embedded::ProviderType::Instance);
    return serving && serving->name() != provider;
}

void Checks::checkIndication(const std::string& provider, const CIMIndication& indication) {
    if (_on && !indication.isUninitialized()) {
        velmar_checks::checkIndication(
            Reporter(_findings, provider, utf8(indication.getClassName())), _schema, indication);
    }
}

void Checks::noteStored(const CIMNamespaceName& nameSpace, const CIMInstance& instance) {
    const Facts facts = _on ? _schema.find(nameSpace, instance.getClassName()) : nullptr;
    if (facts && nameSpace != CIMNamespaceName(velmar_embedded::interopNamespace)) {
        const Reporter report(_findings, "", facts->name());
        checkGiven(report, *facts, "createInstance", instance);
        velmar_checks::noteStored(report, nameSpace, facts->name());
    }
}

void Checks::checkClosed(const std::vector<std::string>& busy) {
    for (size_t i = 0; _on && i < busy.size(); i++) {
        checkThreadsLeft(_findings, busy[i]);
    }
}

void Checks::notCreated(const std::string& provider) {
    if (_on) {
        checkNotCreated(_findings, provider);
    }
}

void Checks::notInitialized(const std::string& provider) {
    if (_on) {
        checkNotInitialized(_findings, provider);
    }
}

void Checks::notTerminated(const std::string& provider) {
    if (_on) {
        checkNotTerminated(_findings, provider);
    }
}

void Checks::loaded(const std::string& provider, const CIMProvider& object, bool staysLoaded) {
    if (_on) {
        checkLoaded(_findings, provider, object, staysLoaded, _registry.registrations());
    }
}

}  // namespace velmar_checks
