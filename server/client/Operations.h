// SPDX-FileCopyrightText: The velmar_remote authors
// SPDX-License-Identifier: MIT
//
// The operations of a CIM server as requests through a channel: what a client and a handle have in
// common. Parameters, results and exceptions are those of the members of these names there.
#ifndef VELMAR_EMBEDDED_EXCHANGE_OPERATIONS_H
#define VELMAR_EMBEDDED_EXCHANGE_OPERATIONS_H

#include <memory>
#include <utility>

#include "client/Channel.h"

namespace velmar_embedded {

/// Short names for the types of the parameters, which every operation repeats.
namespace parameters {
using Context = const Pegasus::OperationContext&;
using NameSpace = const Pegasus::CIMNamespaceName&;
using Name = const Pegasus::CIMName&;
using Path = const Pegasus::CIMObjectPath&;
using Instance = const Pegasus::CIMInstance&;
using Role = const Pegasus::String&;
using List = const Pegasus::CIMPropertyList&;
using Flag = Pegasus::Boolean;
using In = const Pegasus::Array<Pegasus::CIMParamValue>&;
using Out = Pegasus::Array<Pegasus::CIMParamValue>&;
}  // namespace parameters

/// Holds its channel: a handle may be assigned during one of its upcalls. Thread-safe if the
/// channel is.
class Operations {
    using NameSpace = parameters::NameSpace;
    using Name = parameters::Name;
    using Path = parameters::Path;
    using Instance = parameters::Instance;
    using Role = parameters::Role;
    using List = parameters::List;
    using Flag = parameters::Flag;
    template <class T>
    using Array = Pegasus::Array<T>;

 public:
    /// `context`, if there is one, must outlive this object.
    explicit Operations(std::shared_ptr<Channel> channel,
                        const Pegasus::OperationContext* context = nullptr)
        : _channel(std::move(channel)), _context(context) {}

    Pegasus::CIMClass getClass(NameSpace in, Name className, Flag local, Flag qualifiers,
                               Flag classOrigin, List list) const {
        return exchange(Request(Operation::GetClass, in, className)
                            .inheritance(true, local)
                            .contents(qualifiers, classOrigin, list))
            .classes[0];
    }
    Array<Pegasus::CIMClass> enumerateClasses(NameSpace in, Name className, Flag deep, Flag local,
                                              Flag qualifiers, Flag classOrigin) const {
        return exchange(Request(Operation::EnumerateClasses, in, className)
                            .inheritance(deep, local)
                            .contents(qualifiers, classOrigin))
            .classes;
    }
    Array<Pegasus::CIMName> enumerateClassNames(NameSpace in, Name className, Flag deep) const {
        return exchange(
                   Request(Operation::EnumerateClassNames, in, className).inheritance(deep, false))
            .names;
    }
    void createClass(NameSpace in, const Pegasus::CIMClass& newClass) const {
        Request request(Operation::CreateClass, in, newClass.getClassName());
        request.cimClass = newClass;
        exchange(std::move(request));
    }
    void deleteClass(NameSpace in, Name className) const {
        exchange(Request(Operation::DeleteClass, in, className));
    }

    /// Uninitialized without an answer, which a client has refused by then.
    Pegasus::CIMInstance getInstance(NameSpace in, Path path, Flag local, Flag qualifiers,
                                     Flag classOrigin, List list) const {
        const Answer answer = exchange(Request(Operation::GetInstance, in, path)
                                           .inheritance(true, local)
                                           .contents(qualifiers, classOrigin, list));
        return answer.instances.size() > 0 ? answer.instances[0] : Pegasus::CIMInstance();
    }
    Array<Pegasus::CIMInstance> enumerateInstances(NameSpace in, Name className, Flag deep,
                                                   Flag local, Flag qualifiers, Flag classOrigin,
                                                   List list) const {
        return exchange(Request(Operation::EnumerateInstances, in, className)
                            .inheritance(deep, local)
                            .contents(qualifiers, classOrigin, list))
            .instances;
    }
    Array<Pegasus::CIMObjectPath> enumerateInstanceNames(NameSpace in, Name className) const {
        return exchange(Request(Operation::EnumerateInstanceNames, in, className)).paths;
    }
    /// Empty without an answer, as for getInstance.
    Pegasus::CIMObjectPath createInstance(NameSpace in, Instance instance) const {
        const Answer answer =
            exchange(Request(Operation::CreateInstance, in, instance.getPath()).object(instance));
        return answer.paths.size() > 0 ? answer.paths[0] : Pegasus::CIMObjectPath();
    }
    void modifyInstance(NameSpace in, Instance instance, Flag qualifiers, List list) const {
        exchange(Request(Operation::ModifyInstance, in, instance.getPath())
                     .contents(qualifiers, false, list)
                     .object(instance));
    }
    void deleteInstance(NameSpace in, Path path) const {
        exchange(Request(Operation::DeleteInstance, in, path));
    }

    Array<Pegasus::CIMObject> associators(NameSpace in, Path path, Name by, Name result, Role role,
                                          Role resultRole, Flag qualifiers, Flag classOrigin,
                                          List list) const {
        return exchange(Request(Operation::Associators, in, path)
                            .association(by, result, role, resultRole)
                            .contents(qualifiers, classOrigin, list))
            .objects;
    }
    Array<Pegasus::CIMObjectPath> associatorNames(NameSpace in, Path path, Name by, Name result,
                                                  Role role, Role resultRole) const {
        return exchange(Request(Operation::AssociatorNames, in, path)
                            .association(by, result, role, resultRole))
            .paths;
    }
    Array<Pegasus::CIMObject> references(NameSpace in, Path path, Name result, Role role,
                                         Flag qualifiers, Flag classOrigin, List list) const {
        return exchange(Request(Operation::References, in, path)
                            .association(Pegasus::CIMName(), result, role, Pegasus::String())
                            .contents(qualifiers, classOrigin, list))
            .objects;
    }
    Array<Pegasus::CIMObjectPath> referenceNames(NameSpace in, Path path, Name result,
                                                 Role role) const {
        return exchange(Request(Operation::ReferenceNames, in, path)
                            .association(Pegasus::CIMName(), result, role, Pegasus::String()))
            .paths;
    }

    Pegasus::CIMValue invokeMethod(NameSpace in, Path path, Name method, parameters::In given,
                                   parameters::Out returned) const {
        const Answer answer =
            exchange(Request(Operation::InvokeMethod, in, path).method(method, given));
        returned = answer.parameters;
        return answer.returnValue;
    }

 private:
    Answer exchange(Request& request) const {
        if (_context) {
            request.context = *_context;
        }
        return _channel->exchange(std::move(request));
    }
    Answer exchange(Request&& request) const { return exchange(request); }

    const std::shared_ptr<Channel> _channel;
    const Pegasus::OperationContext* const _context;
};

}  // namespace velmar_embedded

#endif
