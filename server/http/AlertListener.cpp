// SPDX-FileCopyrightText: The velmar_remote authors
// SPDX-License-Identifier: MIT

#include <velmar_wire/AlertListener.h>

#include <Pegasus/Client/CIMClient.h>
#include <Pegasus/Common/CIMProperty.h>
#include <Pegasus/Common/Exception.h>
#include <Pegasus/Common/System.h>
#include <httplib.h>

#include <atomic>
#include <mutex>
#include <stdexcept>
#include <thread>
#include <utility>

#include "CimReader.h"
#include "Messages.h"

using namespace Pegasus;

namespace velmar_wire {

struct AlertListener::Impl {
    explicit Impl(Take given) : take(std::move(given)) {
        server.set_payload_max_length(16 * 1024 * 1024);
        server.set_keep_alive_max_count(1);  // stop would wait for idle connections
        server.Post(".*", [this](const httplib::Request& request, httplib::Response& response) {
            answer(request, response);
        });
        port = server.bind_to_any_port("127.0.0.1");
        if (port < 0) {
            throw std::runtime_error("cannot listen on 127.0.0.1: no port is free");
        }
        thread = std::thread([this] {
            server.listen_after_bind();
            hasEnded = true;
        });
        while (!server.is_running() && !hasEnded) {  // stop does nothing before that
            std::this_thread::yield();
        }
    }
    ~Impl() {
        server.stop();
        thread.join();
    }

    void answer(const httplib::Request& request, httplib::Response& response) {
        if (request.has_header("Origin")) {  // a page in a browser
            response.status = 403;
            return;
        }
        try {
            const Export alert = readExport(request.body);
            const std::lock_guard<std::mutex> guard(lock);
            take(alert.indication);
            response.set_header("CIMExport", "MethodResponse");
            response.set_content(exportResponse(alert.id), "application/xml; charset=utf-8");
        } catch (const MessageFault& fault) {
            response.status = 400;
            response.set_header("CIMError", "request-not-valid");
        } catch (...) {  // of `take`
            response.status = 500;
        }
    }

    const Take take;
    std::mutex lock;
    httplib::Server server;
    int port = -1;
    std::atomic<bool> hasEnded{false};
    std::thread thread;
};

AlertListener::AlertListener(Take take) : _impl(std::make_unique<Impl>(std::move(take))) {}

AlertListener::~AlertListener() = default;

std::string AlertListener::url() const { return "http://127.0.0.1:" + std::to_string(_impl->port); }

namespace {

void set(CIMInstance& instance, const char* name, const std::string& value) {
    instance.addProperty(CIMProperty(CIMName(name), CIMValue(stringOf(value))));
}

CIMInstance end(const char* className, const std::string& name) {
    CIMInstance instance{CIMName(className)};
    set(instance, "SystemCreationClassName", "CIM_ComputerSystem");
    set(instance, "SystemName", utf8(System::getFullyQualifiedHostName()));
    set(instance, "CreationClassName", className);
    set(instance, "Name", name);
    return instance;
}

}  // namespace

RemoteSubscription::RemoteSubscription(CIMClient& client, const CIMNamespaceName& interop,
                                       const std::string& name, const std::string& query,
                                       const CIMNamespaceName& source,
                                       const std::string& destination)
    : _client(client), _interop(interop) {
    CIMInstance filter = end("CIM_IndicationFilter", name);
    set(filter, "Query", query);
    set(filter, "QueryLanguage", "WQL");
    set(filter, "SourceNamespace", utf8(source));
    CIMInstance handler = end("CIM_ListenerDestinationCIMXML", name);
    set(handler, "Destination", destination);
    handler.addProperty(CIMProperty(CIMName("PersistenceType"), CIMValue(Uint16(3))));
    try {
        _created.append(client.createInstance(interop, filter));
        _created.append(client.createInstance(interop, handler));
        for (Uint32 i = 0; i < 2; i++) {
            _created[i].setNameSpace(interop);
        }
        CIMInstance subscription{CIMName("CIM_IndicationSubscription")};
        subscription.addProperty(CIMProperty(CIMName("Filter"), CIMValue(_created[0]), 0,
                                             CIMName("CIM_IndicationFilter")));
        subscription.addProperty(CIMProperty(CIMName("Handler"), CIMValue(_created[1]), 0,
                                             CIMName("CIM_ListenerDestination")));
        subscription.addProperty(
            CIMProperty(CIMName("SubscriptionState"), CIMValue(Uint16(2))));  // enabled
        _created.append(client.createInstance(interop, subscription));
    } catch (...) {
        remove();
        throw;
    }
}

RemoteSubscription::~RemoteSubscription() { remove(); }

void RemoteSubscription::remove() {
    for (Uint32 i = _created.size(); i-- > 0;) {
        try {
            CIMObjectPath path = _created[i];
            path.setNameSpace(CIMNamespaceName());
            _client.deleteInstance(_interop, path);
        } catch (const Exception&) {  // the server has gone, or somebody has deleted it
        }
    }
}

}  // namespace velmar_wire
