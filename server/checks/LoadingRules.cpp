// SPDX-FileCopyrightText: The velmar_remote authors
// SPDX-License-Identifier: MIT

#include "checks/LoadingRules.h"

#include <Pegasus/Common/Exception.h>
#include <Pegasus/Provider/CIMAssociationProvider.h>
#include <Pegasus/Provider/CIMIndicationProvider.h>
#include <Pegasus/Provider/CIMInstanceProvider.h>
#include <Pegasus/Provider/CIMMethodProvider.h>

#include <algorithm>

#include "checks/Wording.h"
#include "client/Request.h"
#include "providers/Module.h"

using namespace Pegasus;
using velmar_embedded::ModuleError;
using velmar_embedded::ProviderType;
using velmar_embedded::RegisteredModule;
using velmar_embedded::Registration;

namespace velmar_checks {

namespace {

struct Interface {
    ProviderType type;
    const char* typeName;
    const char* className;
    bool (*isIn)(const CIMProvider&);
};

template <class T>
bool isIn(const CIMProvider& object) {
    return dynamic_cast<const T*>(&object) != nullptr;
}

const Interface interfaces[] = {
    {ProviderType::Instance, "2 (instance)", "CIMInstanceProvider", isIn<CIMInstanceProvider>},
    {ProviderType::Association, "3 (association)", "CIMAssociationProvider",
     isIn<CIMAssociationProvider>},
    {ProviderType::Indication, "4 (indication)", "CIMIndicationProvider",
     isIn<CIMIndicationProvider>},
    {ProviderType::Method, "5 (method)", "CIMMethodProvider", isIn<CIMMethodProvider>}};

}  // namespace

void checkModules(Findings& findings, const std::vector<RegisteredModule>& modules) {
    for (const RegisteredModule& module : modules) {
        if (module.isFound) {
            continue;
        }
        const std::string providers =
            module.providers.empty()
                ? ""
                : "; provider" + std::string(module.providers.size() > 1 ? "s " : " ") +
                      listing(module.providers) + " cannot be loaded";
        Reporter(findings, "", "")
            .add("loading.module-not-found", module.location,
                 "module \"" + module.name + "\": lib" + module.location + ".so is in " +
                     (module.folders.empty()
                          ? "no searched folder, since none was given"
                          : "none of the searched folders (" + listing(module.folders) + ")") +
                     providers);
    }
}

void checkThreadsLeft(Findings& findings, const std::string& location) {
    Reporter(findings, "", "")
        .add("loading.thread-left", location,
             "a thread still runs in lib" + location + ".so after its providers were terminated");
}

void checkNotCreated(Findings& findings, const std::string& provider) {
    const Reporter report(findings, provider, "");
    try {
        throw;
    } catch (const ModuleError& e) {
        const std::string reason = utf8(e.getMessage());
        switch (e.kind()) {
            case ModuleError::NotFound:
                Reporter(findings, "", "")
                    .add("loading.module-not-found", e.location(),
                         "provider \"" + provider + "\" cannot be loaded: " + reason);
                break;
            case ModuleError::NotLoadable:
                report.add("loading.module-not-loadable", e.location(),
                           "its library cannot be opened: " + reason);
                break;
            case ModuleError::NoEntryPoint:
                report.add("loading.no-entry-point", e.location(), reason);
                break;
            case ModuleError::UnknownProvider:
                report.add("loading.unknown-provider", e.location(), reason);
                break;
        }
    } catch (...) {
        report.add("loading.not-created", "",
                   "making its object ended with " + velmar_embedded::describeCurrentException());
    }
}

void checkNotInitialized(Findings& findings, const std::string& provider) {
    std::string hint;
    try {
        throw;
    } catch (const TypeMismatchException&) {
        hint =
            " (a value is got as another type than it has, or an instance is given the path of "
            "another class)";
    } catch (...) {
    }
    Reporter(findings, provider, "")
        .add("loading.initialize-failed", "initialize",
             "initialize ended with " + velmar_embedded::describeCurrentException() + hint);
}

void checkNotTerminated(Findings& findings, const std::string& provider) {
    Reporter(findings, provider, "")
        .add("loading.terminate-failed", "terminate",
             "terminate ended with " + velmar_embedded::describeCurrentException());
}

void checkLoaded(Findings& findings, const std::string& provider, const CIMProvider& object,
                 bool staysLoaded, const std::vector<Registration>& registrations) {
    const Reporter report(findings, provider, "");
    for (const Interface& one : interfaces) {
        const auto registered = std::find_if(
            registrations.begin(), registrations.end(),
            [&](const Registration& r) { return r.provider == provider && r.type == one.type; });
        const bool isRegistered = registered != registrations.end();
        if (isRegistered && !one.isIn(object)) {
            report.about(utf8(registered->className))
                .add("loading.interface", one.className,
                     std::string("is registered with ProviderType ") + one.typeName +
                         ", but its object is not a " + one.className);
        } else if (!isRegistered && one.isIn(object)) {
            report.add("loading.unregistered-interface", one.className,
                       std::string("its object is a ") + one.className +
                           ", but it is not registered with ProviderType " + one.typeName);
        }
    }
    if (!staysLoaded) {
        report.add("loading.may-be-unloaded", "initialize",
                   "initialize did not call disallowProviderUnload");
    }
}

}  // namespace velmar_checks
