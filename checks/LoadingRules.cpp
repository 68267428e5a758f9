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
#include "exchange/Request.h"
#include "providers/Module.h"

using namespace Pegasus;
using velmar_embedded::ModuleError;
using velmar_embedded::ProviderType;
using velmar_embedded::RegisteredModule;
using velmar_embedded::Registration;

namespace velmar_checks {

namespace {

const Rule notFound{"loading.module-not-found", Severity::Error,
                    "The library of a module is in none of the searched folders.",
                    "Correct Location in the registration (the library's name without \"lib\" and "
                    "\".so\"), or add the folder that the library is in."};
const Rule notLoadable{"loading.module-not-loadable", Severity::Error,
                       "The library of a module is there, but cannot be opened.",
                       "The loader's text says why: a symbol that is defined nowhere, a library "
                       "that is missing. Link what is missing."};
const Rule noEntryPoint{
    "loading.no-entry-point", Severity::Error,
    "The library of a module does not export PegasusCreateProvider.",
    "Define extern \"C\" PEGASUS_EXPORT CIMProvider* PegasusCreateProvider(const String&) in it."};
const Rule unknownProvider{
    "loading.unknown-provider", Severity::Error,
    "PegasusCreateProvider gave no object for the registered provider name.",
    "Compare with the same name in PegasusCreateProvider as in PG_Provider.Name."};
const Rule notCreated{"loading.not-created", Severity::Error,
                      "Making the provider's object ended with an exception.",
                      "Catch it in the constructor, or do the work in initialize."};
const Rule notInitialized{
    "loading.initialize-failed", Severity::Error,
    "The provider's initialize ended with an exception. Clients hear \"provider initialization "
    "failed\" at every request, each of which tries again.",
    "See the exception's text; catch in initialize what the provider can do without."};
const Rule notTerminated{"loading.terminate-failed", Severity::Error,
                         "The provider's terminate ended with an exception: the object is not "
                         "deleted, and what it holds "
                         "stays.",
                         "Catch it in terminate, and let it end with the base class's terminate."};
const Rule mayBeUnloaded{
    "loading.may-be-unloaded", Severity::Warning,
    "The provider's initialize did not call disallowProviderUnload: a server unloads it after some "
    "idle minutes, with what it has cached.",
    "Call the base class's initialize first in an override (it also keeps the CIMOMHandle), or "
    "cimom.disallowProviderUnload()."};
const Rule noInterface{
    "loading.interface", Severity::Error,
    "A provider is registered for operations whose C++ interface its object does not have; clients "
    "get CIM_ERR_NOT_SUPPORTED.",
    "Derive the provider from the interface, or correct ProviderType."};
const Rule unusedInterface{
    "loading.unregistered-interface", Severity::Warning,
    "A provider's object has a C++ interface that it is not registered for, so it is not called.",
    "Add the type to ProviderType (2 instance, 3 association, 4 indication, 5 method), or derive "
    "from the narrower base class."};

const Rule threadsLeft{
    "loading.thread-left", Severity::Error,
    "A thread of a module runs on after the module's providers were terminated. A server then "
    "closes "
    "the library under it, and crashes.",
    "End and join each thread before terminate returns, for example in the destructor of the "
    "provider that started it."};

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

RuleList loadingRules() {
    return {&notFound,    &notLoadable,     &noEntryPoint,  &unknownProvider,
            &notCreated,  &notInitialized,  &notTerminated, &mayBeUnloaded,
            &noInterface, &unusedInterface, &threadsLeft};
}

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
        Report(findings, "", "")
            .add(notFound, module.location,
                 "module \"" + module.name + "\": lib" + module.location + ".so is in " +
                     (module.folders.empty()
                          ? "no searched folder, since none was given"
                          : "none of the searched folders (" + listing(module.folders) + ")") +
                     providers + "; correct Location, or add the library's folder");
    }
}

void checkThreadsLeft(Findings& findings, const std::string& location) {
    Report(findings, "", "")
        .add(threadsLeft, location,
             "a thread still runs in lib" + location +
                 ".so after its providers were terminated, so that a server crashes when it closes "
                 "the library; join each thread before terminate returns");
}

void checkNotCreated(Findings& findings, const std::string& provider) {
    const Report report(findings, provider, "");
    try {
        throw;
    } catch (const ModuleError& e) {
        const std::string reason = textOf(e.getMessage());
        switch (e.kind()) {
            case ModuleError::NotFound:
                Report(findings, "", "")
                    .add(notFound, e.location(),
                         "provider \"" + provider + "\" cannot be loaded: " + reason);
                break;
            case ModuleError::NotLoadable:
                report.add(notLoadable, e.location(), "its library cannot be opened: " + reason);
                break;
            case ModuleError::NoEntryPoint:
                report.add(noEntryPoint, e.location(),
                           reason +
                               "; write extern \"C\" PEGASUS_EXPORT CIMProvider* "
                               "PegasusCreateProvider(const String&), with the extern \"C\"");
                break;
            case ModuleError::UnknownProvider:
                report.add(unknownProvider, e.location(),
                           reason + "; compare with exactly this name there");
                break;
        }
    } catch (...) {
        report.add(notCreated, "",
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
    Report(findings, provider, "")
        .add(notInitialized, "initialize",
             "initialize ended with " + velmar_embedded::describeCurrentException() + hint +
                 "; every request for its classes fails until it succeeds");
}

void checkNotTerminated(Findings& findings, const std::string& provider) {
    Report(findings, provider, "")
        .add(notTerminated, "terminate",
             "terminate ended with " + velmar_embedded::describeCurrentException() +
                 "; catch it there, and let terminate end with the base class's");
}

void checkLoaded(Findings& findings, const std::string& provider, const CIMProvider& object,
                 bool staysLoaded, const std::vector<Registration>& registrations) {
    const Report report(findings, provider, "");
    for (const Interface& one : interfaces) {
        const auto registered = std::find_if(
            registrations.begin(), registrations.end(),
            [&](const Registration& r) { return r.provider == provider && r.type == one.type; });
        const bool isRegistered = registered != registrations.end();
        if (isRegistered && !one.isIn(object)) {
            report.about(textOf(registered->className))
                .add(noInterface, one.className,
                     std::string("is registered with ProviderType ") + one.typeName +
                         ", but its object is not a " + one.className +
                         "; derive it from that, or correct ProviderType");
        } else if (!isRegistered && one.isIn(object)) {
            report.add(unusedInterface, one.className,
                       std::string("its object is a ") + one.className +
                           ", but it is not registered with ProviderType " + one.typeName +
                           "; add the type, or it is not called");
        }
    }
    if (!staysLoaded) {
        report.add(mayBeUnloaded, "initialize",
                   "initialize did not call disallowProviderUnload, so a server unloads it after "
                   "some idle minutes, with what it has cached; call the base class's initialize "
                   "first");
    }
}

}  // namespace velmar_checks
