// SPDX-FileCopyrightText: The velmar_remote authors
// SPDX-License-Identifier: MIT

#include "checks/Rules.h"

namespace velmar_checks {

namespace {

const char* const HOW_TO_WRITE =
    "Make the value with the declared type. CIMValue(\"text\") is a boolean: write "
    "CIMValue(String(\"text\")), CIMValue(Uint32(5)), CIMValue(items) with an Array<String>, "
    "CIMValue(CIMDateTime(String(\"20250101120000.000000+000\"))), CIMValue(path) with a "
    "CIMObjectPath.";

}  // namespace

const std::vector<RuleGroup>& allRules() {
    static const auto* const groups = new std::vector<RuleGroup>{
        {"Registrations and schema",
         {
             {"registration.unknown-namespace", Severity::Error,
              "A registration names a namespace that does not exist.",
              "Correct Namespaces in PG_ProviderCapabilities, or compile the schema into that "
              "namespace."},
             {"registration.unknown-class", Severity::Error,
              "A registration names a class that its namespace does not have.",
              "Correct ClassName or Namespaces, or compile the class's MOF."},
             {"registration.association-type", Severity::Error,
              "An association class is registered, but not for associations: associators and "
              "references find nothing.",
              "Add 3 (association) to ProviderType."},
             {"registration.not-an-association", Severity::Error,
              "A class other than an association is registered for associations: the provider is "
              "never asked.",
              "Register the association class, not the classes at its ends; or qualify it with "
              "Association."},
             {"registration.indication-type", Severity::Error,
              "An indication class is registered, but not for indications: clients cannot "
              "subscribe to it.",
              "Use ProviderType {4, 5}: indications, and methods for send."},
             {"registration.not-an-indication", Severity::Error,
              "A class without the qualifier Indication is registered for indications.",
              "Qualify the class with Indication in the MOF, and derive it from "
              "CIM_AlertIndication."},
             {"registration.alert-superclass", Severity::Warning,
              "A class is registered for indications and methods, but is not a "
              "CIM_AlertIndication: subscribers to alerts do not get it, and the properties of an "
              "alert are lost.",
              "Derive the class from CIM_AlertIndication."},
             {"registration.unknown-method", Severity::Error,
              "SupportedMethods names a method that the class does not declare.",
              "Correct the name, or declare the method in the MOF."},
             {"registration.unserved-method", Severity::Warning,
              "A method of a registered class is served by no provider: callers get "
              "CIM_ERR_METHOD_NOT_AVAILABLE.",
              "Add 5 (method) to ProviderType and the method to SupportedMethods (NULL means "
              "all)."},
             {"registration.methods-alone", Severity::Warning,
              "A class with keys is registered for methods, but no provider for its instances: "
              "clients find no instance to call a method of.",
              "Add 2 (instance) to ProviderType."},
             {"registration.no-class", Severity::Warning,
              "A PG_Provider has no PG_ProviderCapabilities: it is not called.",
              "Add an instance of PG_ProviderCapabilities with its ProviderName, ClassName, "
              "Namespaces and ProviderType."},
             {"registration.unserved-subclass", Severity::Warning,
              "A class is not registered, but its superclass is: registration is not inherited, so "
              "its instances are not served.",
              "Register a provider for exactly this class, or qualify it with Abstract."},
             {"registration.class-and-subclass", Severity::Warning,
              "One provider is registered for instances of a class and of its subclass. It is "
              "called once for each, and a provider with one cache delivers every instance twice.",
              "Use one provider, that is one object, for each class."},
             {"registration.keyless-class", Severity::Error,
              "A class is registered for instances, but has no key property: its instances have no "
              "paths.",
              "Mark the identifying properties with Key in the MOF."},
             {"registration.unknown-reference-class", Severity::Error,
              "A reference property refers to a class that the namespace does not have.",
              "Correct the class name in the MOF, or compile that class too."},
             {"registration.association-ends", Severity::Error,
              "An association class has fewer than two references.",
              "Declare both ends: [Key] A REF Left; [Key] B REF Right;"},
         }},
        {"Loading",
         {
             {"loading.module-not-found", Severity::Error,
              "The library of a module is in none of the searched folders.",
              "Correct Location in the registration (the library's name without \"lib\" and "
              "\".so\"), or add the folder that the library is in."},
             {"loading.module-not-loadable", Severity::Error,
              "The library of a module is there, but cannot be opened.",
              "The loader's text says why: a symbol that is defined nowhere, a library that is "
              "missing. Link what is missing."},
             {"loading.no-entry-point", Severity::Error,
              "The library of a module does not export PegasusCreateProvider.",
              "Define extern \"C\" PEGASUS_EXPORT CIMProvider* PegasusCreateProvider(const "
              "String&) in it."},
             {"loading.unknown-provider", Severity::Error,
              "PegasusCreateProvider gave no object for the registered provider name.",
              "Compare with the same name in PegasusCreateProvider as in PG_Provider.Name."},
             {"loading.not-created", Severity::Error,
              "The provider's constructor, or PegasusCreateProvider, threw an exception.",
              "Catch it in the constructor, or do the work in initialize."},
             {"loading.initialize-failed", Severity::Error,
              "The provider's initialize threw an exception. Clients hear \"provider "
              "initialization failed\" at every request, each of which tries again.",
              "See the exception's text; catch in initialize what the provider can do without."},
             {"loading.terminate-failed", Severity::Error,
              "The provider's terminate threw an exception: the object is not deleted, and "
              "what it holds stays.",
              "Catch it in terminate, and let it end with the base class's terminate."},
             {"loading.may-be-unloaded", Severity::Warning,
              "The provider's initialize did not call disallowProviderUnload: a server unloads it "
              "after some idle minutes, with what it has cached.",
              "Call the base class's initialize first in an override (it also keeps the "
              "CIMOMHandle), or cimom.disallowProviderUnload()."},
             {"loading.interface", Severity::Error,
              "A provider is registered for operations whose C++ interface its object does not "
              "have; clients get CIM_ERR_NOT_SUPPORTED.",
              "Derive the provider from the interface, or correct ProviderType."},
             {"loading.unregistered-interface", Severity::Warning,
              "A provider's object has a C++ interface that it is not registered for, so it is not "
              "called.",
              "Add the type to ProviderType (2 instance, 3 association, 4 indication, 5 method), "
              "or derive from the narrower base class."},
             {"loading.thread-left", Severity::Error,
              "A thread of a module runs on after the module's providers were terminated. A server "
              "then closes the library under it, and crashes.",
              "End and join each thread before terminate returns, for example in the destructor of "
              "the provider that started it."},
         }},
        {"The order of a handler's calls",
         {
             {"protocol.no-processing", Severity::Warning,
              "An operation delivered or completed without having called processing on its "
              "handler.",
              "Call handler.processing() first."},
             {"protocol.processing-again", Severity::Warning,
              "An operation called processing a second time.",
              "Call handler.processing() once, first."},
             {"protocol.no-complete", Severity::Error,
              "An operation returned without having called complete on its handler: the answer is "
              "empty, and malformed for getInstance.",
              "Call handler.complete() last, on every way out but an exception."},
             {"protocol.complete-again", Severity::Warning,
              "An operation called complete a second time.", "Call handler.complete() once, last."},
             {"protocol.delivery-after-complete", Severity::Error,
              "An operation delivered after it had called complete.",
              "Call handler.complete() after the last delivery."},
             {"protocol.too-many", Severity::Error,
              "An operation that answers with one object delivered a second one; the client gets "
              "CIM_ERR_FAILED, \"Too many objects delivered.\".",
              "Deliver the one object that was asked for."},
             {"protocol.too-few", Severity::Error,
              "An operation that answers with one object completed without a delivery; the client "
              "gets CIM_ERR_FAILED, \"Too few objects delivered.\".",
              "Deliver the object, or throw CIMException(CIM_ERR_NOT_FOUND)."},
             {"protocol.empty-delivery", Severity::Error,
              "An operation delivered an uninitialized object, a path without class name or a null "
              "return value; the client gets CIM_ERR_FAILED, \"The object is not initialized.\".",
              "Deliver only what has contents; deliver nothing for a null return value."},
             {"protocol.exception", Severity::Warning,
              "An operation threw an exception other than CIMException: the client gets "
              "CIM_ERR_FAILED with its bare text.",
              "Throw a CIMException with a status and a message, or avoid the exception. A "
              "TypeMismatchException before the first delivery of invokeMethod also means that the "
              "class name given to InstanceMethodProvider's constructor is not the one that was "
              "asked for."},
         }},
        {"Instances and paths",
         {
             {"instance.unknown-class", Severity::Error,
              "An instance or a path of a class that the namespace does not have was delivered.",
              "Correct the class name in the provider, or compile the class's MOF into the "
              "namespace."},
             {"instance.class", Severity::Error,
              "What was delivered is neither of the class asked for nor of a subclass. A server "
              "passes it on, so clients get instances that they did not ask for.",
              "Deliver only what the class reference of the operation asks for; use one provider "
              "object for each class."},
             {"instance.undeclared-property", Severity::Error,
              "An instance has a property that its class does not declare.",
              "Correct the property's name, or declare it in the MOF."},
             {"instance.property-type", Severity::Error,
              "A property's value has another type, or another array form, than the class "
              "declares.",
              HOW_TO_WRITE},
             {"instance.value-map", Severity::Warning,
              "A property's value is missing from the class's ValueMap.",
              "Use a value of the ValueMap, or add the value to it."},
             {"instance.missing-key", Severity::Error,
              "An instance lacks a key property, although no property list leaves it out.",
              "Add the key property, with the value that the path's key has."},
             {"instance.null-key", Severity::Error, "A key property of an instance is null.",
              "Give the key property the value that the path's key has."},
             {"instance.no-path", Severity::Error,
              "An instance or a path was enumerated that has no keys: clients cannot get or delete "
              "it.",
              "Set the instance's path, with one key binding for each key of the class."},
             {"instance.path-missing-key", Severity::Error, "A path lacks a key of its class.",
              "Give the path one key binding for each key property of the class."},
             {"instance.path-unknown-key", Severity::Error,
              "A path has a key that its class lacks: requests for the right path do not find it.",
              "Correct the key's name, or mark the property as Key in the MOF."},
             {"instance.path-repeated-key", Severity::Error, "A path has the same key twice.",
              "Append each key binding once."},
             {"instance.path-key-type", Severity::Error,
              "A key of a path has another type than its property in the class.",
              "Make the key binding from a value of the property's type: CIMKeyBinding(name, "
              "CIMValue(String(\"text\")))."},
             {"instance.keys-differ", Severity::Error,
              "A key of the path and the property of that name have different values. A server "
              "rebuilds keys from properties, so the instance is not found under its own path.",
              "Give key and property the same value."},
             {"instance.path-place", Severity::Warning,
              "A path has another host or namespace than requests carry: associations whose ends "
              "are made from it are not found.",
              "Use System::getHostName() and the namespace of the request, or leave both out."},
             {"instance.duplicate-path", Severity::Error,
              "One enumeration has the same path twice.",
              "Give the instances different keys, or deliver each once."},
         }},
        {"Instances that are edited after their delivery",
         {
             {"sharing.changed-before-encoding", Severity::Error,
              "An instance changed between its delivery and its encoding. A server encodes on "
              "another thread after the operation has returned, so this crashes it.",
              "Never edit an instance that was handed out: edit a clone, and put it into the cache "
              "with replace."},
             {"sharing.edited-after-delivery", Severity::Error,
              "An instance was delivered, edited in place, and delivered again. With several "
              "clients one of them is being encoded during the edit, which crashes a server.",
              "Edit an instance once, before it is first handed out; afterwards edit a clone, and "
              "put it into the cache with replace."},
         }},
        {"Associations",
         {
             {"association.null-end", Severity::Error,
              "A reference of an association instance is missing or null.",
              "Give both references a path: CIMValue(CIMObjectPath)."},
             {"association.end-class", Severity::Error,
              "An end is of a class that is neither the declared one nor a subclass, or that the "
              "namespace does not have. Requests about the right object do not find the "
              "association.",
              "Correct the end's class, exchange left and right, or declare a wider class in the "
              "MOF."},
             {"association.end-place", Severity::Error,
              "An end lacks the host or the namespace that requests carry, or has others. Ends are "
              "compared as whole paths, so associators and references find nothing.",
              "Give the path of the end System::getHostName() and the namespace of its instance."},
             {"association.far-class", Severity::Error,
              "associators or associatorNames delivered something that is at no end of the "
              "association, or not of the result class that was asked for.",
              "Deliver the far ends only, and honour the result class."},
             {"association.refused-role", Severity::Error,
              "A provider refused a role that its association class declares: it does not know the "
              "reference property by this name, so it finds no association without roles either.",
              "Give InstanceAssociationProvider's constructor the reference properties as the MOF "
              "spells them, letter case included."},
         }},
        {"Methods",
         {
             {"method.undeclared", Severity::Error,
              "A method was called that its class does not declare. A server does not check that, "
              "so the call reaches the provider.",
              "Declare the method in the MOF, or correct its name in the caller."},
             {"method.unknown-parameter", Severity::Error,
              "A caller gave a parameter that the method does not declare.",
              "Correct the parameter's name, or declare it in the MOF."},
             {"method.parameter-type", Severity::Error,
              "A caller gave a parameter of another type, or another array form, than the method "
              "declares.",
              HOW_TO_WRITE},
             {"method.missing-parameter", Severity::Error,
              "A caller left out, or gave as null, a parameter that is Required.",
              "Give the parameter, or drop the qualifier Required from the MOF."},
             {"method.return-type", Severity::Error,
              "A method returned another type than its class declares.",
              "Return a CIMValue of the declared type, or correct the type in the MOF."},
             {"method.out-parameter-type", Severity::Error,
              "An out-parameter has another type, or another array form, than the method declares.",
              HOW_TO_WRITE},
             {"method.undeclared-out-parameter", Severity::Error,
              "A method delivered an out-parameter that it does not declare.",
              "Correct the parameter's name, or declare it in the MOF with Out."},
         }},
        {"Indications",
         {
             {"indication.no-namespace", Severity::Error,
              "An indication's path has no namespace. A server drops such an indication without a "
              "word.",
              "Set the path of the indication, with its namespace, before it is delivered."},
             {"indication.unknown-class", Severity::Error,
              "An indication is of a class that its namespace does not have, so it matches no "
              "subscription.",
              "Correct the class name that the provider is constructed with, or compile the "
              "class's MOF."},
             {"indication.not-an-indication", Severity::Error,
              "What was delivered is of a class without the qualifier Indication.",
              "Derive the class from CIM_AlertIndication and qualify it with Indication."},
             {"indication.undeclared-property", Severity::Error,
              "An indication has a property that its class does not declare; a server removes it "
              "on the way to the subscribers.",
              "Declare the property in the MOF, or correct its name."},
             {"indication.property-type", Severity::Error,
              "A property of an indication has another type, or another array form, than its class "
              "declares.",
              HOW_TO_WRITE},
             {"indication.missing-property", Severity::Warning,
              "A property of an indication that is Required is missing or null.",
              "Set it where the alert is raised, or in the provider of the alert for all of them."},
             {"indication.enrichment-classes", Severity::Error,
              "An alert failed because root/velmar_remote lacks QORP_ComputerSystem or "
              "QORP_LPAR_CS, which the base generateIndication asks for with every alert.",
              "Compile these classes into root/velmar_remote, even if the package has no such "
              "systems."},
         }},
        {"What clients create and modify",
         {
             {"creation.undeclared-property", Severity::Error,
              "A caller's createInstance or modifyInstance gave a property that the class does not "
              "declare. A server does not check that, so it reaches the provider.",
              "Correct the property's name, or declare it in the MOF."},
             {"creation.property-type", Severity::Error,
              "A caller's createInstance or modifyInstance gave a property of another type, or "
              "another array form, than the class declares.",
              HOW_TO_WRITE},
             {"creation.missing-key", Severity::Error,
              "A caller's createInstance left out a key property, or gave it as null: there is no "
              "path for the new instance.",
              "Give every key property a value."},
             {"creation.missing-property", Severity::Error,
              "A caller's createInstance left out a property that is Required, or gave it as null.",
              "Give the property, or drop the qualifier Required from the MOF."},
             {"creation.stored", Severity::Warning,
              "No provider serves the class, so the server stored a created instance itself.",
              "Register a provider for exactly this class (registration is not inherited), or "
              "leave it so if the instance is meant to be stored."},
         }},
        {"Of `velmar check`",
         {
             {"driver.fails", Severity::Error,
              "An operation that every client uses ends in an error.",
              "Read the error's text, and the findings and problems before it."},
             {"driver.names", Severity::Error,
              "enumerateInstanceNames and enumerateInstances name different instances.",
              "Serve both from the same store, with the same keys."},
             {"driver.get", Severity::Error,
              "getInstance does not give an instance that the enumeration names.",
              "Keep the instance under the path that it is delivered with."},
             {"driver.get-values", Severity::Error,
              "A property has a value in only one of enumerateInstances and getInstance.",
              "Override the array form of fillProperties: the single form calls it."},
             {"driver.unsteady", Severity::Warning,
              "A property has a value in one of two getInstance and none in the other.",
              "Fill in the same properties on every request."},
             {"driver.twice", Severity::Warning,
              "The same keys are served as an instance of a class and of its subclass: clients "
              "that enumerate the class get the object twice.",
              "Serve each object by the provider of its own class only."},
             {"driver.absent", Severity::Error,
              "getInstance of an instance that does not exist is not answered with "
              "CIM_ERR_NOT_FOUND.",
              "Throw CIMException(CIM_ERR_NOT_FOUND, text)."},
             {"driver.property-list", Severity::Error,
              "A property that getInstance gives is missing when a client asks for it by a "
              "property list.",
              "Fill in what the property list names, or ignore the list."},
             {"driver.far-end", Severity::Error,
              "An association refers to an instance that does not exist.",
              "Create the end first, and delete the association with it."},
             {"driver.reference", Severity::Error,
              "An instance does not name an association that refers to it (\"references 0\").",
              "Give the ends the local host name and the namespace of requests, spell their keys "
              "as the instances' own paths do, and give InstanceAssociationProvider's constructor "
              "the reference properties as the MOF spells them."},
             {"driver.associator", Severity::Error,
              "An instance is not associated with the other end of an association that refers to "
              "it (\"associators 0\").",
              "As for driver.reference; register the association class for provider type 3."},
             {"driver.objects", Severity::Error,
              "associators and associatorNames, or references and referenceNames, answer "
              "differently.",
              "An end that associators leaves out is not in its class's enumeration."},
             {"driver.role", Severity::Error,
              "A role that the association does not have is answered with objects.",
              "Answer it with an error or with nothing."},
             {"driver.subscribe", Severity::Error,
              "Clients cannot subscribe to the indication class.",
              "Register the class for provider type 4 with a provider that accepts."},
             {"driver.create", Severity::Error,
              "An instance that was created cannot be read, or has other values.",
              "Keep a copy of the new instance under the path that is delivered."},
             {"driver.delete", Severity::Error, "An instance that was deleted is still there.",
              "Remove it from the store that every operation reads."},
             {"driver.cascade", Severity::Error,
              "An association outlives an instance that it refers to.",
              "Delete through InstanceCache::remove, which deletes the associations too."},
             {"driver.refused-method", Severity::Warning,
              "A method that the class declares and a provider is registered for is answered with "
              "CIM_ERR_NOT_SUPPORTED or CIM_ERR_METHOD_NOT_FOUND.",
              "Serve it in callMethod, or leave it out of SupportedMethods."},
             {"driver.no-return-value", Severity::Warning,
              "A method was called and returned no value, or null: clients get none.",
              "Return a CIMValue of the declared type in every case."},
             {"driver.stopped", Severity::Error,
              "What a class answers cannot be used, or comes not at all: the rest of it is not "
              "asked.",
              "Look for a key without a value, and for an operation that never returns."},
             {"driver.load", Severity::Error,
              "Under several clients at once an answer fails or lacks what it had before.",
              "Look for state that requests share: instances edited in place, members without a "
              "lock."},
             {"driver.process", Severity::Error,
              "The package ends the process that runs it, closes its descriptors, or keeps it from "
              "ending.",
              "See the call that it was in, and the backtrace of a crash."},
             {"mof.error", Severity::Error, "A MOF file of the package does not compile.",
              "See the file and line that the finding names; the compiler of a real server stops "
              "there, too."},
         }},
        {"Of tests",
         {
             {"kit.two-copies", Severity::Error,
              "The package is linked into a test and loaded as a module, too: what the test "
              "changes "
              "in one, clients do not see in the other.",
              "Give PegasusCreateProvider to ServedPackage instead of the module's folder."},
         }},
    };
    return *groups;
}

const Rule* findRule(const std::string& id) {
    for (const RuleGroup& group : allRules()) {
        for (const Rule& rule : group.rules) {
            if (rule.id == id) {
                return &rule;
            }
        }
    }
    return nullptr;
}

std::string rulesAsMarkdown() {
    std::string text;
    for (const RuleGroup& group : allRules()) {
        text += std::string("\n## ") + group.heading +
                "\n\n| Rule | | What is wrong | What to do |\n|---|---|---|---|\n";
        for (const Rule& rule : group.rules) {
            text += std::string("| `") + rule.id + "` | " + nameOf(rule.severity) + " | " +
                    rule.meaning + " | " + rule.remedy + " |\n";
        }
    }
    return text;
}

}  // namespace velmar_checks
