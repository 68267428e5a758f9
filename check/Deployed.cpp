// SPDX-FileCopyrightText: The velmar_remote authors
// SPDX-License-Identifier: MIT

#include "check/Deployed.h"

#include <Pegasus/Common/Exception.h>
#include <Pegasus/Common/System.h>

#include <algorithm>
#include <map>
#include <set>

#include "checks/RegistrationRules.h"
#include "model/Text.h"

using namespace Pegasus;
using velmar_embedded::lowerCase;
using velmar_embedded::ProviderType;
using velmar_embedded::RegisteredModule;
using velmar_embedded::utf8;

namespace velmar_driver {

namespace {

std::string textOf(const CIMInstance& instance, const char* property) {
    return utf8(valueOf<String>(instance, property));
}

bool servesNamespace(const CIMInstance& capabilities, const CIMNamespaceName& nameSpace) {
    const auto all = valueOf<Array<String>>(capabilities, "Namespaces");
    for (Uint32 i = 0; i < all.size(); i++) {
        if (lowerCase(utf8(all[i])) == lowerCase(utf8(nameSpace))) {
            return true;
        }
    }
    return false;
}

}  // namespace

Deployed::Deployed(CIMClient& client, const CIMNamespaceName& interop,
                   const CIMNamespaceName& nameSpace)
    : _nameSpace(nameSpace),
      _checks(_schema, _registry, _told, true),
      _registry(_told, _running, _checks) {
    _schema.createNamespace(nameSpace);
    readHostName(client, interop);
    readClasses(client);
    readRegistrations(client, interop);
    readStored(client);
}

// The paths of pull operations are whole, with the name that the server has for itself.
void Deployed::readHostName(CIMClient& client, const CIMNamespaceName& interop) {
    try {
        CIMEnumerationContext context;
        Boolean isWhole = false;
        const Array<CIMObjectPath> paths = client.openEnumerateInstancePaths(
            context, isWhole, interop, CIMName("PG_ProviderModule"), String(), String(),
            Uint32Arg(), false, Uint32Arg(1));
        if (!isWhole) {
            client.closeEnumeration(context);
        }
        if (paths.size() > 0 && paths[0].getHost().size() > 0) {
            System::setHostName(paths[0].getHost());
            return;
        }
    } catch (const CIMException&) {
    }
    _notes.push_back("the server does not tell its host name; paths are expected to name " +
                     utf8(System::getHostName()));
}

void Deployed::readClasses(CIMClient& client) {
    std::map<std::string, std::vector<CIMClass>> below;  // by superclass
    const Array<CIMClass> classes = client.enumerateClasses(_nameSpace, CIMName(), true, true);
    for (Uint32 i = 0; i < classes.size(); i++) {
        below[lowerCase(utf8(classes[i].getSuperClassName()))].push_back(classes[i]);
    }
    std::vector<std::string> supers = {""};
    while (!supers.empty()) {
        const auto found = below.extract(supers.back());
        supers.pop_back();
        for (size_t i = 0; !found.empty() && i < found.mapped().size(); i++) {
            const std::string name = utf8(found.mapped()[i].getClassName());
            try {
                _schema.createClass(_nameSpace, found.mapped()[i]);
                supers.push_back(lowerCase(name));
            } catch (const CIMException& e) {
                _notes.push_back("class " + name + " is left out: " + utf8(e.getMessage()));
            }
        }
    }
    for (const auto& [super, lost] : below) {
        for (const CIMClass& one : lost) {
            _notes.push_back("class " + utf8(one.getClassName()) +
                             " is left out: the namespace has no superclass " +
                             utf8(one.getSuperClassName()) + " for it");
        }
    }
}

void Deployed::readRegistrations(CIMClient& client, const CIMNamespaceName& interop) {
    const auto read = [&](const char* className) {
        return client.enumerateInstances(interop, CIMName(className), true, false);
    };
    const Array<CIMInstance> all = read("PG_ProviderCapabilities");
    Array<CIMInstance> here;
    std::set<std::string> modules, others;
    for (Uint32 i = 0; i < all.size(); i++) {
        const std::string module = textOf(all[i], "ProviderModuleName");
        const std::string className = textOf(all[i], "ClassName");
        const bool isHere = servesNamespace(all[i], _nameSpace);
        const bool isLegal = CIMName::legal(valueOf<String>(all[i], "ClassName"));
        if (!isHere || !isLegal) {
            others.insert(module + "\n" + textOf(all[i], "ProviderName"));
        }
        if (isHere && !isLegal) {
            _notes.push_back("PG_ProviderCapabilities " + utf8(all[i].getPath()) +
                             " is left out: ClassName is \"" + className + "\"");
        }
        if (isHere && isLegal) {
            modules.insert(module);
            here.append(all[i]);
        }
    }
    for (Uint32 i = 0; i < here.size(); i++) {
        registerProvider(here[i]);
    }
    // Whether a library is found is the server's affair: what it cannot load fails.
    RegisteredModule ours{"", "", {}, {}, true};
    const Array<CIMInstance> providers = read("PG_Provider");
    for (Uint32 i = 0; i < providers.size(); i++) {
        const std::string module = textOf(providers[i], "ProviderModuleName");
        const std::string name = textOf(providers[i], "Name");
        if (modules.count(module) != 0 && others.count(module + "\n" + name) == 0) {
            ours.providers.push_back(name);
        }
    }
    _modules = {ours};
    for (RegisteredClass& one : registeredClasses(_schema, here)) {
        if (one.nameSpace == _nameSpace) {
            _classes.push_back(std::move(one));
        }
    }
}

void Deployed::registerProvider(const CIMInstance& given) {
    const std::string name = textOf(given, "ProviderName");
    velmar_embedded::Capabilities capabilities;
    capabilities.className = textOf(given, "ClassName");
    capabilities.nameSpaces = {utf8(_nameSpace)};
    const auto types = valueOf<Array<Uint16>>(given, "ProviderType");
    for (Uint32 i = 0; i < types.size(); i++) {
        if (types[i] >= 2 && types[i] <= 5) {
            capabilities.types.push_back(static_cast<ProviderType>(types[i]));
        }
    }
    const auto methods = valueOf<Array<String>>(given, "SupportedMethods");
    for (Uint32 i = 0; i < methods.size(); i++) {
        capabilities.supportedMethods.push_back(utf8(methods[i]));
    }
    const auto provider = _registry.addProvider(
        name, []() -> CIMProvider* { return nullptr; }, nullptr);
    try {
        _registry.addCapabilities(provider, capabilities);
    } catch (const velmar_embedded::RegistrationError& e) {
        _notes.push_back("PG_ProviderCapabilities " + utf8(given.getPath()) +
                         " is left out: " + e.what());
    } catch (const Exception& e) {
        _notes.push_back("PG_ProviderCapabilities " + utf8(given.getPath()) +
                         " is left out: " + utf8(e.getMessage()));
    }
}

// A class below a served one needs no provider where the server stores its instances: one of them
// tells.
void Deployed::readStored(CIMClient& client) {
    const auto isServed = [&](const CIMName& name) {
        return _registry.find(_nameSpace, name, ProviderType::Instance) != nullptr;
    };
    const Array<CIMName> names = _schema.subclassNames(_nameSpace, CIMName(), true);
    for (Uint32 i = 0; i < names.size(); i++) {
        const Array<CIMName> lineage = _schema.lineage(_nameSpace, names[i]);
        bool isBelow = false;
        for (Uint32 k = 1; k < lineage.size(); k++) {
            isBelow |= isServed(lineage[k]);
        }
        if (!isBelow || isServed(names[i])) {
            continue;
        }
        try {
            const Array<CIMInstance> found =
                client.enumerateInstances(_nameSpace, names[i], true, false);
            for (Uint32 k = 0; k < found.size(); k++) {
                if (found[k].getClassName() == names[i]) {
                    _schema.createInstance(_nameSpace, found[k]);
                    break;
                }
            }
        } catch (const CIMException&) {  // nor is it stored
        }
    }
}

void Deployed::checkRegistrations() {
    const auto registrations = _registry.registrations();
    velmar_checks::checkProviders(_checks.findings(), _modules, registrations);
    velmar_checks::checkRegistrations(_checks.findings(), _checks.schema(), registrations);
}

void Deployed::checkAlert(const CIMInstance& alert) {
    // An exported indication has no path, and with it no namespace.
    CIMInstance placed = alert.clone();
    placed.setPath(CIMObjectPath(String(), _nameSpace, alert.getClassName()));
    const auto providers = _registry.findIndicationProviders(_nameSpace, alert.getClassName());
    _checks.checkIndication(providers.empty() ? "" : providers.front()->name(),
                            CIMIndication(placed));
}

}  // namespace velmar_driver
