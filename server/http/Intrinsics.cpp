// SPDX-FileCopyrightText: The velmar_remote authors
// SPDX-License-Identifier: MIT

#include "Intrinsics.h"

#include <strings.h>

#include <utility>

#include "CimReader.h"
#include "IntrinsicResults.h"

using namespace Pegasus;
using velmar_embedded::Operation;
using velmar_embedded::PullParameters;
using velmar_embedded::Request;

namespace velmar_wire {

namespace {

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

void writeQualifier(XmlWriter& writer, const Request& request) {
    writeDeclaration(writer, request.qualifier);
}

void readPropertyName(Request& request, pugi::xml_node value) {
    require(value, "VALUE");
    const String name = stringOf(textIn(value));
    if (!CIMName::legal(name)) {
        meaningless(value, "Illegal property name");
    }
    request.propertyName = CIMName(name);
}

void writePropertyName(XmlWriter& writer, const Request& request) {
    writer.element("VALUE", request.propertyName.getString());
}

void readNewValue(Request& request, pugi::xml_node value) {
    request.propertyValue = returnValueOf(value.parent());
}

void writeNewValue(XmlWriter& writer, const Request& request) {
    writer.value(request.propertyValue);
}

template <String PullParameters::*text>
void readPullText(Request& request, pugi::xml_node value) {
    require(value, "VALUE");
    request.pull.*text = stringOf(textIn(value));
}

template <String PullParameters::*text>
void writePullText(XmlWriter& writer, const Request& request) {
    if ((request.pull.*text).size() > 0) {
        writer.element("VALUE", request.pull.*text);
    }
}

// Even an empty one is one.
void writeContext(XmlWriter& writer, const Request& request) {
    writer.element("VALUE", request.pull.context);
}

Uint32 numberOf(pugi::xml_node value) {
    Uint32 number = 0;
    valueIn(value.parent(), CIMTYPE_UINT32, false).get(number);
    return number;
}

void readTimeout(Request& request, pugi::xml_node value) { request.pull.timeout = numberOf(value); }

void writeTimeout(XmlWriter& writer, const Request& request) {
    if (request.pull.timeout) {
        writer.value(CIMValue(*request.pull.timeout));
    }
}

void readContinueOnError(Request& request, pugi::xml_node value) {
    request.pull.continueOnError = booleanOf(value);
}

void writeContinueOnError(XmlWriter& writer, const Request& request) {
    writer.value(CIMValue(Boolean(request.pull.continueOnError)));
}

void readMostObjects(Request& request, pugi::xml_node value) {
    request.pull.mostObjects = numberOf(value);
}

void writeMostObjects(XmlWriter& writer, const Request& request) {
    writer.value(CIMValue(request.pull.mostObjects));
}

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

const IntrinsicParameter propertyName = {"PropertyName", true, readPropertyName, writePropertyName};
const IntrinsicParameter newValue = {"NewValue", false, readNewValue, writeNewValue};
const IntrinsicParameter queryLanguage = {"FilterQueryLanguage", false,
                                          readPullText<&PullParameters::queryLanguage>,
                                          writePullText<&PullParameters::queryLanguage>};
const IntrinsicParameter query = {"FilterQuery", false, readPullText<&PullParameters::query>,
                                  writePullText<&PullParameters::query>};
const IntrinsicParameter operationTimeout = {"OperationTimeout", false, readTimeout, writeTimeout};
const IntrinsicParameter continueOnError = {"ContinueOnError", false, readContinueOnError,
                                            writeContinueOnError};
const IntrinsicParameter mostObjects = {"MaxObjectCount", false, readMostObjects, writeMostObjects};
const IntrinsicParameter mostPulled = {"MaxObjectCount", true, readMostObjects, writeMostObjects};
const IntrinsicParameter enumerationContext = {
    "EnumerationContext", true, readPullText<&PullParameters::context>, writeContext};

// An operation that opens an enumeration, with what they all have after their own parameters.
Intrinsic opening(const char* name, Operation operation, std::vector<IntrinsicParameter> own,
                  const IntrinsicResult& result) {
    own.insert(own.end(), {queryLanguage, query, operationTimeout, continueOnError, mostObjects});
    return {name, operation, std::move(own), &result};
}

const std::vector<Intrinsic>& intrinsics() {
    static const std::vector<Intrinsic> all = {
        {"GetClass",
         Operation::GetClass,
         {className, localOnly, qualifiers, classOrigin, properties},
         &results::classes},
        {"EnumerateClasses",
         Operation::EnumerateClasses,
         {anyClassName, deepInheritance, localOnly, qualifiers, classOrigin},
         &results::classes},
        {"EnumerateClassNames",
         Operation::EnumerateClassNames,
         {anyClassName, deepInheritance},
         &results::classNames},
        {"CreateClass", Operation::CreateClass, {newClass}, nullptr},
        {"ModifyClass", Operation::ModifyClass, {modifiedClass}, nullptr},
        {"DeleteClass", Operation::DeleteClass, {className}, nullptr},
        {"GetQualifier", Operation::GetQualifier, {qualifierName}, &results::declarations},
        {"EnumerateQualifiers", Operation::EnumerateQualifiers, {}, &results::declarations},
        {"SetQualifier", Operation::SetQualifier, {qualifierDeclaration}, nullptr},
        {"DeleteQualifier", Operation::DeleteQualifier, {qualifierName}, nullptr},
        {"GetInstance",
         Operation::GetInstance,
         {instanceName, localOnly, qualifiers, classOrigin, properties},
         &results::instance},
        {"EnumerateInstances",
         Operation::EnumerateInstances,
         {className, localOnly, deepInheritance, qualifiers, classOrigin, properties},
         &results::namedInstances},
        {"EnumerateInstanceNames",
         Operation::EnumerateInstanceNames,
         {className},
         &results::instanceNames},
        {"CreateInstance", Operation::CreateInstance, {newInstance}, &results::instanceNames},
        {"ModifyInstance",
         Operation::ModifyInstance,
         {modifiedInstance, qualifiers, properties},
         nullptr},
        {"DeleteInstance", Operation::DeleteInstance, {instanceName}, nullptr},
        {"GetProperty", Operation::GetProperty, {instanceName, propertyName}, &results::openValue},
        {"SetProperty", Operation::SetProperty, {instanceName, propertyName, newValue}, nullptr},
        {"Associators",
         Operation::Associators,
         {objectName, assocClass, resultClass, role, resultRole, qualifiers, classOrigin,
          properties},
         &results::objectsWithPath},
        {"AssociatorNames",
         Operation::AssociatorNames,
         {objectName, assocClass, resultClass, role, resultRole},
         &results::objectPaths},
        {"References",
         Operation::References,
         {objectName, resultClass, role, qualifiers, classOrigin, properties},
         &results::objectsWithPath},
        {"ReferenceNames",
         Operation::ReferenceNames,
         {objectName, resultClass, role},
         &results::objectPaths},
        opening("OpenEnumerateInstances", Operation::OpenEnumerateInstances,
                {className, deepInheritance, classOrigin, properties}, results::instancesWithPath),
        opening("OpenEnumerateInstancePaths", Operation::OpenEnumerateInstancePaths, {className},
                results::instancePaths),
        opening("OpenAssociatorInstances", Operation::OpenAssociatorInstances,
                {instanceName, assocClass, resultClass, role, resultRole, classOrigin, properties},
                results::instancesWithPath),
        opening("OpenAssociatorInstancePaths", Operation::OpenAssociatorInstancePaths,
                {instanceName, assocClass, resultClass, role, resultRole}, results::instancePaths),
        opening("OpenReferenceInstances", Operation::OpenReferenceInstances,
                {instanceName, resultClass, role, classOrigin, properties},
                results::instancesWithPath),
        opening("OpenReferenceInstancePaths", Operation::OpenReferenceInstancePaths,
                {instanceName, resultClass, role}, results::instancePaths),
        {"PullInstancesWithPath",
         Operation::PullInstancesWithPath,
         {enumerationContext, mostPulled},
         &results::instancesWithPath},
        {"PullInstancePaths",
         Operation::PullInstancePaths,
         {enumerationContext, mostPulled},
         &results::instancePaths},
        {"CloseEnumeration", Operation::CloseEnumeration, {enumerationContext}, nullptr},
        {"EnumerationCount", Operation::EnumerationCount, {enumerationContext}, &results::count}};
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
    return strcasecmp(name.c_str(), "ExecQuery") == 0;
}

}  // namespace velmar_wire
