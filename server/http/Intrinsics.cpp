// SPDX-FileCopyrightText: The velmar_remote authors
// SPDX-License-Identifier: MIT

#include "Intrinsics.h"

#include <strings.h>

#include <algorithm>

#include "CimReader.h"

using namespace Pegasus;
using velmar_embedded::Answer;
using velmar_embedded::Operation;
using velmar_embedded::QualifierDeclaration;
using velmar_embedded::Request;

namespace velmar_wire {

namespace {

void require(pugi::xml_node element, const char* tag) {
    if (!is(element, tag)) {
        invalid(element, std::string("Expected ") + tag + ", got " + element.name());
    }
}

void readClassName(Request& request, pugi::xml_node value) {
    require(value, "CLASSNAME");
    request.path = pathOf(value);
}

void readInstanceName(Request& request, pugi::xml_node value) {
    require(value, "INSTANCENAME");
    request.path = pathOf(value);
}

void readObjectName(Request& request, pugi::xml_node value) {
    if (!is(value, "CLASSNAME")) {
        require(value, "INSTANCENAME");
    }
    request.path = pathOf(value);
}

void writePath(XmlWriter& writer, const Request& request) {
    if (!request.path.getClassName().isNull()) {
        writer.name(request.path);
    }
}

void writeInstanceName(XmlWriter& writer, const Request& request) {
    writer.name(request.path, true);
}

template <bool Request::*flag>
void readFlag(Request& request, pugi::xml_node value) {
    request.*flag = booleanOf(value);
}

template <bool Request::*flag>
void writeFlag(XmlWriter& writer, const Request& request) {
    writer.value(CIMValue(Boolean(request.*flag)));
}

template <CIMName Request::*name>
void readName(Request& request, pugi::xml_node value) {
    require(value, "CLASSNAME");
    request.*name = nameOf(value);
}

template <CIMName Request::*name>
void writeName(XmlWriter& writer, const Request& request) {
    if (!(request.*name).isNull()) {
        writer.name(CIMObjectPath(String(), CIMNamespaceName(), request.*name));
    }
}

template <String Request::*text>
void readText(Request& request, pugi::xml_node value) {
    require(value, "VALUE");
    request.*text = stringOf(textIn(value));
}

template <String Request::*text>
void writeText(XmlWriter& writer, const Request& request) {
    if ((request.*text).size() > 0) {
        writer.element("VALUE", request.*text);
    }
}

void readProperties(Request& request, pugi::xml_node value) {
    request.propertyList = propertyListOf(value);
}

void writeProperties(XmlWriter& writer, const Request& request) {
    if (request.propertyList.isNull()) {
        return;
    }
    Array<String> names;
    for (Uint32 i = 0; i < request.propertyList.size(); i++) {
        names.append(request.propertyList[i].getString());
    }
    writer.value(CIMValue(names));
}

void readNewInstance(Request& request, pugi::xml_node value) {
    request.instance = instanceOf(value);
    request.path = request.instance.getPath();
}

void writeNewInstance(XmlWriter& writer, const Request& request) {
    writer.object(*HandleAccess::rep(request.instance));
}

void readModifiedInstance(Request& request, pugi::xml_node value) {
    require(value, "VALUE.NAMEDINSTANCE");
    request.instance = CIMInstance(objectOf(value));
    request.path = request.instance.getPath();
}

void writeNamedInstance(XmlWriter& writer, const CIMInstance& instance) {
    writer.raw("<VALUE.NAMEDINSTANCE>");
    writer.name(instance.getPath(), true);
    writer.object(*HandleAccess::rep(instance));
    writer.raw("</VALUE.NAMEDINSTANCE>");
}

void writeModifiedInstance(XmlWriter& writer, const Request& request) {
    writeNamedInstance(writer, request.instance);
}

void readClass(Request& request, pugi::xml_node value) {
    request.cimClass = classOf(value);
    request.path = request.cimClass.getPath();
}

void writeClass(XmlWriter& writer, const Request& request) {
    writer.object(*HandleAccess::rep(request.cimClass));
}

void readQualifierName(Request& request, pugi::xml_node value) {
    require(value, "VALUE");
    const String name = stringOf(textIn(value));
    if (!CIMName::legal(name)) {
        meaningless(value, "Illegal qualifier name");
    }
    request.qualifier.name = CIMName(name);
}

void writeQualifierName(XmlWriter& writer, const Request& request) {
    writer.element("VALUE", request.qualifier.name.getString());
}

void readQualifier(Request& request, pugi::xml_node value) {
    request.qualifier = qualifierDeclarationOf(value);
}

void writeDeclaration(XmlWriter& writer, const QualifierDeclaration& declared) {
    writer.raw("<QUALIFIER.DECLARATION");
    writer.attribute("NAME", declared.name.getString());
    writer.valueAttributes(declared.defaultValue, 0);  // as many items as it likes
    writer.attribute("ISARRAY", declared.defaultValue.isArray() ? "true" : "");
    writer.flavors(declared.flavor);
    writer.raw(">");
    if (declared.scopes.any()) {
        writer.raw("<SCOPE");
        for (unsigned i = 0; i < velmar_embedded::qualifierScopeCount; i++) {
            writer.attribute(scopeAttribute(i).c_str(), declared.scopes[i] ? "true" : "");
        }
        writer.raw("/>");
    }
    writer.value(declared.defaultValue);
    writer.raw("</QUALIFIER.DECLARATION>");
}

void writeQualifier(XmlWriter& writer, const Request& request) {
    writeDeclaration(writer, request.qualifier);
}

// ---- Results ------------------------------------------------------------------------------------

// One element for each item.
template <class Items, class Write>
void writeEach(const Items& items, Write&& write) {
    for (Uint32 i = 0; i < items.size(); i++) {
        write(items[i]);
    }
}

const IntrinsicResult classes = {
    [](XmlWriter& writer, const Answer& answer) {
        writeEach(answer.classes,
                  [&](const CIMClass& each) { writer.object(*HandleAccess::rep(each)); });
    },
    [](Answer& answer, pugi::xml_node element) { answer.classes.append(classOf(element)); }};

const IntrinsicResult classNames = {
    [](XmlWriter& writer, const Answer& answer) {
        writeEach(answer.names, [&](const CIMName& each) {
            writer.name(CIMObjectPath(String(), CIMNamespaceName(), each));
        });
    },
    [](Answer& answer, pugi::xml_node element) {
        require(element, "CLASSNAME");
        answer.names.append(nameOf(element));
    }};

const IntrinsicResult instance = {
    [](XmlWriter& writer, const Answer& answer) {
        writeEach(answer.instances,
                  [&](const CIMInstance& each) { writer.object(*HandleAccess::rep(each)); });
    },
    [](Answer& answer, pugi::xml_node element) { answer.instances.append(instanceOf(element)); }};

const IntrinsicResult namedInstances = {
    [](XmlWriter& writer, const Answer& answer) {
        writeEach(answer.instances,
                  [&](const CIMInstance& each) { writeNamedInstance(writer, each); });
    },
    [](Answer& answer, pugi::xml_node element) {
        require(element, "VALUE.NAMEDINSTANCE");
        answer.instances.append(CIMInstance(objectOf(element)));
    }};

const IntrinsicResult instanceNames = {
    [](XmlWriter& writer, const Answer& answer) {
        writeEach(answer.paths, [&](const CIMObjectPath& each) { writer.name(each, true); });
    },
    [](Answer& answer, pugi::xml_node element) {
        require(element, "INSTANCENAME");
        answer.paths.append(pathOf(element));
    }};

const IntrinsicResult objectsWithPath = {[](XmlWriter& writer, const Answer& answer) {
                                             writeEach(answer.objects, [&](const CIMObject& each) {
                                                 writer.raw("<VALUE.OBJECTWITHPATH>");
                                                 writer.path(each.getPath());
                                                 writer.object(*HandleAccess::rep(each));
                                                 writer.raw("</VALUE.OBJECTWITHPATH>");
                                             });
                                         },
                                         [](Answer& answer, pugi::xml_node element) {
                                             require(element, "VALUE.OBJECTWITHPATH");
                                             answer.objects.append(objectOf(element));
                                         }};

const IntrinsicResult objectPaths = {[](XmlWriter& writer, const Answer& answer) {
                                         writeEach(answer.paths, [&](const CIMObjectPath& each) {
                                             writer.raw("<OBJECTPATH>");
                                             writer.path(each);
                                             writer.raw("</OBJECTPATH>");
                                         });
                                     },
                                     [](Answer& answer, pugi::xml_node element) {
                                         require(element, "OBJECTPATH");
                                         answer.paths.append(pathOf(element));
                                     }};

const IntrinsicResult declarations = {
    [](XmlWriter& writer, const Answer& answer) {
        for (const QualifierDeclaration& each : answer.qualifiers) {
            writeDeclaration(writer, each);
        }
    },
    [](Answer& answer, pugi::xml_node element) {
        answer.qualifiers.push_back(qualifierDeclarationOf(element));
    }};

// ---- Methods ------------------------------------------------------------------------------------

const IntrinsicParameter className = {"ClassName", true, readClassName, writePath};
const IntrinsicParameter anyClassName = {"ClassName", false, readClassName, writePath};
const IntrinsicParameter instanceName = {"InstanceName", true, readInstanceName, writeInstanceName};
const IntrinsicParameter objectName = {"ObjectName", true, readObjectName, writePath};
const IntrinsicParameter localOnly = {"LocalOnly", false, readFlag<&Request::localOnly>,
                                      writeFlag<&Request::localOnly>};
const IntrinsicParameter deepInheritance = {"DeepInheritance", false,
                                            readFlag<&Request::deepInheritance>,
                                            writeFlag<&Request::deepInheritance>};
const IntrinsicParameter qualifiers = {"IncludeQualifiers", false,
                                       readFlag<&Request::includeQualifiers>,
                                       writeFlag<&Request::includeQualifiers>};
const IntrinsicParameter classOrigin = {"IncludeClassOrigin", false,
                                        readFlag<&Request::includeClassOrigin>,
                                        writeFlag<&Request::includeClassOrigin>};
const IntrinsicParameter properties = {"PropertyList", false, readProperties, writeProperties};
const IntrinsicParameter assocClass = {"AssocClass", false, readName<&Request::associationClass>,
                                       writeName<&Request::associationClass>};
const IntrinsicParameter resultClass = {"ResultClass", false, readName<&Request::resultClass>,
                                        writeName<&Request::resultClass>};
const IntrinsicParameter role = {"Role", false, readText<&Request::role>,
                                 writeText<&Request::role>};
const IntrinsicParameter resultRole = {"ResultRole", false, readText<&Request::resultRole>,
                                       writeText<&Request::resultRole>};
const IntrinsicParameter newInstance = {"NewInstance", true, readNewInstance, writeNewInstance};
const IntrinsicParameter modifiedInstance = {"ModifiedInstance", true, readModifiedInstance,
                                             writeModifiedInstance};
const IntrinsicParameter newClass = {"NewClass", true, readClass, writeClass};
const IntrinsicParameter modifiedClass = {"ModifiedClass", true, readClass, writeClass};
const IntrinsicParameter qualifierName = {"QualifierName", true, readQualifierName,
                                          writeQualifierName};
const IntrinsicParameter qualifierDeclaration = {"QualifierDeclaration", true, readQualifier,
                                                 writeQualifier};

const std::vector<Intrinsic>& intrinsics() {
    static const std::vector<Intrinsic> all = {
        {"GetClass",
         Operation::GetClass,
         {className, localOnly, qualifiers, classOrigin, properties},
         &classes},
        {"EnumerateClasses",
         Operation::EnumerateClasses,
         {anyClassName, deepInheritance, localOnly, qualifiers, classOrigin},
         &classes},
        {"EnumerateClassNames",
         Operation::EnumerateClassNames,
         {anyClassName, deepInheritance},
         &classNames},
        {"CreateClass", Operation::CreateClass, {newClass}, nullptr},
        {"ModifyClass", Operation::ModifyClass, {modifiedClass}, nullptr},
        {"DeleteClass", Operation::DeleteClass, {className}, nullptr},
        {"GetQualifier", Operation::GetQualifier, {qualifierName}, &declarations},
        {"EnumerateQualifiers", Operation::EnumerateQualifiers, {}, &declarations},
        {"SetQualifier", Operation::SetQualifier, {qualifierDeclaration}, nullptr},
        {"DeleteQualifier", Operation::DeleteQualifier, {qualifierName}, nullptr},
        {"GetInstance",
         Operation::GetInstance,
         {instanceName, localOnly, qualifiers, classOrigin, properties},
         &instance},
        {"EnumerateInstances",
         Operation::EnumerateInstances,
         {className, localOnly, deepInheritance, qualifiers, classOrigin, properties},
         &namedInstances},
        {"EnumerateInstanceNames", Operation::EnumerateInstanceNames, {className}, &instanceNames},
        {"CreateInstance", Operation::CreateInstance, {newInstance}, &instanceNames},
        {"ModifyInstance",
         Operation::ModifyInstance,
         {modifiedInstance, qualifiers, properties},
         nullptr},
        {"DeleteInstance", Operation::DeleteInstance, {instanceName}, nullptr},
        {"Associators",
         Operation::Associators,
         {objectName, assocClass, resultClass, role, resultRole, qualifiers, classOrigin,
          properties},
         &objectsWithPath},
        {"AssociatorNames",
         Operation::AssociatorNames,
         {objectName, assocClass, resultClass, role, resultRole},
         &objectPaths},
        {"References",
         Operation::References,
         {objectName, resultClass, role, qualifiers, classOrigin, properties},
         &objectsWithPath},
        {"ReferenceNames",
         Operation::ReferenceNames,
         {objectName, resultClass, role},
         &objectPaths}};
    return all;
}

}  // namespace

const Intrinsic* findIntrinsic(const std::string& name) {
    for (const Intrinsic& each : intrinsics()) {
        if (strcasecmp(each.name, name.c_str()) == 0) {
            return &each;
        }
    }
    return nullptr;
}

const Intrinsic* findIntrinsic(Operation operation) {
    for (const Intrinsic& each : intrinsics()) {
        if (each.operation == operation) {
            return &each;
        }
    }
    return nullptr;
}

bool isRefusedIntrinsic(const std::string& name) {
    static const char* const refused[] = {"ExecQuery", "GetProperty", "SetProperty"};
    return std::any_of(std::begin(refused), std::end(refused),
                       [&](const char* each) { return strcasecmp(each, name.c_str()) == 0; });
}

}  // namespace velmar_wire
