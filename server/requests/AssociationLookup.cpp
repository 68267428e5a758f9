// SPDX-FileCopyrightText: The velmar_remote authors
// SPDX-License-Identifier: MIT

#include "requests/AssociationLookup.h"

#include <Pegasus/Common/CIMClass.h>
#include <Pegasus/Common/CIMProperty.h>
#include <Pegasus/Common/CIMValue.h>
#include <Pegasus/Common/System.h>

#include <algorithm>

#include "model/Text.h"

using namespace Pegasus;

namespace velmar_embedded {

namespace {

bool contains(const Array<CIMName>& names, const CIMName& name) {
    for (Uint32 i = 0; i < names.size(); i++) {
        if (names[i] == name) {
            return true;
        }
    }
    return false;
}

// Roles are property names; an empty one fits all.
bool fitsRole(const String& role, const CIMName& property) {
    return role.size() == 0 || String::equalNoCase(role, property.getString());
}

bool fitsClass(const Repository& repository, const CIMNamespaceName& nameSpace,
               const CIMName& className, const CIMName& wanted) {
    return wanted.isNull() || (repository.hasClass(nameSpace, className) &&
                               contains(repository.lineage(nameSpace, className), wanted));
}

// Whether a stored reference means the object of the request.
bool means(const CIMObjectPath& stored, const Request& request) {
    const String& host = stored.getHost();
    const CIMNamespaceName& nameSpace = stored.getNameSpace();
    if ((host.size() > 0 && !String::equalNoCase(host, System::getHostName())) ||
        (!nameSpace.isNull() && nameSpace != request.nameSpace)) {
        return false;
    }
    return withoutPlace(stored) == withoutPlace(request.path);
}

struct StoredEnd {
    CIMName property;
    CIMObjectPath path;
};

std::vector<StoredEnd> storedEnds(const CIMConstInstance& instance) {
    std::vector<StoredEnd> ends;
    for (Uint32 i = 0; i < instance.getPropertyCount(); i++) {
        const CIMConstProperty property = instance.getProperty(i);
        if (property.getType() != CIMTYPE_REFERENCE || property.getValue().isNull()) {
            continue;
        }
        StoredEnd end{property.getName(), CIMObjectPath()};
        property.getValue().get(end.path);
        ends.push_back(end);
    }
    return ends;
}

void addFarEnd(const Repository& repository, const Request& request, const CIMObjectPath& path,
               Answer& answer) {
    if (request.operation == Operation::AssociatorNames) {
        answer.paths.append(path);
        return;
    }
    const CIMNamespaceName nameSpace =
        path.getNameSpace().isNull() ? request.nameSpace : path.getNameSpace();
    CIMInstance instance = repository.getInstance(nameSpace, path);
    instance.instanceFilter(true, true, request.propertyList);
    instance.setPath(path);
    answer.objects.append(CIMObject(instance));
}

void addAssociation(const Request& request, CIMInstance instance, Answer& answer) {
    if (request.operation == Operation::ReferenceNames) {
        answer.paths.append(instance.getPath());
        return;
    }
    instance.instanceFilter(true, true, request.propertyList);
    answer.objects.append(CIMObject(instance));
}

}  // namespace

bool isReferences(const Request& request) {
    return request.operation == Operation::References ||
           request.operation == Operation::ReferenceNames;
}

std::vector<AssociationClass> associationClasses(const Repository& repository,
                                                 const Request& request) {
    const CIMName& wanted = isReferences(request) ? request.resultClass : request.associationClass;
    Array<CIMName> names = repository.subclassNames(request.nameSpace, wanted, true);
    if (!wanted.isNull()) {
        names.prepend(repository.lineage(request.nameSpace, wanted)[0]);
    }
    const Array<CIMName> objectClasses =
        repository.lineage(request.nameSpace, request.path.getClassName());
    std::vector<AssociationClass> found;
    for (Uint32 i = 0; i < names.size(); i++) {
        if (!repository.isAssociation(request.nameSpace, names[i])) {
            continue;
        }
        const CIMClass cimClass = repository.getClass(request.nameSpace, names[i]);
        AssociationClass association{names[i], {}};
        for (Uint32 j = 0; j < cimClass.getPropertyCount(); j++) {
            const CIMConstProperty property = cimClass.getProperty(j);
            if (property.getType() == CIMTYPE_REFERENCE) {
                association.ends.push_back(
                    {property.getName(), property.getReferenceClassName(),
                     contains(objectClasses, property.getReferenceClassName())});
            }
        }
        if (std::any_of(association.ends.begin(), association.ends.end(),
                        [](const AssociationEnd& end) { return end.fitsObject; })) {
            found.push_back(association);
        }
    }
    return found;
}

void addStored(const Repository& repository, const Request& request,
               const AssociationClass& association, Answer& answer) {
    const Array<CIMInstance> instances = repository.instances(request.nameSpace, association.name);
    for (Uint32 i = 0; i < instances.size(); i++) {
        const std::vector<StoredEnd> ends = storedEnds(instances[i]);
        for (const StoredEnd& near : ends) {
            if (!fitsRole(request.role, near.property) || !means(near.path, request)) {
                continue;
            }
            if (isReferences(request)) {
                addAssociation(request, instances[i], answer);
                break;
            }
            for (const StoredEnd& far : ends) {
                if (&far != &near && fitsRole(request.resultRole, far.property) &&
                    fitsClass(repository, request.nameSpace, far.path.getClassName(),
                              request.resultClass)) {
                    addFarEnd(repository, request, far.path, answer);
                }
            }
        }
    }
}

std::vector<CIMName> linkedClasses(const Repository& repository, const Request& request,
                                   const std::vector<AssociationClass>& associations) {
    std::vector<CIMName> found;
    auto add = [&found](const CIMName& name) {
        if (std::find(found.begin(), found.end(), name) == found.end()) {
            found.push_back(name);
        }
    };
    for (const AssociationClass& association : associations) {
        for (const AssociationEnd& near : association.ends) {
            if (!near.fitsObject || !fitsRole(request.role, near.property)) {
                continue;
            }
            if (isReferences(request)) {
                add(association.name);
                continue;
            }
            for (const AssociationEnd& far : association.ends) {
                if (&far != &near && fitsRole(request.resultRole, far.property) &&
                    fitsClass(repository, request.nameSpace, far.className, request.resultClass)) {
                    add(far.className);
                }
            }
        }
    }
    return found;
}

}  // namespace velmar_embedded
