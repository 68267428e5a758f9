// SPDX-FileCopyrightText: The velmar_remote authors
// SPDX-License-Identifier: MIT
//
// A stand-in for the CIM server that a test scripts: it writes down every request with all its
// arguments, whichever way it comes, and answers what the test says. For what no real server shows:
// which arguments an upcall has, and in which order upcalls are made.
//
// One at a time, and none beside a started server; requests on one thread.
#ifndef VELMAR_TESTS_SUPPORT_FAKESERVER_H
#define VELMAR_TESTS_SUPPORT_FAKESERVER_H

#include <Pegasus/Provider/CIMOMHandle.h>
#include <strings.h>

#include <functional>
#include <memory>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

#include "client/Channel.h"
#include "client/LocalServer.h"
#include "support/LinkServer.h"

namespace support {

using velmar_embedded::Answer;
using velmar_embedded::Request;

/// The context of a request that a provider or a helper serves for a caller.
inline Pegasus::OperationContext callersContext() {
    Pegasus::OperationContext context;
    context.insert(Pegasus::IdentityContainer(Pegasus::String("caller")));
    return context;
}

/// "caller" or what stands in its place, then the names of a property list unless it is null.
inline std::string asked(const Pegasus::OperationContext& context,
                         const Pegasus::CIMPropertyList& list) {
    using Pegasus::IdentityContainer;
    std::string result = "nobody";
    if (context.contains(IdentityContainer::NAME)) {
        result = text(dynamic_cast<const IdentityContainer&>(context.get(IdentityContainer::NAME))
                          .getUserName());
    }
    for (Uint32 i = 0; !list.isNull() && i <= list.size(); i++) {
        result += i < list.size() ? (i ? " " : " {") + text(list[i]) : list.size() ? "}" : " {}";
    }
    return result;
}

/// One line for a request: what is as expected of all (the namespace, an upcall's context) and what
/// is not given is left out.
inline std::string describe(const Request& r) {
    std::string line = operationName(r.operation);
    const auto mention = [&line](const char* what, const std::string& value) {
        line += value.empty() ? "" : what + value;
    };
    mention(" in ",
            text(r.nameSpace.getString()) == NAMESPACE ? "" : text(r.nameSpace.getString()));
    mention(" ", text(r.path));
    mention(" through ", text(r.associationClass));
    mention(" to ", text(r.resultClass));
    mention(" from role ", text(r.role));
    mention(" to role ", text(r.resultRole));
    line += r.deepInheritance ? "" : " shallow";
    line += r.localOnly ? " local" : "";
    line += r.includeQualifiers ? " qualifiers" : "";
    line += r.includeClassOrigin ? " origins" : "";
    mention(" ", text(r.methodName));
    for (Uint32 i = 0; i < r.parameters.size(); i++) {
        line += " " + text(r.parameters[i].getParameterName()) + "=" +
                cimTypeToString(r.parameters[i].getValue().getType()) + ":" +
                text(r.parameters[i].getValue().toString()) +
                (r.parameters[i].isTyped() ? "" : " untyped");
    }
    if (!r.instance.isUninitialized()) {
        for (Uint32 i = 0; i < r.instance.getPropertyCount(); i++) {
            const Pegasus::CIMConstProperty p = r.instance.getProperty(i);
            line += " " + text(p.getName()) + "=" + cimTypeToString(p.getType()) + ":" +
                    text(p.getValue().toString());
        }
    }
    const std::string by = asked(r.context, r.propertyList);
    return line + by.substr(by.find(' ') == std::string::npos ? by.size() : by.find(' ')) +
           (r.fromHandle && by.compare(0, 6, "caller") != 0 ? " for " + by : "");
}

class FakeServer {
 public:
    /// Answers everything but requests about classes, which `classes` answers.
    std::function<void(const Request&, Answer&)> answer = [](const Request&, Answer&) {};
    /// Every class and its superclass, superclasses first. All have the key Name.
    std::vector<std::pair<std::string, std::string>> classes = {
        {"T_Thing", ""}, {"T_Part", "T_Thing"}, {"T_Other", ""}, {"T_Link", ""}};
    std::vector<std::string> log;
    int kept = 0;  ///< how many of the handle's owners must not be unloaded
    /// What a provider is given at its initialize.
    Pegasus::CIMOMHandle handle{std::make_shared<Upcalls>(*this)};

    FakeServer() : _server(std::make_shared<Started>(*this)) { Started::begin(_server); }

    /// What was written down since the last call, a line each.
    std::string taken() {
        std::string all;
        for (const std::string& line : log) {
            all += line + "\n";
        }
        log.clear();
        return all;
    }

 private:
    struct Upcalls : velmar_embedded::Channel {
        explicit Upcalls(FakeServer& owner) : fake(owner) {}
        Answer exchange(Request request) override {
            request.fromHandle = true;
            return fake.serve(request);
        }
        void keepLoaded(bool keep) override { fake.kept += keep ? 1 : -1; }
        FakeServer& fake;
    };
    struct Started : velmar_embedded::LocalServer {
        explicit Started(FakeServer& owner) : fake(owner) {}
        static void begin(const std::shared_ptr<LocalServer>& server) {
            if (!announce(server)) {
                throw std::logic_error("another server is started");
            }
        }
        std::shared_ptr<velmar_embedded::Pending> submit(
            std::shared_ptr<const Request> request) override {
            Answer given;
            auto failure = velmar_embedded::failureOf([&] { given = fake.serve(*request); });
            const auto pending = std::make_shared<velmar_embedded::Pending>();
            pending->finish(std::move(given), std::move(failure));
            return pending;
        }
        void noteTimeout(const Request&, Uint32) override {}
        FakeServer& fake;
    };

    bool isA(std::string name, const std::string& ancestor) const {
        while (!name.empty() && strcasecmp(name.c_str(), ancestor.c_str()) != 0) {
            name = superclass(name);
        }
        return !name.empty();
    }
    std::string superclass(const std::string& name) const {
        for (const auto& [own, super] : classes) {
            if (strcasecmp(own.c_str(), name.c_str()) == 0) {
                return super;
            }
        }
        throw Pegasus::CIMException(Pegasus::CIM_ERR_NOT_FOUND, Pegasus::String(name.c_str()));
    }
    static Pegasus::CIMClass makeClass(const std::string& name) {
        Pegasus::CIMClass made{Pegasus::CIMName(name.c_str())};
        Pegasus::CIMProperty key(Pegasus::CIMName("Name"), Pegasus::CIMValue(Pegasus::String()));
        key.addQualifier(Pegasus::CIMQualifier("Key", Pegasus::CIMValue(true)));
        made.addProperty(key);
        return made;
    }
    Answer serve(const Request& request) {
        log.push_back(describe(request));
        Answer answers;
        const std::string name = text(request.path.getClassName());
        if (request.operation == velmar_embedded::Operation::GetClass) {
            superclass(name);
            answers.classes.append(makeClass(name));
        } else if (request.operation == velmar_embedded::Operation::EnumerateClasses) {
            for (const auto& known : classes) {
                if (isA(known.second, name)) {
                    answers.classes.append(makeClass(known.first));
                }
            }
        } else {
            answer(request, answers);
        }
        return answers;
    }

    std::shared_ptr<Started> _server;
};

}  // namespace support

#endif
