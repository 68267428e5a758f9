// SPDX-FileCopyrightText: The velmar_remote authors
// SPDX-License-Identifier: MIT
//
// The server on its socket: what misbehaving clients get, and that the others do not notice; the
// delivery of alerts; the client's side of what can go wrong.
#include <Pegasus/Common/CIMIndication.h>
#include <httplib.h>

#include <list>
#include <new>

#include <velmar_wire/AlertListener.h>
#include <velmar_wire/WireServer.h>
#include "Deliveries.h"
#include "HttpServer.h"
#include "Messages.h"
#include "support/ScriptedServer.h"
#include "support/Socket.h"

using namespace support;
using namespace std::chrono_literals;

namespace {

// cpp-httplib makes its tables at their first use, under a guard that the thread sanitizer does not
// see in a library that is not instrumented: once here, before there are several threads.
class FirstUse : public ::testing::Environment {
 public:
    void SetUp() override {
        httplib::Server server;
        server.Post("/", [](const httplib::Request&, httplib::Response& response) {
            response.set_content("<CIM/>", "text/xml");
        });
        const int port = server.bind_to_any_port("127.0.0.1");
        std::thread listening([&] { server.listen_after_bind(); });
        httplib::Client client("127.0.0.1", port);
        EXPECT_TRUE(client.Post("/", {{"CIMExport", "x"}}, "<CIM/>", "text/xml"));
        client.stop();
        server.stop();
        listening.join();
    }
};
const ::testing::Environment* const firstUse = ::testing::AddGlobalTestEnvironment(new FirstUse);

std::string post(const std::string& headers, const std::string& body) {
    return "POST / HTTP/1.1\r\nHost: localhost\r\nContent-Type: text/xml\r\nCIMOperation: "
           "MethodCall\r\n"
           "CIMMethod: GetQualifier\r\nCIMObject: root/test\r\n" +
           headers + "\r\n" + body;
}

const std::string body =
    "<?xml version=\"1.0\"?><CIM CIMVERSION=\"2.0\" DTDVERSION=\"2.0\"><MESSAGE ID=\"1\" "
    "PROTOCOLVERSION=\"1.0\"><SIMPLEREQ><IMETHODCALL NAME=\"GetQualifier\"><LOCALNAMESPACEPATH>"
    "<NAMESPACE NAME=\"root\"/><NAMESPACE NAME=\"test\"/></LOCALNAMESPACEPATH><IPARAMVALUE "
    "NAME=\"QualifierName\"><VALUE>Key</VALUE></IPARAMVALUE></IMETHODCALL></SIMPLEREQ></MESSAGE>"
    "</CIM>";
const std::string length = "Content-Length: " + std::to_string(body.size()) + "\r\n";

class WireServer : public ScriptedServer {
 protected:
    velmar_wire::Options options;
    std::unique_ptr<velmar_wire::WireServer> wire;

    WireServer() {
        options.limits.requestTime = 500ms;
        options.limits.idleTime = 5s;
        options.limits.headSize = 2000;
        options.limits.bodySize = 4000;
    }
    void TearDown() override {
        client.disconnect();
        wire.reset();
        server.stop();
    }
    void serve() {
        server.start();
        wire = std::make_unique<velmar_wire::WireServer>(server, options);
        client.connect("127.0.0.1", wire->port(), String(), String());
    }
    // The status codes of all answers to what is sent on one connection.
    std::string statuses(const std::string& sent) {
        Socket socket(wire->port());
        socket.send(sent);
        const std::string answers = socket.all();
        std::string codes;
        for (size_t at = 0; (at = answers.find("HTTP/1.1 ", at)) != std::string::npos; at += 9) {
            codes += answers.substr(at + 9, 4);
        }
        return codes;
    }
};

TEST_F(WireServer, WhatClientsSendIsLimited) {
    serve();
    const std::string closing = post("Connection: close\r\n" + length, body);
    const std::string chunked = "Transfer-Encoding: chunked\r\n";
    const struct {
        std::string sent;
        const char* statuses;
    } cases[] = {
        {post(length, body) + post(length, body) + closing, "200 200 200 "},
        {post("Expect: 100-continue\r\n" + length, body) + closing, "100 200 200 "},
        {"POST / HTTP/1.0\r\n" + closing.substr(closing.find("Host")), "200 "},
        {post(chunked, "5;x=y\r\n<?xml\r\n0\r\nT: v\r\n\r\n") + closing, "400 200 "},
        {post(chunked + "Connection: close\r\n", "zz\r\n"), "400 "},
        {post(chunked, "fff\r\n" + std::string(0xFFF, ' ') + "\r\n"), "413 "},
        {post(chunked + length, body), "400 "},
        {post("Content-Length: -1\r\n", ""), ""},
        {post("Content-Length: 99999999999999999999999\r\n", ""), "400 "},
        {post("Content-Length: 5000\r\n", ""), "413 "},
        {post(length + "Content-Length: 1\r\n", body), "400 "},
        {post("", body), ""},
        {post("X: " + std::string(3000, 'x') + "\r\n" + length, body), "431 "},
        {std::string(3000, 'x'), "431 "},
        {"GET / HTTP/1.1\r\n\r\n", "501 "},
        {"POST / HTTP/1.1\r\n : \r\n\r\n", "501 "},
        {post("Host: LOCALHOST:1\r\nHost: [::1]:80\r\nConnection: close\r\n" + length, body),
         "200 "},
        {post("Host: evil.example\r\n" + length, body), "403 "},
        {post("Host: 127.0.0.1:80@evil.example\r\n" + length, body), "403 "},
        {post("Host: [::1].evil.example\r\n" + length, body), "403 "},
        {post("Origin: null\r\n" + length, body), "403 "},
        {post(length, body.substr(1)), ""},  // the rest never comes
        {"POST / HT", ""},
    };
    for (const auto& each : cases) {
        EXPECT_EQ(statuses(each.sent), each.statuses) << each.sent.substr(0, 300);
    }
    EXPECT_EQ(outcome([&] { client.enumerateClassNames(ns); }), "ok");
}

TEST_F(WireServer, IdleConnectionsMakeRoomAndBusyOnesDoNot) {
    options.limits.connections = 2;
    options.limits.requestTime = 20s;
    serve();  // the client's does not count: it comes with the first request
    const std::string request = post("Connection: close\r\n" + length, body);
    std::list<Socket> sockets;
    for (int i = 0; i < 10; i++) {
        sockets.emplace_back(wire->port());
    }
    EXPECT_EQ(statuses(request), "200 ");
    for (int i = 0; i < 2; i++) {
        sockets.emplace_back(wire->port()).send(request.substr(0, 10));
    }
    EXPECT_EQ(statuses(""), "503 ");
    EXPECT_EQ(wire->refusals().connections, 1u);
    sockets.back().send(request.substr(10));
    EXPECT_EQ(sockets.back().all().substr(0, 12), "HTTP/1.1 200");
    EXPECT_EQ(statuses(request), "200 ");
}

TEST(HttpServer, BytesInFlightAreLimitedAndWhatFailsEndsOneRequest) {
    velmar_wire::Limits limits;
    limits.bytesInFlight = 10000;
    Count entered, released;
    velmar_wire::HttpServer server(
        limits, [](const velmar_wire::HttpRequest&) { return velmar_wire::HttpResponse(); },
        [&](const velmar_wire::HttpRequest& request) -> velmar_wire::HttpResponse {
            if (request.target == "/none") {
                throw std::bad_alloc();
            }
            entered.up();
            released.waitFor(1);
            return velmar_wire::HttpResponse();
        });
    const uint16_t port = server.start(0);
    auto sent = [&](const std::string& target, size_t size) {
        auto socket = std::make_unique<Socket>(port);
        socket->send("POST " + target + " HTTP/1.1\r\nConnection: close\r\nContent-Length: " +
                     std::to_string(size) + "\r\n\r\n" + std::string(size, 'x'));
        return socket;
    };
    EXPECT_EQ(sent("/none", 6000)->all().substr(0, 12), "HTTP/1.1 503");
    const auto first = sent("/", 6000);
    entered.waitFor(1);
    EXPECT_EQ(sent("/", 6000)->all().substr(0, 12), "HTTP/1.1 503");
    EXPECT_EQ(server.refusals().requests, 2u);
    released.up();
    EXPECT_EQ(first->all().substr(0, 12), "HTTP/1.1 200");
    EXPECT_EQ(sent("/", 6000)->all().substr(0, 12), "HTTP/1.1 200");
}

TEST_F(WireServer, ClientsThatGoAreNotWaitedForAndTheOthersAreServed) {
    Scripted* const provider = provide("P", {"T_A"});
    Count entered, released;
    provider->get = [&](const Call& call, InstanceResponseHandler& handler) {
        if (text(call.path).find("slow") != std::string::npos) {
            entered.up();
            released.waitFor(1);
        }
        handler.deliver(item(text(call.path)));
    };
    serve();
    client.setTimeout(50);
    EXPECT_EQ(outcome([&] { get("T_A.k=\"slow\""); }), "connection timed out");
    entered.waitFor(1);
    client.setTimeout(20000);
    EXPECT_EQ(outcome([&] { get("T_A.k=\"quick\""); }), "ok");
    released.up();
    Socket idle(wire->port());
    wire.reset();  // with a connection open; returns at once
    EXPECT_EQ(idle.all(), "");
    EXPECT_EQ(outcome([&] { get("T_A.k=\"quick\""); }).substr(0, 13), "Connection to");
    CIMClient other;
    EXPECT_EQ(outcome([&] { other.connect("127.0.0.1", 1, String(), String()); }),
              "Cannot connect to 127.0.0.1:1");
}

TEST_F(WireServer, APortIsHadOnce) {
    serve();
    options.port = wire->port();
    EXPECT_THROW(velmar_wire::WireServer(server, options), std::runtime_error);
}

// ---- Alerts -------------------------------------------------------------------------------------

// A listener that answers as it is told, and notes the numbers that come.
class Listener {
 public:
    Listener() {
        _server.Post(".*", [this](const httplib::Request& request, httplib::Response& response) {
            std::lock_guard<std::mutex> guard(_lock);
            const size_t at = request.body.find("<VALUE>") + 7;
            log += request.body.substr(at, request.body.find('<', at) - at) + " ";
            response.status = failures > 0 ? 500 : 200;
            failures -= failures > 0;
            came.up();
        });
        _server.set_keep_alive_max_count(1);
        port = _server.bind_to_any_port("127.0.0.1");
        _thread = std::thread([this] { _server.listen_after_bind(); });
    }
    ~Listener() {
        while (!_server.is_running()) {
            std::this_thread::yield();
        }
        _server.stop();
        _thread.join();
    }
    std::string url() const { return "http://127.0.0.1:" + std::to_string(port) + "/alerts"; }

    Count came;
    std::string log;
    std::atomic<int> failures{0};
    int port = 0;

 private:
    std::mutex _lock;
    httplib::Server _server;
    std::thread _thread;
};

CIMInstance numbered(int number) {
    CIMInstance indication = instanceAt("root/test:T_Alert");
    add(indication, "Note", CIMValue(String(std::to_string(number).c_str())));
    return indication;
}

TEST(Deliveries, EachListenerGetsItsAlertsInOrderOrLosesThemWithAReport) {
    velmar_wire::DeliveryPolicy policy;
    policy.interval = 1ms;
    policy.hosts = {"listener.example"};
    std::mutex lock;
    std::string problems;
    Count reported;
    velmar_wire::Deliveries deliveries(policy);  // may report to its end
    auto report = [&](const std::string& problem) {
        std::lock_guard<std::mutex> guard(lock);
        problems += problem + "\n";
        reported.up();
    };
    Listener good, bad;
    good.failures = 2;  // within the retries
    bad.failures = 4;   // one more than those: the first alert is lost
    const auto toGood = deliveries.open(good.url(), report);
    const auto toBad = deliveries.open(bad.url(), report);
    EXPECT_EQ(deliveries.open(good.url(), report), toGood);
    for (int i = 0; i < 3; i++) {
        toBad->take(numbered(i));
        toGood->take(numbered(i));
    }
    good.came.waitFor(5);
    bad.came.waitFor(6);
    reported.waitFor(1);
    EXPECT_EQ(good.log, "0 0 0 1 2 ");
    EXPECT_EQ(bad.log, "0 0 0 0 1 2 ");
    EXPECT_EQ(problems, "listener " + bad.url() + ": it answered 500, an alert is lost\n");
    EXPECT_NE(deliveries.open("http://Listener.example:1/x", report), nullptr);
    for (const char* url :
         {"https://localhost", "http://", "http://localhost:0", "http://localhost:x", "localhost",
          "http://localhost/a b", "http://other.example", "http://127.0.0.1@other.example",
          "http://127.0.0.1.other.example/", "http://[::1].other.example", "http://0"}) {
        EXPECT_EQ(code([&] { deliveries.open(url, report); }), CIM_ERR_INVALID_PARAMETER) << url;
    }
}

TEST(Deliveries, AListenerThatIsNotThereHoldsNobodyUp) {
    velmar_wire::DeliveryPolicy policy;  // half a minute between tries
    policy.queueCapacity = 2;
    Count reported;
    velmar_wire::Deliveries deliveries(policy);
    auto report = [&](const std::string&) { reported.up(); };
    const auto nobody = deliveries.open("http://127.0.0.1:1", report);
    Listener listener;
    const auto somebody = deliveries.open(listener.url(), [](const std::string&) {});
    for (int i = 0; i < 5; i++) {
        nobody->take(numbered(i));
        somebody->take(numbered(i));
        listener.came.waitFor(i + 1);
    }
    EXPECT_EQ(listener.log, "0 1 2 3 4 ");
    const int dropped = reported.value();  // once for each run of those that do not fit
    EXPECT_GE(dropped, 1);
    deliveries.stop();
    EXPECT_EQ(reported.value(), dropped + 1);  // those that are given up
}

TEST(AlertListener, TakesWhatServersExportAndRefusesTheRest) {
    std::string log;
    Count came;
    const velmar_wire::AlertListener listener([&](const CIMInstance& alert) {
        log += property(alert, "Note") + " ";
        came.up();
        if (came.value() == 1) {
            throw std::runtime_error("again, please");
        }
    });
    velmar_wire::DeliveryPolicy policy;
    policy.interval = 1ms;
    velmar_wire::Deliveries deliveries(policy);
    const auto destination = deliveries.open(listener.url(), [](const std::string&) {});
    destination->take(numbered(7));
    destination->take(numbered(8));
    came.waitFor(3);
    deliveries.stop();
    EXPECT_EQ(log, "7 7 8 ");
    const std::string request = velmar_wire::exportMessage(numbered(9), 1);
    httplib::Client client(listener.url());
    const auto status = [&](const std::string& message) {
        const auto result = client.Post("/", message, "application/xml");
        return result ? result->status : 0;
    };
    EXPECT_EQ(status(request), 200);
    const auto fromPage =
        client.Post("/", {{"Origin", "http://page.test"}}, request, "application/xml");
    EXPECT_EQ(fromPage ? fromPage->status : 0, 403);
    EXPECT_EQ(status(request.substr(0, request.size() / 2)), 400);
    EXPECT_EQ(status("<?xml version=\"1.0\"?><CIM CIMVERSION=\"2.0\" DTDVERSION=\"2.0\"/>"), 400);
}

TEST(Deliveries, ListenersAndWhatWaitsForThemAreLimited) {
    velmar_wire::DeliveryPolicy policy;
    policy.listeners = 1;
    policy.queueBytes = 10000;
    velmar_wire::Deliveries deliveries(policy);
    Count reported;
    auto report = [&](const std::string&) { reported.up(); };
    CIMInstance large = instanceAt("root/test:T_Alert");
    add(large, "Note", CIMValue(String(std::string(10000, 'x').c_str())));
    {
        const auto only = deliveries.open("http://127.0.0.1:1", report);
        EXPECT_EQ(code([&] { deliveries.open("http://127.0.0.1:2", report); }), CIM_ERR_FAILED);
        only->take(large);
        EXPECT_EQ(reported.value(), 1);
    }
    EXPECT_NE(deliveries.open("http://127.0.0.1:2", report), nullptr);
    EXPECT_EQ(deliveries.refusals().destinations, 1u);
    EXPECT_EQ(deliveries.refusals().alerts, 1u);
}

TEST_F(WireServer, SubscriptionsAreInstances) {
    server.compileMofText("root/test", "class T_Alert { string Note; };");
    auto* const alerts = new Alerts;
    server.registerProvider("Alerts", alerts,
                            {{"T_Alert", {"root/test"}, {ProviderType::Indication}, {}}});
    const CIMNamespaceName interop("root/PG_InterOp");
    Listener listener;
    std::string log;
    alerts->onCall = [&](const std::string& call) { log += call + " "; };
    serve();
    auto create = [&](const char* className, const char* name,
                      const std::vector<std::pair<const char*, std::string>>& properties) {
        CIMInstance instance = instanceAt(className);
        add(instance, "Name", name);
        for (const auto& [property, value] : properties) {
            add(instance, property, value.c_str());
        }
        return client.createInstance(interop, instance);
    };
    auto filterFor = [&](const char* name, const char* query, const char* language = "WQL") {
        return create(
            "CIM_IndicationFilter", name,
            {{"Query", query}, {"QueryLanguage", language}, {"SourceNamespace", "root/test"}});
    };
    auto subscribe = [&](const CIMObjectPath& filter, const CIMObjectPath& handler) {
        CIMInstance instance = instanceAt("CIM_IndicationSubscription");
        add(instance, "Filter", CIMValue(filter));
        add(instance, "Handler", CIMValue(handler));
        return client.createInstance(interop, instance);
    };
    const auto filter = filterFor("f", "select * from T_Alert");
    const auto other = filterFor("g", "select * from T_A");
    EXPECT_EQ(code([&] { filterFor("h", "select * from T_A", "SQL"); }), CIM_ERR_INVALID_PARAMETER);
    EXPECT_EQ(outcome([&] { filterFor("h", "select * from No_Such"); }),
              "6 CIM_ERR_NOT_FOUND: No_Such");
    for (const char* query : {"select No from T_Alert", "select * from T_Alert where No is null"}) {
        EXPECT_EQ(outcome([&] { filterFor("h", query); }),
                  "4 CIM_ERR_INVALID_PARAMETER: The property No was not found in the FROM class "
                  "T_Alert");
    }
    EXPECT_EQ(outcome([&] { filterFor("f", "select * from T_Alert"); }),
              "11 CIM_ERR_ALREADY_EXISTS: CIM_IndicationFilter.CreationClassName=\""
              "CIM_IndicationFilter\",Name=\"f\",SystemCreationClassName=\"" +
                  text(System::getSystemCreationClassName()) + "\",SystemName=\"\"");
    const auto handler =
        create("CIM_IndicationHandlerCIMXML", "h", {{"Destination", listener.url()}});
    EXPECT_EQ(code([&] {
                  create("CIM_IndicationHandlerCIMXML", "i", {{"Destination", "http://h.example"}});
              }),
              CIM_ERR_INVALID_PARAMETER);
    EXPECT_EQ(outcome([&] { subscribe(other, handler); }),
              "7 CIM_ERR_NOT_SUPPORTED: No providers are capable of servicing the subscription.");
    EXPECT_EQ(client.enumerateInstanceNames(interop, "CIM_IndicationSubscription").size(), 0u);
    EXPECT_EQ(client.enumerateInstanceNames(interop, "CIM_ListenerDestination").size(), 1u);
    // The provider may use all of this meanwhile, but its own subscription.
    std::string meanwhile;
    alerts->onCall = [&](const std::string& call) {
        log += call + " ";
        if (call == "create") {
            const CIMObjectPath own = alerts->subscription;
            meanwhile = outcome([&] { alerts->cimom.deleteInstance(none, interop, other); }) +
                        "; " +
                        outcome([&] { alerts->cimom.deleteInstance(none, interop, filter); }) +
                        "; " + outcome([&] { alerts->cimom.deleteInstance(none, interop, own); });
        }
    };
    const CIMObjectPath subscription = subscribe(filter, handler);
    EXPECT_EQ(meanwhile.find("ok; 1 A filter or handler referenced by a subscription cannot be "
                             "deleted.; 1 deleteInstance would never return: subscription CIM_Ind"),
              0u)
        << meanwhile;
    CIMObjectPath local = filter;
    local.setHost("localhost");
    local.setNameSpace(interop);
    EXPECT_EQ(code([&] { subscribe(local, handler); }), CIM_ERR_ALREADY_EXISTS);
    EXPECT_EQ(code([&] { client.deleteInstance(interop, handler); }), CIM_ERR_FAILED);

    auto setState = [&](Uint16 state) {
        CIMInstance change = instanceAt("CIM_IndicationSubscription");
        change.setPath(subscription);
        add(change, "SubscriptionState", CIMValue(state));
        client.modifyInstance(interop, change);
    };
    auto state = [&] {
        return property(client.getInstance(interop, subscription), "SubscriptionState");
    };
    alerts->handler.load()->deliver(numbered(1));
    listener.came.waitFor(1);
    setState(4);
    EXPECT_EQ(log, "initialize create enable delete disable ");
    alerts->onCall = [](auto&) { throw CIMException(CIM_ERR_FAILED, "not now"); };
    EXPECT_EQ(code([&] { setState(2); }), CIM_ERR_NOT_SUPPORTED);
    EXPECT_EQ(state(), "4") << "as before";
    alerts->onCall = [&](const std::string& call) { log += call + " "; };
    setState(2);
    EXPECT_EQ(state(), "2");
    alerts->handler.load()->deliver(numbered(2));
    log.clear();
    std::string elsewhere = text(subscription.toString());  // the ends on another host
    elsewhere.replace(elsewhere.find("Filter=\"") + 8, 0, "//h/n:");
    client.deleteInstance(interop, path(elsewhere));
    listener.came.waitFor(2);  // delivered before the end, so it comes
    EXPECT_EQ(listener.log, "1 2 ");
    EXPECT_EQ(log, "delete ");
    client.deleteInstance(interop, handler);
    EXPECT_EQ(code([&] { client.getInstance(interop, handler); }), CIM_ERR_NOT_FOUND);
    server.stop();  // before what its providers use goes
}

}  // namespace
