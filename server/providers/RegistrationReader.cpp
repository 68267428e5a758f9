// SPDX-FileCopyrightText: The velmar_remote authors
// SPDX-License-Identifier: MIT

#include "providers/RegistrationReader.h"

#include <Pegasus/Common/CIMProperty.h>
#include <Pegasus/Common/CIMValue.h>

#include <velmar_embedded/schema/Mof.h>
#include "client/Request.h"
#include "model/Text.h"

using namespace Pegasus;

namespace velmar_embedded {

namespace {

const char* const registrationClasses = R"(
Qualifier Abstract : boolean = false, Scope(class, association, indication),
    Flavor(Restricted);
Qualifier Association : boolean = false, Scope(association), Flavor(DisableOverride, ToSubclass);
Qualifier Description : string = null, Scope(any), Flavor(Translatable);
Qualifier In : boolean = true, Scope(parameter), Flavor(DisableOverride, ToSubclass);
Qualifier Indication : boolean = false, Scope(class, indication),
    Flavor(DisableOverride, ToSubclass);
Qualifier Key : boolean = false, Scope(property, reference), Flavor(DisableOverride, ToSubclass);
Qualifier Out : boolean = false, Scope(parameter), Flavor(DisableOverride, ToSubclass);
Qualifier Override : string = null, Scope(property, method, reference), Flavor(Restricted);

[Abstract] class CIM_ManagedElement {
    string Caption;
    string Description;
    string ElementName;
};
[Abstract] class CIM_ManagedSystemElement : CIM_ManagedElement {
    datetime InstallDate;
    string Name;
    uint16 OperationalStatus[];
    string StatusDescriptions[];
    string Status;
    uint16 HealthState;
};
[Abstract] class CIM_LogicalElement : CIM_ManagedSystemElement {
};
class PG_ProviderModule : CIM_LogicalElement {
    [Key, Override("Name")] string Name;
    string Vendor;
    string Version;
    string InterfaceType;
    string InterfaceVersion;
    string Location;
    uint16 UserContext;
    string DesignatedUserContext;
    string ModuleGroupName;
    uint16 Bitness;
};
class PG_Provider : CIM_LogicalElement {
    [Key] string ProviderModuleName;
    [Key, Override("Name")] string Name;
};
class PG_ProviderCapabilities : CIM_ManagedElement {
    [Key] string ProviderModuleName;
    [Key] string ProviderName;
    [Key] string CapabilityID;
    string ClassName;
    string Namespaces[];
    uint16 ProviderType[];
    string SupportedProperties[];
    string SupportedMethods[];
};
)";

std::string quoted(const std::string& text) { return "\"" + text + "\""; }

}  // namespace

// The properties of a registration instance, with errors that name it.
class RegistrationReader::Reader {
 public:
    explicit Reader(const CIMInstance& instance) : _instance(instance) {}

    std::string path() const { return utf8(_instance.getPath().toString()); }

    [[noreturn]] void fail(const std::string& property, const std::string& reason) const {
        throw RegistrationError("instance " + path() + ": " + property + ": " + reason);
    }

    std::string text(const char* property) const {
        String text;
        value(property).get(text);
        return utf8(text);
    }

    template <class T>
    Array<T> list(const char* property, bool required) const {
        Array<T> items;
        value(property, required).get(items);
        if (required && items.size() == 0) {
            fail(property, "is empty");
        }
        return items;
    }

 private:
    CIMValue value(const char* property, bool required = true) const {
        // The class declares them all, so a stored instance has them all.
        CIMConstProperty found = _instance.getProperty(_instance.findProperty(CIMName(property)));
        if (required && found.getValue().isNull()) {
            fail(property, "has no value");
        }
        return found.getValue();
    }

    const CIMConstInstance _instance;
};

RegistrationReader::RegistrationReader(Repository& repository, Registry& registry, Notices& notices,
                                       MakeChannel makeChannel)
    : _repository(repository),
      _registry(registry),
      _notices(notices),
      _makeChannel(std::move(makeChannel)) {
    _repository.createNamespace(CIMNamespaceName("root"));
    compileMofText(_repository, CIMNamespaceName(interopNamespace), registrationClasses,
                   "registration classes");
}

void RegistrationReader::addDirectory(const std::string& directory) {
    std::lock_guard<std::mutex> guard(_directoriesLock);
    _directories.push_back(directory);
}

std::vector<std::string> RegistrationReader::directories() const {
    std::lock_guard<std::mutex> guard(_directoriesLock);
    return _directories;
}

void RegistrationReader::note(const CIMNamespaceName& nameSpace, const CIMObjectPath& path,
                              const std::string& file, unsigned line) {
    if (nameSpace == CIMNamespaceName(interopNamespace)) {
        std::lock_guard<std::mutex> guard(_lock);
        _places[utf8(path.toString())] = {file, line};
    }
}

void RegistrationReader::readInstances(Module::EntryPoint entryPoint) {
    std::lock_guard<std::mutex> guard(_lock);
    _entryPoint = entryPoint;
    readClass("PG_ProviderModule", &RegistrationReader::readModule);
    readClass("PG_Provider", &RegistrationReader::readProvider);
    readClass("PG_ProviderCapabilities", &RegistrationReader::readCapabilities);
}

void RegistrationReader::readClass(const char* className,
                                   void (RegistrationReader::*read)(const Reader&)) {
    const CIMNamespaceName interop(interopNamespace);
    Array<CIMInstance> instances = _repository.instances(interop, CIMName(className));
    for (Uint32 i = 0; i < instances.size(); i++) {
        const Reader reader(instances[i]);
        if (_known.count(reader.path())) {
            continue;
        }
        const auto noted = _places.extract(reader.path());
        const Place place = noted ? noted.mapped() : Place();
        try {
            (this->*read)(reader);
        } catch (const RegistrationError& e) {
            _repository.deleteInstance(interop, instances[i].getPath());
            throw MofError(place.file, MofFault(place.line, e.what()));
        }
        _known.insert(reader.path());
    }
}

void RegistrationReader::readModule(const Reader& instance) {
    for (const char* property : {"Vendor", "Version", "InterfaceVersion"}) {
        instance.text(property);
    }
    if (instance.text("InterfaceType") != "C++Default") {
        instance.fail("InterfaceType",
                      quoted(instance.text("InterfaceType")) + " is not \"C++Default\"");
    }
    _modules[instance.text("Name")] = std::make_shared<Module>(
        instance.text("Location"), [this] { return directories(); }, _entryPoint);
}

void RegistrationReader::readProvider(const Reader& instance) {
    const std::string moduleName = instance.text("ProviderModuleName");
    const std::string name = instance.text("Name");
    auto module = _modules.find(moduleName);
    if (module == _modules.end()) {
        instance.fail("ProviderModuleName", "no PG_ProviderModule " + quoted(moduleName));
    }
    auto create = [library = module->second, name] { return library->createProvider(name); };
    _providers[{moduleName, name}] =
        _registry.addProvider(name, create, [this, name] { return _makeChannel(name); });
}

void RegistrationReader::readCapabilities(const Reader& instance) {
    const std::string moduleName = instance.text("ProviderModuleName");
    const std::string name = instance.text("ProviderName");
    auto provider = _providers.find({moduleName, name});
    if (provider == _providers.end()) {
        instance.fail("ProviderName",
                      "no PG_Provider " + quoted(name) + " of module " + quoted(moduleName));
    }
    Capabilities capabilities;
    capabilities.className = instance.text("ClassName");
    const Array<String> nameSpaces = instance.list<String>("Namespaces", true);
    for (Uint32 i = 0; i < nameSpaces.size(); i++) {
        capabilities.nameSpaces.push_back(utf8(nameSpaces[i]));
    }
    const Array<Uint16> types = instance.list<Uint16>("ProviderType", true);
    for (Uint32 i = 0; i < types.size(); i++) {
        if (types[i] < 2 || types[i] > 7) {
            instance.fail(
                "ProviderType",
                std::to_string(types[i]) +
                    " is unknown; expected 2 instance, 3 association, 4 indication, 5 method, "
                    "6 indication consumer or 7 instance query");
        }
        if (types[i] > 5) {
            _notices.problem("provider " + quoted(name) + ", class " + capabilities.className +
                             ": this server does not use it as " +
                             (types[i] == 6 ? "indication consumer" : "instance query provider") +
                             " (ProviderType " + std::to_string(types[i]) + ")");
            continue;
        }
        capabilities.types.push_back(static_cast<ProviderType>(types[i]));
    }
    const Array<String> methods = instance.list<String>("SupportedMethods", false);
    for (Uint32 i = 0; i < methods.size(); i++) {
        capabilities.supportedMethods.push_back(utf8(methods[i]));
    }
    auto failure = failureOf([&] { _registry.addCapabilities(provider->second, capabilities); });
    if (failure) {
        instance.fail("ClassName", utf8(failure->message));
    }
}

std::vector<RegisteredModule> RegistrationReader::modules() const {
    std::lock_guard<std::mutex> guard(_lock);
    std::vector<RegisteredModule> result;
    for (const auto& [name, module] : _modules) {
        RegisteredModule one{name, module->location(), {}, directories(), module->isFound()};
        for (const auto& provider : _providers) {
            if (provider.first.first == name) {
                one.providers.push_back(provider.first.second);
            }
        }
        result.push_back(std::move(one));
    }
    return result;
}

std::vector<std::string> RegistrationReader::closeModules(std::chrono::milliseconds patience,
                                                          bool keepsOpen) {
    std::map<std::string, std::shared_ptr<Module>> modules;
    {
        std::lock_guard<std::mutex> guard(_lock);
        _providers.clear();
        modules.swap(_modules);
    }
    std::vector<std::string> busy;
    for (const auto& [name, module] : modules) {
        if (module->waitForThreads(patience) > 0) {
            busy.push_back(module->location());
        }
        if (keepsOpen) {
            module->keepLoaded();
        }
    }
    return busy;
}

}  // namespace velmar_embedded
