// SPDX-FileCopyrightText: The velmar_remote authors
// SPDX-License-Identifier: MIT
//
// Serves requests on worker threads: routes them to providers and to the schema.
//
// The functions are thread-safe and throw what goes wrong; the worker turns that into a Failure.
#ifndef VELMAR_EMBEDDED_REQUESTS_DISPATCH_H
#define VELMAR_EMBEDDED_REQUESTS_DISPATCH_H

#include <Pegasus/Common/CIMObjectPath.h>

#include <functional>
#include <string>
#include <vector>

#include <velmar_embedded/ServerTypes.h>
#include <velmar_embedded/schema/Repository.h>
#include "checks/CallWatch.h"
#include "checks/Checks.h"
#include "client/Request.h"
#include "providers/Course.h"
#include "providers/Notices.h"
#include "providers/Registry.h"
#include "providers/RunningCalls.h"
#include "requests/Enumerations.h"
#include "requests/WorkerPool.h"

namespace velmar_embedded {

/// What serving needs of the server.
struct Services {
    Repository& repository;
    Registry& registry;
    WorkerPool& workers;
    Notices& notices;
    RunningCalls& running;
    velmar_checks::Checks& checks;
    Enumerations& enumerations;
};

/// `sink`, if there is one, may get the front of the answer.
Answer serve(Services& services, const Request& request, AnswerSink* sink);

// What `serve` chooses from.
Answer serveClass(Services& services, const Request& request);
Answer serveInstance(Services& services, const Request& request, AnswerSink* sink = nullptr);
Answer serveMethod(Services& services, const Request& request);
Answer serveAssociation(Services& services, const Request& request);
Answer serveProperty(Services& services, const Request& request);
Answer servePull(Services& services, const Request& request);

/// Throws CIMException: CIM_ERR_INVALID_NAMESPACE for an unknown namespace, `code` with the class
/// name for an unknown class.
void requireClass(const Services& services, const Pegasus::CIMNamespaceName& nameSpace,
                  const Pegasus::CIMName& className, Pegasus::CIMStatusCode code);

/// The path that a provider gets: this host, the request's namespace, and the keys given.
Pegasus::CIMObjectPath providerPath(
    const Request& request, const Pegasus::CIMName& className,
    const Pegasus::Array<Pegasus::CIMKeyBinding>& keys = Pegasus::Array<Pegasus::CIMKeyBinding>());

/// The class as the request's flags and property list want it; its path holds the name alone.
Pegasus::CIMClass classFor(const Services& services, const Request& request,
                           const Pegasus::CIMName& className);

/// What the observer hears of a request, or of a provider's call for it.
Step stepOf(const Request& request, Step::Kind kind, const std::string& provider,
            const Pegasus::CIMObjectPath& path);

/// Runs the tasks in parallel on workers and throws the failure of the first that failed; clients
/// hear the text of one among several without its code, if `plain`.
void fanOut(Services& services, std::vector<std::function<void()>> tasks, bool plain);

/// Throws CIMException (CIM_ERR_FAILED) when the request that this thread serves is nested deeper
/// than Course::depthLimit.
void checkNesting(const Purpose& purpose, const LoadedProvider& provider);

/// Runs a provider's operation, which delivers to the handler, under the eyes of the checks.
template <class Handler, class Call>
void callWatched(Services& services, const LoadedProvider& provider, const Request& request,
                 const Pegasus::CIMName& asked, Handler& handler, Answer& answer, Call&& call) {
    velmar_checks::CallWatch watch(services.checks, provider.name(), request, asked);
    handler.watch(&watch);
    try {
        call();
    } catch (...) {
        handler.watch(nullptr);
        watch.threw();
        throw;
    }
    handler.moveGuard(answer);
    handler.watch(nullptr);
    watch.returned();
}

/// Calls an operation of a provider's interface, which is loaded first. It delivers to `handler`
/// what becomes part of `answer`; `asked` is the class that it is asked for.
template <class Interface, class Handler, class Call>
void callProvider(Services& services, LoadedProvider& provider, const Request& request,
                  const Pegasus::CIMObjectPath& path, const Pegasus::CIMName& asked,
                  Handler& handler, Answer& answer, Call&& call) {
    const Purpose purpose{operationName(request.operation), &path.getClassName()};
    checkNesting(purpose, provider);
    const RunningCalls::Scope running(services.running, purpose, provider.title(),
                                      request.sent ? request.sent : &request);
    Interface& object = provider.load<Interface>(purpose);
    asStep(
        services.notices, [&] { return stepOf(request, Step::Kind::Call, provider.name(), path); },
        [&] {
            const Course::Scope following(Course::current().into(provider.name()));
            if (services.checks.areOn() && !provider.isOwn()) {
                callWatched(services, provider, request, asked, handler, answer,
                            [&] { call(object); });
            } else {
                call(object);
            }
            return handler.delivered();
        });
}

}  // namespace velmar_embedded

#endif
