// SPDX-FileCopyrightText: The velmar_remote authors
// SPDX-License-Identifier: MIT

#include "requests/Dispatch.h"

#include <Pegasus/Common/System.h>

#include <optional>
#include <string>

#include "model/Text.h"
#include "providers/Course.h"

using namespace Pegasus;

namespace velmar_embedded {

namespace {

Answer route(Services& services, const Request& request, AnswerSink* sink) {
    switch (request.operation) {
        case Operation::GetClass:
        case Operation::EnumerateClasses:
        case Operation::EnumerateClassNames:
        case Operation::CreateClass:
        case Operation::ModifyClass:
        case Operation::DeleteClass:
        case Operation::GetQualifier:
        case Operation::EnumerateQualifiers:
        case Operation::SetQualifier:
        case Operation::DeleteQualifier:
            return serveClass(services, request);
        case Operation::Associators:
        case Operation::AssociatorNames:
        case Operation::References:
        case Operation::ReferenceNames:
            return serveAssociation(services, request);
        case Operation::InvokeMethod:
            return serveMethod(services, request);
        case Operation::GetProperty:
        case Operation::SetProperty:
            return serveProperty(services, request);
        case Operation::GetInstance:
        case Operation::EnumerateInstances:
        case Operation::EnumerateInstanceNames:
        case Operation::CreateInstance:
        case Operation::ModifyInstance:
        case Operation::DeleteInstance:
            return serveInstance(services, request, sink);
        default:
            return servePull(services, request);
    }
}

}  // namespace

Answer serve(Services& services, const Request& request, AnswerSink* sink) {
    if (!services.notices.wantsSteps()) {
        return route(services, request, sink);
    }
    Answer answer;
    asStep(
        services.notices,
        [&] {
            return stepOf(request, request.fromHandle ? Step::Kind::Upcall : Step::Kind::Request,
                          "", request.path);
        },
        [&] {
            answer = route(services, request, sink);
            return answer.size();
        });
    return answer;
}

Step stepOf(const Request& request, Step::Kind kind, const std::string& provider,
            const CIMObjectPath& path) {
    Step step{kind, operationName(request.operation), provider, "", path, utf8(request.methodName)};
    if (kind != Step::Kind::Call) {
        step.began = request.asked;
    }
    return step;
}

void requireClass(const Services& services, const CIMNamespaceName& nameSpace,
                  const CIMName& className, CIMStatusCode code) {
    if (services.repository.hasClass(nameSpace, className)) {
        return;
    }
    if (!services.repository.hasNamespace(nameSpace)) {
        throw CIMException(CIM_ERR_INVALID_NAMESPACE, nameSpace.getString());
    }
    throw CIMException(code, className.getString());
}

CIMObjectPath providerPath(const Request& request, const CIMName& className,
                           const Array<CIMKeyBinding>& keys) {
    CIMObjectPath path(String(), request.nameSpace, className, keys);
    path.setHost(System::getHostName());  // accepts host names that the constructor refuses
    return path;
}

void checkNesting(const Purpose& purpose, const LoadedProvider& provider) {
    const unsigned depth = Course::current().depth;
    if (depth > Course::depthLimit) {
        throw CIMException(
            CIM_ERR_FAILED,
            String((purpose.text() + " in " + provider.title() + " is nested " +
                    std::to_string(depth) +
                    " requests deep: its providers ask each other, or themselves, without end")
                       .c_str()));
    }
}

void fanOut(Services& services, std::vector<std::function<void()>> tasks, bool plain) {
    std::vector<std::optional<Failure>> failures(tasks.size());
    const Gate::Chain chain = Gate::chain();
    const Course course = Course::current();
    for (size_t i = 0; i < tasks.size(); i++) {
        tasks[i] = [&failure = failures[i], &chain, course, task = std::move(tasks[i])] {
            const Gate::Scope gates(chain);
            const Course::Scope following(course);
            failure = failureOf(task);
        };
    }
    services.workers.runAll(tasks);
    for (const std::optional<Failure>& failure : failures) {
        if (failure && tasks.size() > 1 && (plain || failure->isPlain)) {
            throw PlainError(failure->code, failure->message);
        }
        if (failure) {
            throw failure->exception();
        }
    }
}

}  // namespace velmar_embedded
