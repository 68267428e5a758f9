// SPDX-FileCopyrightText: The velmar_remote authors
// SPDX-License-Identifier: MIT
//
// The pull operations of DSP0200: an enumeration is opened with the whole answer of the operation
// that it pulls, and served from that.
#include <Pegasus/Common/Exception.h>

#include <optional>
#include <utility>

#include "model/Text.h"
#include "requests/Dispatch.h"
#include "requests/Query.h"

using namespace Pegasus;

namespace velmar_embedded {

namespace {

// The operations that an enumeration can be of. A filter wants instances, whatever is pulled.
struct Pulled {
    Operation instances;
    Operation paths;
    bool givesPaths;
};

Pulled pulledBy(Operation operation) {
    switch (operation) {
        case Operation::OpenEnumerateInstances:
        case Operation::OpenEnumerateInstancePaths:
            return {Operation::EnumerateInstances, Operation::EnumerateInstanceNames,
                    operation == Operation::OpenEnumerateInstancePaths};
        case Operation::OpenAssociatorInstances:
        case Operation::OpenAssociatorInstancePaths:
            return {Operation::Associators, Operation::AssociatorNames,
                    operation == Operation::OpenAssociatorInstancePaths};
        default:
            return {Operation::References, Operation::ReferenceNames,
                    operation == Operation::OpenReferenceInstancePaths};
    }
}

void checkCount(const Request& request) {
    const Uint32 most = request.pull.mostObjects;
    if (most > Enumerations::mostObjects) {
        throw CIMException(CIM_ERR_INVALID_PARAMETER,
                           String(("MaxObjectCount " + std::to_string(most) + " is more than " +
                                   std::to_string(Enumerations::mostObjects))
                                      .c_str()));
    }
}

void checkOpen(const Request& request) {
    if (request.pull.continueOnError) {
        throw CIMException(CIM_ERR_NOT_SUPPORTED,
                           String("ContinueOnError = true argument not supported."));
    }
    const Uint32 timeout = request.pull.timeout.value_or(Enumerations::defaultTimeout);
    if (timeout == 0 || timeout > Enumerations::longestTimeout) {
        throw CIMException(
            CIM_ERR_INVALID_OPERATION_TIMEOUT,
            String(("Operation timeout value of " + std::to_string(timeout) + " not allowed.")
                       .c_str()));
    }
    checkCount(request);
    if (pulledBy(request.operation).instances != Operation::EnumerateInstances &&
        request.path.getKeyBindings().size() == 0) {
        throw CIMException(CIM_ERR_INVALID_PARAMETER,
                           request.path.getClassName().getString() +
                               String(": expected the path of an instance, with keys"));
    }
}

std::optional<Query> filterOf(const PullParameters& pull) {
    const bool hasLanguage = pull.queryLanguage.size() > 0;
    if (hasLanguage != (pull.query.size() > 0)) {
        throw CIMException(CIM_ERR_FAILED,
                           hasLanguage
                               ? "filterQueryLanguage parameter without filterQuery parameter"
                               : "filterQuery parameter without filterQueryLanguage parameter");
    }
    if (!hasLanguage) {
        return std::nullopt;
    }
    if (!String::equal(pull.queryLanguage, "DMTF:FQL")) {
        throw CIMException(CIM_ERR_QUERY_LANGUAGE_NOT_SUPPORTED, pull.queryLanguage);
    }
    return Query::ofCondition(utf8(pull.query));
}

// The list with what the filter asks for besides.
CIMPropertyList withNames(const CIMPropertyList& list, const std::vector<CIMName>& names) {
    if (list.isNull()) {
        return list;
    }
    Array<CIMName> all = list.getPropertyNameArray();
    for (const CIMName& name : names) {
        if (!list.contains(name)) {
            all.append(name);
        }
    }
    return CIMPropertyList(all);
}

// Objects are instances; what the filter leaves of them.
Array<CIMInstance> filtered(const Answer& answer, const std::optional<Query>& filter) {
    Array<CIMInstance> left;
    const auto add = [&](const CIMInstance& instance) {
        if (!filter || filter->matches(instance, Query::IsA())) {
            left.append(instance);
        }
    };
    for (Uint32 i = 0; i < answer.instances.size(); i++) {
        add(answer.instances[i]);
    }
    for (Uint32 i = 0; i < answer.objects.size(); i++) {
        add(CIMInstance(answer.objects[i]));
    }
    return left;
}

Answer open(Services& services, const Request& request) {
    checkOpen(request);
    const std::optional<Query> filter = filterOf(request.pull);
    const Pulled pulled = pulledBy(request.operation);
    auto whole = std::make_shared<Request>(request);
    whole->operation = pulled.givesPaths && !filter ? pulled.paths : pulled.instances;
    whole->sent = &request;
    if (filter) {
        whole->propertyList = withNames(request.propertyList, filter->properties());
    }

    const bool isEnumeration = pulled.instances == Operation::EnumerateInstances;
    Answer answer =
        isEnumeration ? serveInstance(services, *whole) : serveAssociation(services, *whole);
    if (filter && !request.propertyList.isNull()) {
        answer.propertyList = request.propertyList;
    }
    answer.instances = filtered(answer, filter);
    answer.objects.clear();
    if (pulled.givesPaths && filter) {
        for (Uint32 i = 0; i < answer.instances.size(); i++) {
            answer.paths.append(answer.instances[i].getPath());
        }
        answer.instances.clear();
    }
    answer.enumeration = std::move(whole);
    return services.enumerations.open(std::move(answer), request.pull.mostObjects);
}

}  // namespace

Answer servePull(Services& services, const Request& request) {
    Answer answer;
    switch (request.operation) {
        case Operation::PullInstancesWithPath:
        case Operation::PullInstancePaths:
            checkCount(request);
            return services.enumerations.pull(request);
        case Operation::CloseEnumeration:
            services.enumerations.close(request);
            return answer;
        case Operation::EnumerationCount:
            answer.returnValue = CIMValue(services.enumerations.count(request));
            return answer;
        default:
            return open(services, request);
    }
}

}  // namespace velmar_embedded
