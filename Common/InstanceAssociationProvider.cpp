#include "InstanceAssociationProvider.h"

#include <Pegasus/Client/CIMClient.h>
#include <Pegasus/Common/CIMClass.h>
#include <Pegasus/Common/Exception.h>

#include "Internal.h"
#include "Util.h"

using namespace Pegasus;

namespace velmar_remote {

namespace {

void requireRole(const String& role, const String& left, const String& right,
                 const char* complaint) {
    if (!emptyOrEqual(role, left) && !emptyOrEqual(role, right)) {
        throw CIMException(CIM_ERR_INVALID_PARAMETER, complaint);
    }
}

CIMObjectPath parseEnd(const CIMValue& value) {
    String text;
    value.get(text);
    return CIMObjectPath(text);
}

// Every instance, or every name, of the class that a class-path end stands for.
void deliverClassEnd(CIMOMHandle& cimom, const OperationContext& context, const CIMObjectPath& end,
                     ObjectPathResponseHandler* pathHandler, ObjectResponseHandler* instHandler,
                     Boolean includeQualifiers, Boolean includeClassOrigin,
                     const CIMPropertyList& propertyList) {
    if (instHandler == nullptr) {
        const Array<CIMObjectPath> names =
            cimom.enumerateInstanceNames(context, cimNamespace(), end.getClassName());
        if (names.size() > 0) {
            pathHandler->deliver(names);
        }
        return;
    }
    const Array<CIMInstance> instances =
        cimom.enumerateInstances(context, cimNamespace(), end.getClassName(), false, false,
                                 includeQualifiers, includeClassOrigin, propertyList);
    for (Uint32 i = 0; i < instances.size(); i++) {
        instHandler->deliver(CIMObject(instances[i]));
    }
}

// The instance at a keyed end. Asked through a client, not through the provider's handle: the end
// may be served by a provider that makes upcalls of its own.
void deliverKeyedEnd(const CIMObjectPath& end, ObjectResponseHandler& handler,
                     Boolean includeQualifiers, Boolean includeClassOrigin,
                     const CIMPropertyList& propertyList) {
    CIMClient client;
    client.connectLocal();
    const Array<CIMInstance> instances =
        client.enumerateInstances(cimNamespace(), end.getClassName(), true, false,
                                  includeQualifiers, includeClassOrigin, propertyList);
    const CIMObjectPath wanted = localize(end);
    for (Uint32 i = 0; i < instances.size(); i++) {
        if (instances[i].getPath() == wanted) {
            handler.deliver(CIMObject(instances[i]));
            break;
        }
    }
    client.disconnect();
}

}  // namespace

InstanceAssociationProvider::InstanceAssociationProvider() { _cache.setIsAP(); }

InstanceAssociationProvider::InstanceAssociationProvider(const String& CIMClassName,
                                                         const String& leftPropertyName,
                                                         const String& leftClassName,
                                                         const String& rightPropertyName,
                                                         const String& rightClassName)
    : CachedInstanceProvider(CIMClassName),
      _leftClassName(leftClassName),
      _rightClassName(rightClassName),
      _leftPropertyName(leftPropertyName),
      _rightPropertyName(rightPropertyName) {
    _cache.setIsAP();
}

InstanceAssociationProvider::~InstanceAssociationProvider() {}

void InstanceAssociationProvider::associators(
    const OperationContext& context, const CIMObjectPath& objectName,
    const CIMName& associationClass, const CIMName& resultClass, const String& role,
    const String& resultRole, Boolean includeQualifiers, Boolean includeClassOrigin,
    const CIMPropertyList&, ObjectResponseHandler& handler) {
    TraceScope trace(__FILE__, __LINE__, "InstanceAssociationProvider::associators");
    handler.processing();
    go(context, objectName, associationClass, resultClass, role, resultRole, true, true, nullptr,
       &handler, includeQualifiers, includeClassOrigin, CIMPropertyList());
    handler.complete();
}

void InstanceAssociationProvider::associatorNames(
    const OperationContext& context, const CIMObjectPath& objectName,
    const CIMName& associationClass, const CIMName& resultClass, const String& role,
    const String& resultRole, ObjectPathResponseHandler& handler) {
    TraceScope trace(__FILE__, __LINE__, "InstanceAssociationProvider::associatorNames");
    handler.processing();
    go(context, objectName, associationClass, resultClass, role, resultRole, false, true, &handler,
       nullptr, false, false, CIMPropertyList());
    handler.complete();
}

void InstanceAssociationProvider::references(
    const OperationContext& context, const CIMObjectPath& objectName, const CIMName& resultClass,
    const String& role, Boolean includeQualifiers, Boolean includeClassOrigin,
    const CIMPropertyList& propertyList, ObjectResponseHandler& handler) {
    TraceScope trace(__FILE__, __LINE__, "InstanceAssociationProvider::references");
    handler.processing();
    go(context, objectName, CIMName(), resultClass, role, String(), true, false, nullptr, &handler,
       includeQualifiers, includeClassOrigin, propertyList);
    handler.complete();
}

void InstanceAssociationProvider::referenceNames(const OperationContext& context,
                                                 const CIMObjectPath& objectName,
                                                 const CIMName& resultClass, const String& role,
                                                 ObjectPathResponseHandler& handler) {
    TraceScope trace(__FILE__, __LINE__, "InstanceAssociationProvider::referenceNames");
    handler.processing();
    go(context, objectName, CIMName(), resultClass, role, String(), false, false, &handler, nullptr,
       false, false, CIMPropertyList());
    handler.complete();
}

void InstanceAssociationProvider::go(const OperationContext& context,
                                     const CIMObjectPath& objectName, const CIMName&,
                                     const CIMName& resultClass, const String& role,
                                     const String& resultRole, Boolean inst, Boolean associators,
                                     ObjectPathResponseHandler* pathHandler,
                                     ObjectResponseHandler* instHandler, Boolean includeQualifiers,
                                     Boolean includeClassOrigin,
                                     const CIMPropertyList& propertyList) {
    TraceScope trace(__FILE__, __LINE__, "InstanceAssociationProvider::go");
    requireRole(role, _leftPropertyName, _rightPropertyName, "invalid role");
    requireRole(resultRole, _leftPropertyName, _rightPropertyName, "invalid resultRole");

    Array<CIMInstance> instances;
    _cache.getInstances(instances);
    const Array<CIMClass> resultClasses = getSubclasses(_cimom, context, resultClass);
    if (instances.size() == 0) {
        return;  // before the names are needed, which a default-constructed object may lack
    }
    const CIMName leftName(_leftPropertyName);
    const CIMName rightName(_rightPropertyName);
    Array<CIMObjectPath> deliverPaths;
    for (Uint32 i = 0; i < instances.size(); i++) {
        CIMInstance instance = instances[i];
        const CIMObjectPath path = instance.getPath();
        const Array<CIMKeyBinding>& keys = path.getKeyBindings();
        const CIMValue leftValue = findKey(keys, leftName);
        const CIMValue rightValue = findKey(keys, rightName);
        if (leftValue.isNull() || rightValue.isNull()) {
            continue;
        }
        const CIMObjectPath left = parseEnd(leftValue);
        const CIMObjectPath right = parseEnd(rightValue);

        if (associators) {
            if (matches(_cimom, context, left, objectName) &&
                emptyOrEqual(role, _leftPropertyName) &&
                emptyOrEqual(resultRole, _rightPropertyName)) {
                if (findClass(resultClasses, right.getClassName())) {
                    deliverPaths.append(right);
                }
            } else if (matches(_cimom, context, right, objectName) &&
                       emptyOrEqual(role, _rightPropertyName) &&
                       emptyOrEqual(resultRole, _leftPropertyName)) {
                if (findClass(resultClasses, left.getClassName())) {
                    deliverPaths.append(left);
                }
            }
            continue;
        }

        const Boolean qualifies = (matches(_cimom, context, left, objectName) &&
                                   emptyOrEqual(role, _leftPropertyName)) ||
                                  (matches(_cimom, context, right, objectName) &&
                                   emptyOrEqual(role, _rightPropertyName));
        if (!qualifies || !findClass(resultClasses, path.getClassName())) {
            continue;
        }
        if (inst) {
            fillProperties(context, instance, propertyList);
            instHandler->deliver(CIMObject(instance));
        } else {
            pathHandler->deliver(path);
        }
    }

    for (Uint32 i = 0; i < deliverPaths.size(); i++) {
        const CIMObjectPath& end = deliverPaths[i];
        if (isClass(end)) {
            deliverClassEnd(_cimom, context, end, pathHandler, instHandler, includeQualifiers,
                            includeClassOrigin, propertyList);
        } else if (inst) {
            deliverKeyedEnd(end, *instHandler, includeQualifiers, includeClassOrigin, propertyList);
        } else {
            pathHandler->deliver(end);
        }
    }
}

}  // namespace velmar_remote
