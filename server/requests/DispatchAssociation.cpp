// SPDX-FileCopyrightText: The velmar_remote authors
// SPDX-License-Identifier: MIT
//
// The association operations: about an instance, to the provider of every association class that
// counts, and to the stored associations; about a class, to the schema alone.
#include <Pegasus/Common/System.h>
#include <Pegasus/Provider/CIMAssociationProvider.h>

#include <mutex>

#include "requests/AssociationLookup.h"
#include "requests/Collectors.h"
#include "requests/Dispatch.h"

using namespace Pegasus;

namespace velmar_embedded {

namespace {

void checkRole(const String& role) {
    if (role.size() == 0 || CIMName::legal(role)) {
        return;
    }
    String message("role ");
    message.append(role);
    throw CIMException(CIM_ERR_INVALID_PARAMETER, message);
}

void checkRequest(const Services& services, const Request& request) {
    if (request.path.getClassName().isNull()) {
        throw CIMException(CIM_ERR_INVALID_PARAMETER, String());
    }
    checkRole(request.role);
    checkRole(request.resultRole);
    requireClass(services, request.nameSpace, request.path.getClassName(),
                 CIM_ERR_INVALID_PARAMETER);
    if (!request.associationClass.isNull()) {
        requireClass(services, request.nameSpace, request.associationClass,
                     CIM_ERR_INVALID_PARAMETER);
    }
    if (!request.resultClass.isNull()) {
        requireClass(services, request.nameSpace, request.resultClass,
                     isReferences(request) ? CIM_ERR_INVALID_PARAMETER : CIM_ERR_INVALID_CLASS);
    }
}

void callForObjects(Services& services, LoadedProvider& provider, const Request& request,
                    const CIMObjectPath& path, const CIMName& association, Answer& answer) {
    ObjectCollector handler;
    callProvider<CIMAssociationProvider>(
        services, provider, request, path, association, handler, answer, [&](auto& object) {
            if (request.operation == Operation::Associators) {
                object.associators(request.context, path, association, request.resultClass,
                                   request.role, request.resultRole, request.includeQualifiers,
                                   request.includeClassOrigin, request.propertyList, handler);
            } else {
                object.references(request.context, path, association, request.role,
                                  request.includeQualifiers, request.includeClassOrigin,
                                  request.propertyList, handler);
            }
        });
    answer.objects = handler.items();
}

void callForPaths(Services& services, LoadedProvider& provider, const Request& request,
                  const CIMObjectPath& path, const CIMName& association, Answer& answer) {
    PathCollector handler;
    callProvider<CIMAssociationProvider>(
        services, provider, request, path, association, handler, answer, [&](auto& object) {
            if (request.operation == Operation::AssociatorNames) {
                object.associatorNames(request.context, path, association, request.resultClass,
                                       request.role, request.resultRole, handler);
            } else {
                object.referenceNames(request.context, path, association, request.role, handler);
            }
        });
    answer.paths = handler.items();
}

bool wantsNames(const Request& request) {
    return request.operation == Operation::AssociatorNames ||
           request.operation == Operation::ReferenceNames;
}

// Fills in what a path lacks of host and namespace; false if nothing.
bool complete(CIMObjectPath& path, const Request& request) {
    const bool lacksHost = path.getHost().size() == 0;
    const bool lacksNameSpace = path.getNameSpace().isNull();
    if (lacksHost) {
        path.setHost(System::getHostName());
    }
    if (lacksNameSpace) {
        path.setNameSpace(request.nameSpace);
    }
    return lacksHost || lacksNameSpace;
}

// Completes the delivered object itself, which its provider may have delivered to another request
// at the same time: the second one must find it complete, not in the making.
void complete(CIMObject object, const Services& services, const Request& request) {
    CIMNamespaceName nameSpace;
    {
        std::lock_guard<std::mutex> guard(deliveredPathLock());
        CIMObjectPath path = object.getPath();
        if (complete(path, request)) {
            object.setPath(path);
        }
        nameSpace = path.getNameSpace();
    }
    if (!services.repository.hasNamespace(nameSpace)) {
        throw CIMException(CIM_ERR_INVALID_NAMESPACE, nameSpace.getString());
    }
}

void addPart(const Answer& part, const Services& services, const Request& request, Answer& whole) {
    whole.guards.insert(whole.guards.end(), part.guards.begin(), part.guards.end());
    for (Uint32 i = 0; i < part.objects.size(); i++) {
        complete(part.objects[i], services, request);
        whole.objects.append(part.objects[i]);
    }
    for (Uint32 i = 0; i < part.paths.size(); i++) {
        CIMObjectPath path = part.paths[i];
        complete(path, request);
        whole.paths.append(path);
    }
}

Answer serveClassLinks(Services& services, const Request& request,
                       const std::vector<AssociationClass>& associations) {
    Answer answer;
    for (const CIMName& name : linkedClasses(services.repository, request, associations)) {
        const CIMObjectPath path = providerPath(request, name);
        if (wantsNames(request)) {
            answer.paths.append(path);
        } else {
            CIMClass cimClass = classFor(services, request, name);
            cimClass.setPath(path);
            answer.objects.append(CIMObject(cimClass));
        }
    }
    return answer;
}

}  // namespace

Answer serveAssociation(Services& services, const Request& request) {
    checkRequest(services, request);
    const std::vector<AssociationClass> associations =
        associationClasses(services.repository, request);
    if (request.path.getKeyBindings().size() == 0) {
        return serveClassLinks(services, request, associations);
    }

    const CIMObjectPath path =
        providerPath(request, request.path.getClassName(), request.path.getKeyBindings());
    std::vector<Answer> parts(associations.size());
    std::vector<std::function<void()>> calls;
    for (size_t i = 0; i < associations.size(); i++) {
        const CIMName& name = associations[i].name;
        LoadedProvider* provider =
            services.registry.find(request.nameSpace, name, ProviderType::Association);
        if (!provider) {
            continue;
        }
        calls.push_back([&, provider, &part = parts[i]] {
            (wantsNames(request) ? callForPaths : callForObjects)(services, *provider, request,
                                                                  path, name, part);
        });
    }
    fanOut(services, std::move(calls), false);

    Answer whole;
    whole.propertyList = request.propertyList;
    Answer stored;
    for (size_t i = 0; i < associations.size(); i++) {
        addPart(parts[i], services, request, whole);
        addStored(services.repository, request, associations[i], stored);
    }
    addPart(stored, services, request, whole);
    return whole;
}

}  // namespace velmar_embedded
