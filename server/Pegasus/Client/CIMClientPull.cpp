// SPDX-FileCopyrightText: The velmar_remote authors
// SPDX-License-Identifier: MIT
//
// The pull operations of CIMClient.
#include <Pegasus/Client/CIMClient.h>

#include "client/ClientConnection.h"
#include "client/Operations.h"

namespace velmar_embedded {

struct EnumerationAccess {
    static Pegasus::String& text(Pegasus::CIMEnumerationContext& context) { return context._text; }
    static Pegasus::CIMNamespaceName& nameSpace(Pegasus::CIMEnumerationContext& context) {
        return context._nameSpace;
    }
};

}  // namespace velmar_embedded

namespace Pegasus {

using velmar_embedded::Answer;
using velmar_embedded::ClientConnection;
using velmar_embedded::EnumerationAccess;
using velmar_embedded::Operation;
using velmar_embedded::PullParameters;
using velmar_embedded::Request;
using namespace velmar_embedded::parameters;

namespace {

using Enumeration = CIMEnumerationContext&;
using Text = const String&;
using Number = const Uint32Arg&;

PullParameters pulling(Text language, Text query, Number timeout, Flag continueOnError,
                       Number most) {
    PullParameters pull;
    pull.queryLanguage = language;
    pull.query = query;
    if (!timeout.isNull()) {
        pull.timeout = timeout.getValue();
    }
    pull.continueOnError = continueOnError;
    pull.mostObjects = most.getValue();
    return pull;
}

// A piece of an enumeration; `context` says where that is then.
Answer piece(ClientConnection& connection, const Request& request, Enumeration context, Flag& end) {
    Answer answer = connection.exchange(request);
    if (!answer.continuation) {
        throw CIMClientXmlException(
            String("malformed response: no enumeration context in the answer to ") +
            String(velmar_embedded::operationName(request.operation)));
    }
    EnumerationAccess::text(context) = *answer.continuation;
    EnumerationAccess::nameSpace(context) = request.nameSpace;
    end = answer.continuation->size() == 0;
    return answer;
}

// A request about an enumeration that is open.
Request requestFor(Operation operation, Enumeration context, Number most = Uint32Arg()) {
    PullParameters pull;
    pull.context = EnumerationAccess::text(context);
    pull.mostObjects = most.getValue();
    if (pull.context.size() == 0) {
        throw CIMException(
            CIM_ERR_INVALID_ENUMERATION_CONTEXT,
            String("CIM_ERR_INVALID_ENUMERATION_CONTEXT: the enumeration is not open"));
    }
    return Request(operation, EnumerationAccess::nameSpace(context), CIMName()).pulling(pull);
}

}  // namespace

Array<CIMInstance> CIMClient::openEnumerateInstances(Enumeration context, Flag& end, NameSpace in,
                                                     Name className, Flag deep, Flag origin,
                                                     List list, Text language, Text query,
                                                     Number timeout, Flag continueOnError,
                                                     Number most) {
    return piece(*_connection,
                 Request(Operation::OpenEnumerateInstances, in, className)
                     .inheritance(deep, false)
                     .contents(false, origin, list)
                     .pulling(pulling(language, query, timeout, continueOnError, most)),
                 context, end)
        .instances;
}

Array<CIMObjectPath> CIMClient::openEnumerateInstancePaths(Enumeration context, Flag& end,
                                                           NameSpace in, Name className,
                                                           Text language, Text query,
                                                           Number timeout, Flag continueOnError,
                                                           Number most) {
    return piece(*_connection,
                 Request(Operation::OpenEnumerateInstancePaths, in, className)
                     .pulling(pulling(language, query, timeout, continueOnError, most)),
                 context, end)
        .paths;
}

Array<CIMInstance> CIMClient::openReferenceInstances(Enumeration context, Flag& end, NameSpace in,
                                                     Path path, Name result, Role role, Flag origin,
                                                     List list, Text language, Text query,
                                                     Number timeout, Flag continueOnError,
                                                     Number most) {
    return piece(*_connection,
                 Request(Operation::OpenReferenceInstances, in, path)
                     .association(CIMName(), result, role, String())
                     .contents(false, origin, list)
                     .pulling(pulling(language, query, timeout, continueOnError, most)),
                 context, end)
        .instances;
}

Array<CIMObjectPath> CIMClient::openReferenceInstancePaths(Enumeration context, Flag& end,
                                                           NameSpace in, Path path, Name result,
                                                           Role role, Text language, Text query,
                                                           Number timeout, Flag continueOnError,
                                                           Number most) {
    return piece(*_connection,
                 Request(Operation::OpenReferenceInstancePaths, in, path)
                     .association(CIMName(), result, role, String())
                     .pulling(pulling(language, query, timeout, continueOnError, most)),
                 context, end)
        .paths;
}

Array<CIMInstance> CIMClient::openAssociatorInstances(Enumeration context, Flag& end, NameSpace in,
                                                      Path path, Name by, Name result, Role role,
                                                      Role resultRole, Flag origin, List list,
                                                      Text language, Text query, Number timeout,
                                                      Flag continueOnError, Number most) {
    return piece(*_connection,
                 Request(Operation::OpenAssociatorInstances, in, path)
                     .association(by, result, role, resultRole)
                     .contents(false, origin, list)
                     .pulling(pulling(language, query, timeout, continueOnError, most)),
                 context, end)
        .instances;
}

Array<CIMObjectPath> CIMClient::openAssociatorInstancePaths(
    Enumeration context, Flag& end, NameSpace in, Path path, Name by, Name result, Role role,
    Role resultRole, Text language, Text query, Number timeout, Flag continueOnError, Number most) {
    return piece(*_connection,
                 Request(Operation::OpenAssociatorInstancePaths, in, path)
                     .association(by, result, role, resultRole)
                     .pulling(pulling(language, query, timeout, continueOnError, most)),
                 context, end)
        .paths;
}

Array<CIMInstance> CIMClient::pullInstancesWithPath(Enumeration context, Flag& end, Number most) {
    return piece(*_connection, requestFor(Operation::PullInstancesWithPath, context, most), context,
                 end)
        .instances;
}

Array<CIMObjectPath> CIMClient::pullInstancePaths(Enumeration context, Flag& end, Number most) {
    return piece(*_connection, requestFor(Operation::PullInstancePaths, context, most), context,
                 end)
        .paths;
}

void CIMClient::closeEnumeration(Enumeration context) {
    _connection->exchange(requestFor(Operation::CloseEnumeration, context));
    context = CIMEnumerationContext();
}

Uint64Arg CIMClient::enumerationCount(Enumeration context) {
    const CIMValue count =
        _connection->exchange(requestFor(Operation::EnumerationCount, context)).returnValue;
    if (count.isNull()) {
        return Uint64Arg();
    }
    Uint64 number = 0;
    count.get(number);
    return number;
}

}  // namespace Pegasus
