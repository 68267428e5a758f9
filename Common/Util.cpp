// SPDX-FileCopyrightText: The velmar_remote authors
// SPDX-License-Identifier: MIT

#include "Util.h"

#include <Pegasus/Client/CIMClient.h>
#include <Pegasus/Common/CIMProperty.h>
#include <Pegasus/Common/System.h>
#include <arpa/inet.h>
#include <netdb.h>
#include <string.h>

#include "Internal.h"
#include "UtilInternal.h"

using namespace Pegasus;

namespace velmar_remote {

Uint32 PathHashFunc::hash(const CIMObjectPath& ref) {
    return HashFunc<String>::hash(ref.toString());
}

// ---- Paths, keys, properties, parameters ----------------------------------------------------

CIMObjectPath localize(const CIMObjectPath& instanceReference) {
    // A path that is given an array of bindings sorts it and rewrites its references in place. The
    // input's own array may belong to a path that other threads are reading, so copy its elements.
    const Array<CIMKeyBinding>& given = instanceReference.getKeyBindings();
    const Array<CIMKeyBinding> keys(given.getData(), given.size());
    return CIMObjectPath(String(), CIMNamespaceName(), instanceReference.getClassName(), keys);
}

CIMValue findKey(const Array<CIMKeyBinding>& keys, const CIMName& keyName) {
    for (Uint32 i = 0; i < keys.size(); i++) {
        if (keys[i].getName() == keyName) {
            return CIMValue(keys[i].getValue());
        }
    }
    return CIMValue();
}

CIMValue getValue(const CIMInstance& inst, const CIMName& propertyName) {
    if (inst.isUninitialized()) {
        return CIMValue();
    }
    const CIMValue key = findKey(inst.getPath().getKeyBindings(), propertyName);
    if (!key.isNull()) {
        return key;
    }
    const Uint32 index = inst.findProperty(propertyName);
    return index == PEG_NOT_FOUND ? CIMValue() : inst.getProperty(index).getValue();
}

char* getCharPtr(const CIMInstance& inst, const String& propertyName) {
    const CIMValue value = getValue(inst, CIMName(propertyName));
    String text;
    if (!value.isNull()) {
        value.get(text);
    }
    return strdup(text.getCString());
}

CIMValue findParam(const Array<CIMParamValue>& inParameters, const String& paramName) {
    for (Uint32 i = 0; i < inParameters.size(); i++) {
        if (inParameters[i].getParameterName() == paramName) {
            return inParameters[i].getValue();
        }
    }
    return CIMValue();
}

Boolean findClass(const Array<CIMClass>& classes, const CIMName& className) {
    for (Uint32 i = 0; i < classes.size(); i++) {
        if (classes[i].getClassName() == className) {
            return true;
        }
    }
    return classes.size() == 0;
}

Boolean isClass(const CIMObjectPath& path) { return path.getKeyBindings().size() == 0; }

Boolean emptyOrEqual(const String& str1, const String& str2) {
    return str1 == String::EMPTY || str1 == str2;
}

Boolean needsProperty(const CIMInstance& instance, const CIMName& property, const CIMPropertyList&,
                      const Boolean& clobber) {
    return clobber || instance.findProperty(property) == PEG_NOT_FOUND;
}

void deleteProp(CIMInstance& inst, const CIMName& propertyName) {
    const Uint32 index = inst.findProperty(propertyName);
    if (index != PEG_NOT_FOUND) {
        inst.removeProperty(index);
    }
}

void replaceProp(CIMInstance& inst, const CIMName& propertyName, const CIMValue& value) {
    // The caller may have taken either from the property that goes.
    const CIMName name(propertyName);
    const CIMValue copy(value);
    deleteProp(inst, name);
    addProperty(inst, name, copy);
}

void addNullValue(CIMInstance& inst, CIMName property, CIMType type, Boolean isArray) {
    if (needsProperty(inst, property, CIMPropertyList(), false)) {
        CIMValue value;
        value.setNullValue(type, isArray, 0);
        addProperty(inst, property, value);
    }
}

Array<CIMInstance> flatten(const Array<Array<CIMInstance>>& groups) {
    Array<CIMInstance> all;
    for (Uint32 i = 0; i < groups.size(); i++) {
        all.appendArray(groups[i]);
    }
    return all;
}

// ---- Class hierarchy -------------------------------------------------------------------------

Array<CIMClass> getSubclasses(CIMOMHandle& cimom, const OperationContext& context,
                              const CIMName& className) {
    Array<CIMClass> classes;
    if (className.isNull()) {
        return classes;
    }
    classes = cimom.enumerateClasses(context, cimNamespace(), className, true, false, true, true);
    const CIMClass self =
        cimom.getClass(context, cimNamespace(), className, false, true, true, CIMPropertyList());
    classes.prepend(self);
    return classes;
}

Boolean matches(CIMOMHandle& cimom, const OperationContext& context, const CIMObjectPath& a,
                const CIMObjectPath& b) {
    if (isClass(a)) {
        return findClass(getSubclasses(cimom, context, a.getClassName()), b.getClassName());
    }
    return a == b;
}

CIMObjectPath associatorName(CIMOMHandle& cimom, const OperationContext& context,
                             const CIMNamespaceName& nameSpace, const CIMObjectPath& objectName,
                             const CIMName& assocClass, const CIMName& resultClass,
                             const String& role, const String& resultRole) {
    const Array<CIMObjectPath> paths = cimom.associatorNames(
        context, nameSpace, objectName, assocClass, resultClass, role, resultRole);
    return paths.size() > 0 ? paths[0] : CIMObjectPath();
}

// ---- Association instances -------------------------------------------------------------------

void createAssociation(CIMOMHandle& cimom, const OperationContext& context,
                       const CIMName& assocClassName, const String& leftPropertyName,
                       const CIMObjectPath& leftPath, const String& rightPropertyName,
                       const CIMObjectPath& rightPath) {
    const CIMName left(leftPropertyName);
    const CIMName right(rightPropertyName);
    Array<CIMKeyBinding> keys;
    keys.append(CIMKeyBinding(left, CIMValue(leftPath)));
    keys.append(CIMKeyBinding(right, CIMValue(rightPath)));
    CIMInstance association(assocClassName);
    CIMObjectPath path(String(), cimNamespace(), assocClassName, keys);
    path.setHost(System::getHostName());  // setHost takes the local host's name in any form
    association.setPath(path);
    // A server rebuilds keys from properties, so both must say the same.
    addProperty(association, left, CIMValue(leftPath));
    addProperty(association, right, CIMValue(rightPath));
    cimom.createInstance(context, cimNamespace(), association);
}

void deleteAssociatedInstances(CIMOMHandle& cimom, const OperationContext& context,
                               const CIMObjectPath& instanceReference, const CIMName& assocClass) {
    const Array<CIMObjectPath> paths =
        cimom.associatorNames(context, cimNamespace(), instanceReference, assocClass, CIMName(),
                              String::EMPTY, String::EMPTY);
    for (Uint32 i = 0; i < paths.size(); i++) {
        cimom.deleteInstance(context, cimNamespace(), paths[i]);
    }
}

void moveProp(Array<CIMInstance>& from, const CIMName& fromProp, Array<CIMInstance>& to,
              const CIMName& toProp, pathHT table) {
    // The caller may have taken them from properties that go.
    const CIMName source(fromProp);
    const CIMName target(toProp);
    for (Uint32 i = 0; i < from.size(); i++) {
        const CIMObjectPath targetPath = localize(from[i].getPath());
        Uint32 index = 0;
        if (!table.lookup(targetPath, index)) {
            continue;
        }
        const CIMValue value = getValue(from[i], source);
        replaceProp(to[index], target, value);
        // Written back to where it came from: deleting it would lose it.
        if (localize(to[index].getPath()) == targetPath && source == target) {
            continue;
        }
        deleteProp(from[i], source);
    }
}

// ---- Systems by hardware control point -------------------------------------------------------

namespace {

const char SYSTEM_COMPONENT[] = "QOR_SystemComponent";
const char CONTROL_POINT[] = "QOR_HWCtrlPoint";

}  // namespace

CIMObjectPath domainOf(CIMOMHandle& cimom, const OperationContext& context,
                       const CIMObjectPath& system) {
    return associatorName(cimom, context, cimNamespace(), system, CIMName(SYSTEM_COMPONENT),
                          CIMName("QOR_MAPAdminDomain"), "PartComponent", "GroupComponent");
}

CIMObjectPath controlPointOf(CIMOMHandle& cimom, const OperationContext& context,
                             const CIMObjectPath& domain) {
    return associatorName(cimom, context, cimNamespace(), domain, CIMName(SYSTEM_COMPONENT),
                          CIMName(CONTROL_POINT), "GroupComponent", "PartComponent");
}

namespace {

// An upcall inside the server returns the handles of the serving provider's cache.
CIMInstance cloneWithPath(const CIMInstance& instance, const CIMObjectPath& path) {
    CIMInstance copy = instance.clone();
    copy.setPath(path);
    return copy;
}

Array<CIMInstance> oneGroup(const CIMInstance& controlPoint, const Array<CIMInstance>& instances,
                            Array<Array<CIMInstance>>& groups, Array<CIMInstance>& ungrouped) {
    Array<CIMInstance> controlPoints;
    CIMObjectPath path = controlPoint.getPath();
    path.setHost(System::getHostName());
    path.setNameSpace(cimNamespace());
    const CIMInstance located = cloneWithPath(controlPoint, path);
    if (instances.size() > 0) {
        const Array<CIMInstance> group(instances);  // `instances` may be one of the outputs
        groups.append(group);
        controlPoints.append(located);
    } else {
        groups = Array<Array<CIMInstance>>();
    }
    ungrouped = Array<CIMInstance>();
    return controlPoints;
}

Uint32 findPath(const Array<CIMInstance>& instances, const CIMObjectPath& path) {
    for (Uint32 i = 0; i < instances.size(); i++) {
        if (instances[i].getPath() == path) {
            return i;
        }
    }
    return PEG_NOT_FOUND;
}

}  // namespace

Array<CIMInstance> groupByHCP(CIMOMHandle& cimom, const OperationContext& context,
                              const Array<CIMInstance>& instances,
                              Array<Array<CIMInstance>>& groups, Array<CIMInstance>& ungrouped) {
    TraceScope trace(__FILE__, __LINE__, "Util::groupByHCP");
    const Array<CIMInstance> known =
        cimom.enumerateInstances(context, cimNamespace(), CIMName(CONTROL_POINT), true, false,
                                 false, false, CIMPropertyList());
    if (known.size() == 1) {
        return oneGroup(known[0], instances, groups, ungrouped);
    }

    Array<CIMName> names;
    names.append(CIMName("NetworkAddress"));
    const CIMPropertyList addressOnly(names);
    Array<Array<CIMInstance>> found;
    Array<CIMInstance> without;
    Array<CIMInstance> controlPoints;
    for (Uint32 i = 0; i < instances.size(); i++) {
        const CIMObjectPath domain = domainOf(cimom, context, instances[i].getPath());
        const CIMObjectPath path =
            isEmpty(domain) ? domain : controlPointOf(cimom, context, domain);
        if (isEmpty(path)) {
            without.append(instances[i]);
            continue;
        }
        const Uint32 group = findPath(controlPoints, path);
        if (group != PEG_NOT_FOUND) {
            found[group].append(instances[i]);
            continue;
        }
        found.append(Array<CIMInstance>(1, instances[i]));
        const CIMInstance controlPoint =
            cimom.getInstance(context, cimNamespace(), path, false, false, false, addressOnly);
        controlPoints.append(cloneWithPath(controlPoint, path));
    }
    groups = found;
    ungrouped = without;
    return controlPoints;
}

// ---- Alerts ----------------------------------------------------------------------------------

void sendIndication(CIMOMHandle&, const OperationContext&, const CIMObjectPath& alertingObjectPath,
                    const CIMName& indicationClassName, Array<CIMParamValue>& params) {
    TraceScope trace(__FILE__, __LINE__, "sendIndication");
    const String element = localize(alertingObjectPath).toString();
    PEG_TRACE((TRACE_COMPONENT, Tracer::LEVEL3,
               "Sending Indication: [AlertingManagedElement=%s] [IndicationType=%s]",
               (const char*)element.getCString(),
               (const char*)indicationClassName.getString().getCString()));
    CIMObjectPath indicationClassPath(String(), cimNamespace(), indicationClassName);
    indicationClassPath.setHost(System::getHostName());
    params.append(CIMParamValue("AlertingManagedElement", CIMValue(element)));
    Array<CIMParamValue> outParams;
    CIMClient client;
    client.connectLocal();
    client.invokeMethod(cimNamespace(), indicationClassPath, CIMName("send"), params, outParams);
    client.disconnect();
}

// ---- Strings and host ------------------------------------------------------------------------

String tr(const String& str, const Char16& from, const Char16& to) {
    String result;
    result.reserveCapacity(str.size());
    for (Uint32 i = 0; i < str.size(); i++) {
        const Char16 c = str[i];
        if (c != from) {
            result.append(c);
        } else if (to != Char16(0)) {
            result.append(to);
        }
    }
    return result;
}

Array<String> splitString(const String& str, const char delim) {
    const Char16 delimiter(static_cast<unsigned char>(delim));  // char may be signed
    const Uint32 size = str.size();
    Array<String> pieces;
    Uint32 lastPos = 0;
    Uint32 pos;
    do {
        pos = str.find(lastPos, delimiter);
        if (pos == PEG_NOT_FOUND) {
            pos = size;
        }
        pieces.append(str.subString(lastPos, pos - lastPos));
        lastPos = pos + 1;
    } while (pos != size && lastPos != size);
    return pieces;
}

Boolean splitSysName(const String& sysName, String& LPARID, String& Type, String& Model,
                     String& SerialNum) {
    const Array<String> fields = splitString(sysName, '*');
    if (fields.size() != 3) {
        return false;
    }
    LPARID = fields[0];
    const Array<String> typeModel = splitString(fields[1], '-');
    if (typeModel.size() == 2) {
        Type = typeModel[0];
        Model = typeModel[1];
    }
    SerialNum = fields[2];
    return true;
}

String getIPAddr() {
    const hostent* host = gethostbyname(System::getHostName().getCString());
    if (host == nullptr || host->h_addrtype != AF_INET || host->h_addr_list[0] == nullptr) {
        return String();
    }
    in_addr address;
    memcpy(&address, host->h_addr_list[0], sizeof address);
    return String(inet_ntoa(address));
}

}  // namespace velmar_remote
