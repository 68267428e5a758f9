// SPDX-FileCopyrightText: The velmar_remote authors
// SPDX-License-Identifier: MIT
//
// The class operations: all answered by the schema.
#include "model/CIMReps.h"
#include "requests/Dispatch.h"

using namespace Pegasus;

namespace velmar_embedded {

namespace {

template <class Feature>
void dropQualifiers(Feature&& feature) {
    while (feature.getQualifierCount() > 0) {
        feature.removeQualifier(feature.getQualifierCount() - 1);
    }
}

void dropAllQualifiers(CIMClass& cimClass) {
    dropQualifiers(cimClass);
    for (Uint32 i = 0; i < cimClass.getPropertyCount(); i++) {
        dropQualifiers(cimClass.getProperty(i));
    }
    for (Uint32 i = 0; i < cimClass.getMethodCount(); i++) {
        CIMMethod method = cimClass.getMethod(i);
        dropQualifiers(method);
        for (Uint32 j = 0; j < method.getParameterCount(); j++) {
            dropQualifiers(method.getParameter(j));
        }
    }
}

void dropClassOrigins(CIMClass& cimClass) {
    for (Uint32 i = 0; i < cimClass.getPropertyCount(); i++) {
        cimClass.getProperty(i).setClassOrigin(CIMName());
    }
    for (Uint32 i = 0; i < cimClass.getMethodCount(); i++) {
        cimClass.getMethod(i).setClassOrigin(CIMName());
    }
}

void dropFeatures(CIMClass& cimClass, bool localOnly, const CIMPropertyList& properties) {
    for (Uint32 i = cimClass.getPropertyCount(); i-- > 0;) {
        const CIMProperty property = cimClass.getProperty(i);
        if ((localOnly && property.getPropagated()) ||
            (!properties.isNull() && !properties.contains(property.getName()))) {
            cimClass.removeProperty(i);
        }
    }
    for (Uint32 i = cimClass.getMethodCount(); localOnly && i-- > 0;) {
        if (cimClass.getMethod(i).getPropagated()) {
            cimClass.removeMethod(i);
        }
    }
    for (Uint32 i = cimClass.getQualifierCount(); localOnly && i-- > 0;) {
        if (HandleAccess::rep(cimClass.getQualifier(i))->propagated) {
            cimClass.removeQualifier(i);
        }
    }
}

QualifierDeclaration qualifierOf(const Services& services, const Request& request) {
    QualifierDeclaration declared;
    if (!services.repository.findQualifier(request.nameSpace, request.qualifier.name, declared)) {
        throw CIMException(CIM_ERR_NOT_FOUND, request.qualifier.name.getString());
    }
    return declared;
}

}  // namespace

CIMClass classFor(const Services& services, const Request& request, const CIMName& className) {
    CIMClass cimClass = services.repository.getClass(request.nameSpace, className);
    dropFeatures(cimClass, request.localOnly, request.propertyList);
    if (!request.includeQualifiers) {
        dropAllQualifiers(cimClass);
    }
    if (!request.includeClassOrigin) {
        dropClassOrigins(cimClass);
    }
    cimClass.setPath(CIMObjectPath(String(), CIMNamespaceName(), cimClass.getClassName()));
    return cimClass;
}

Answer serveClass(Services& services, const Request& request) {
    Answer answer;
    const CIMName& className = request.path.getClassName();
    switch (request.operation) {
        case Operation::GetClass:
            answer.classes.append(classFor(services, request, className));
            break;
        case Operation::CreateClass:
            services.repository.createClass(request.nameSpace, request.cimClass);
            break;
        case Operation::ModifyClass:
            services.repository.modifyClass(request.nameSpace, request.cimClass);
            break;
        case Operation::DeleteClass:
            services.repository.deleteClass(request.nameSpace, className);
            break;
        case Operation::GetQualifier:
            answer.qualifiers.push_back(qualifierOf(services, request));
            break;
        case Operation::EnumerateQualifiers:
            answer.qualifiers = services.repository.qualifiers(request.nameSpace);
            break;
        case Operation::SetQualifier:
            services.repository.declareQualifier(request.nameSpace, request.qualifier);
            break;
        case Operation::DeleteQualifier:
            services.repository.deleteQualifier(request.nameSpace, request.qualifier.name);
            break;
        default:
            answer.names = services.repository.subclassNames(request.nameSpace, className,
                                                             request.deepInheritance);
            for (Uint32 i = 0;
                 request.operation == Operation::EnumerateClasses && i < answer.names.size(); i++) {
                answer.classes.append(classFor(services, request, answer.names[i]));
            }
            break;
    }
    return answer;
}

}  // namespace velmar_embedded
