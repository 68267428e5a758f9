// SPDX-FileCopyrightText: The velmar_remote authors
// SPDX-License-Identifier: MIT
//
// The instance operations: to the provider registered for exactly the class, else to the schema;
// the enumerations to all subclasses too.
#include <Pegasus/Provider/CIMInstanceProvider.h>

#include <algorithm>
#include <mutex>
#include <utility>
#include <vector>

#include "requests/Collectors.h"
#include "requests/Dispatch.h"

using namespace Pegasus;

namespace velmar_embedded {

namespace {

Answer getInstance(Services& services, const Request& request, LoadedProvider* provider,
                   const CIMObjectPath& path) {
    Answer answer;
    answer.propertyList = request.propertyList;
    if (!provider) {
        CIMInstance instance = services.repository.getInstance(request.nameSpace, request.path);
        instance.instanceFilter(true, true, request.propertyList);
        answer.instances.append(instance);
        return answer;
    }
    InstanceCollector handler(true);
    callProvider<CIMInstanceProvider>(
        services, *provider, request, path, path.getClassName(), handler, answer,
        [&](auto& object) {
            object.getInstance(request.context, path, request.includeQualifiers,
                               request.includeClassOrigin, request.propertyList, handler);
        });
    answer.instances = handler.items();
    return answer;
}

Answer createInstance(Services& services, const Request& request, LoadedProvider* provider,
                      const CIMObjectPath& path) {
    Answer answer;
    if (!provider) {
        services.checks.noteStored(request.nameSpace, request.instance);
        answer.paths.append(
            services.repository.createInstance(request.nameSpace, request.instance));
        return answer;
    }
    PathCollector handler(true);
    callProvider<CIMInstanceProvider>(services, *provider, request, path, path.getClassName(),
                                      handler, answer, [&](auto& object) {
                                          object.createInstance(request.context, path,
                                                                request.instance, handler);
                                      });
    answer.paths = handler.items();
    return answer;
}

Answer modifyInstance(Services& services, const Request& request, LoadedProvider* provider,
                      const CIMObjectPath& path) {
    if (!provider) {
        CIMInstance changes = request.instance.clone();
        changes.instanceFilter(true, true, request.propertyList);
        services.repository.modifyInstance(request.nameSpace, changes);
        return Answer();
    }
    Answer answer;
    Acknowledgement handler;
    callProvider<CIMInstanceProvider>(
        services, *provider, request, path, path.getClassName(), handler, answer,
        [&](auto& object) {
            object.modifyInstance(request.context, path, request.instance,
                                  request.includeQualifiers, request.propertyList, handler);
        });
    return answer;
}

Answer deleteInstance(Services& services, const Request& request, LoadedProvider* provider,
                      const CIMObjectPath& path) {
    if (!provider) {
        services.repository.deleteInstance(request.nameSpace, request.path);
        return Answer();
    }
    Answer answer;
    Acknowledgement handler;
    callProvider<CIMInstanceProvider>(
        services, *provider, request, path, path.getClassName(), handler, answer,
        [&](auto& object) { object.deleteInstance(request.context, path, handler); });
    return answer;
}

// Without deep inheritance the instances of subclasses are cut down to the class asked for.
CIMPropertyList enumerationList(const Services& services, const Request& request) {
    if (request.operation != Operation::EnumerateInstances || request.deepInheritance ||
        !request.propertyList.isNull()) {
        return request.propertyList;
    }
    const CIMClass cimClass =
        services.repository.getClass(request.nameSpace, request.path.getClassName());
    Array<CIMName> names;
    for (Uint32 i = 0; i < cimClass.getPropertyCount(); i++) {
        names.append(cimClass.getProperty(i).getName());
    }
    return CIMPropertyList(names);
}

// The parts of an enumeration, one for each class, in the order of the answer. What its first
// unfinished part has so far may go ahead; the others wait for their turn. Thread-safe.
class Parts {
 public:
    Parts(AnswerSink* sink, const Answer& empty, size_t count)
        : _sink(sink), _parts(count, {empty, false}) {}

    /// Used by the one who fills it, until it is finished.
    Answer& operator[](size_t part) { return _parts[part].answer; }
    void finish(size_t part) {
        const std::lock_guard<std::mutex> guard(_lock);
        _parts[part].isFinished = true;
    }
    /// Whether what a part has may go ahead.
    bool mayPass(size_t part) {
        const std::lock_guard<std::mutex> guard(_lock);
        return _sink && std::all_of(_parts.begin(), _parts.begin() + ptrdiff_t(part),
                                    [](const Part& each) { return each.isFinished; });
    }
    /// Passes on what the part has, and those before it still have. They are finished, and those
    /// behind it may not pass: so this is the only one that takes anything out.
    void pass(size_t part) {
        for (size_t i = 0; i <= part; i++) {
            Answer& answer = _parts[i].answer;
            Answer piece;
            piece.propertyList = answer.propertyList;
            piece.instances.swap(answer.instances);
            piece.paths.swap(answer.paths);
            piece.guards.swap(answer.guards);
            if (piece.size() > 0) {
                answer.passedOn += piece.size();
                _sink->take(std::move(piece));
            }
        }
    }
    /// Adds what is left to an answer, once all are finished.
    void addTo(Answer& whole) {
        for (const Part& part : _parts) {
            const Answer& answer = part.answer;
            whole.instances.appendArray(answer.instances);
            whole.paths.appendArray(answer.paths);
            whole.guards.insert(whole.guards.end(), answer.guards.begin(), answer.guards.end());
            whole.passedOn += answer.passedOn;
        }
    }

 private:
    struct Part {
        Answer answer;
        bool isFinished;
    };

    AnswerSink* const _sink;
    std::mutex _lock;
    std::vector<Part> _parts;
};

// What the schema stores of one class.
void enumerateStored(const Services& services, const Request& request, const CIMName& className,
                     Answer& answer) {
    Array<CIMInstance> stored = services.repository.instances(request.nameSpace, className);
    for (Uint32 i = 0; i < stored.size(); i++) {
        if (request.operation == Operation::EnumerateInstanceNames) {
            answer.paths.append(stored[i].getPath());
        } else {
            stored[i].instanceFilter(true, true, answer.propertyList);
            answer.instances.append(stored[i]);
        }
    }
}

// What a provider has of one class.
void enumerateProvided(Services& services, LoadedProvider& provider, const Request& request,
                       const CIMName& className, Parts& parts, size_t part) {
    const CIMObjectPath path = providerPath(request, className);
    Answer& answer = parts[part];
    const auto passing = [&](auto member) {
        return [&parts, &answer, part, member](auto& handler) {
            if (parts.mayPass(part)) {
                handler.moveItems(answer.*member);
                handler.moveGuard(answer);
                parts.pass(part);
            }
        };
    };
    if (request.operation == Operation::EnumerateInstanceNames) {
        PathCollector handler(passing(&Answer::paths));
        callProvider<CIMInstanceProvider>(
            services, provider, request, path, className, handler, answer,
            [&](auto& object) { object.enumerateInstanceNames(request.context, path, handler); });
        answer.paths = handler.items();
    } else {
        InstanceCollector handler(passing(&Answer::instances));
        callProvider<CIMInstanceProvider>(
            services, provider, request, path, className, handler, answer, [&](auto& object) {
                object.enumerateInstances(request.context, path, request.includeQualifiers,
                                          request.includeClassOrigin, answer.propertyList, handler);
            });
        answer.instances = handler.items();
    }
    parts.finish(part);
}

Answer enumerate(Services& services, const Request& request, AnswerSink* sink) {
    Array<CIMName> classes =
        services.repository.subclassNames(request.nameSpace, request.path.getClassName(), true);
    classes.prepend(request.path.getClassName());
    Answer whole;
    whole.propertyList = enumerationList(services, request);
    Parts parts(sink, whole, classes.size());
    std::vector<std::function<void()>> calls;
    for (Uint32 i = 0; i < classes.size(); i++) {
        // A real server begins with the class that was declared last.
        const size_t part = classes.size() - 1 - i;
        LoadedProvider* provider =
            services.registry.find(request.nameSpace, classes[i], ProviderType::Instance);
        if (!provider) {
            enumerateStored(services, request, classes[i], parts[part]);
            parts.finish(part);
        } else {
            calls.push_back([&, provider, className = classes[i], part] {
                enumerateProvided(services, *provider, request, className, parts, part);
            });
        }
    }
    fanOut(services, std::move(calls), true);
    parts.addTo(whole);
    return whole;
}

}  // namespace

Answer serveInstance(Services& services, const Request& request, AnswerSink* sink) {
    const CIMName& className = request.path.getClassName();
    requireClass(services, request.nameSpace, className, CIM_ERR_INVALID_CLASS);
    if (request.operation == Operation::EnumerateInstances ||
        request.operation == Operation::EnumerateInstanceNames) {
        return enumerate(services, request, sink);
    }
    LoadedProvider* provider =
        services.registry.find(request.nameSpace, className, ProviderType::Instance);
    const CIMObjectPath path = providerPath(request, className, request.path.getKeyBindings());
    switch (request.operation) {
        case Operation::GetInstance:
            return getInstance(services, request, provider, path);
        case Operation::CreateInstance:
            return createInstance(services, request, provider, path);
        case Operation::ModifyInstance:
            return modifyInstance(services, request, provider, path);
        default:
            return deleteInstance(services, request, provider, path);
    }
}

}  // namespace velmar_embedded
