// SPDX-FileCopyrightText: The velmar_remote authors
// SPDX-License-Identifier: MIT
//
// Answers that go to the client while their provider delivers them.
#include <new>

#include <velmar_wire/WireServer.h>
#include "HttpServer.h"
#include "support/ScriptedServer.h"
#include "support/Socket.h"

using namespace support;
using namespace std::chrono_literals;

namespace {

CIMInstance large(const std::string& objectPath, size_t size) {
    CIMInstance instance = item(objectPath);
    add(instance, "s", std::string(size, 'x').c_str());
    return instance;
}

class LargeAnswers : public ScriptedServer {
 protected:
    velmar_wire::Options options;
    std::unique_ptr<velmar_wire::WireServer> wire;
    Count delivered, ended;

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
    // A provider that delivers so many instances, then runs `end`.
    void deliver(
        int count, size_t size, const std::function<void()>& end = [] {}) {
        provide("P", {"T_A"})->enumerate = [=](const Call&, InstanceResponseHandler& handler) {
            for (int i = 0; i < count; i++) {
                handler.deliver(large("T_A.k=\"" + std::to_string(i) + "\"", size));
                delivered.up();
            }
            ended.up();
            end();
        };
    }
    std::unique_ptr<Socket> ask(const std::string& headers, const char* version = "1.1") {
        const std::string body =
            "<?xml version=\"1.0\"?><CIM CIMVERSION=\"2.0\" DTDVERSION=\"2.0\"><MESSAGE ID=\"1\" "
            "PROTOCOLVERSION=\"1.0\"><SIMPLEREQ><IMETHODCALL NAME=\"EnumerateInstances\">"
            "<LOCALNAMESPACEPATH><NAMESPACE NAME=\"root\"/><NAMESPACE NAME=\"test\"/>"
            "</LOCALNAMESPACEPATH><IPARAMVALUE NAME=\"ClassName\"><CLASSNAME NAME=\"T_A\"/>"
            "</IPARAMVALUE></IMETHODCALL></SIMPLEREQ></MESSAGE></CIM>";
        auto socket = std::make_unique<Socket>(wire->port());
        socket->send(std::string("POST / HTTP/") + version +
                     "\r\nHost: localhost\r\nContent-Type: text/xml\r\nCIMOperation: MethodCall\r\n"
                     "CIMMethod: EnumerateInstances\r\nCIMObject: root/test\r\nContent-Length: " +
                     std::to_string(body.size()) + "\r\nConnection: close\r\n" + headers + "\r\n" +
                     body);
        return socket;
    }
};

const char* const trailers = "TE: chunked;q=1, Trailers\r\n";

int count(const std::string& text, const std::string& what) {
    int found = 0;
    for (size_t at = 0; (at = text.find(what, at)) != std::string::npos; at += what.size()) {
        found++;
    }
    return found;
}

bool endsWith(const std::string& text, const std::string& end) {
    return text.size() >= end.size() && text.substr(text.size() - end.size()) == end;
}

TEST_F(LargeAnswers, TheProviderIsNotFarAheadOfTheClient) {
    const int all = 2000;  // 100 MB
    deliver(all, 50000);
    serve();
    const auto socket = ask(trailers);
    std::string answer =
        socket->some();  // before the provider is at its end, without a copy of all
    EXPECT_FALSE(delivered.reaches(all / 2));
    answer += socket->all();
    EXPECT_EQ(count(answer, "<VALUE.NAMEDINSTANCE>"), all);
    EXPECT_TRUE(endsWith(answer, "</CIM>\n\r\n0\r\n\r\n"));
}

TEST_F(LargeAnswers, ClientsThatGoOrStopReadingHoldNobodyUp) {
    options.limits.requestTime = 100ms;
    deliver(2000, 50000);
    serve();
    ask(trailers)->some();  // goes
    ended.waitFor(1);
    const auto socket = ask(trailers);  // stops
    ended.waitFor(2);
    EXPECT_FALSE(endsWith(socket->all(), "\r\n0\r\n\r\n"));
}

TEST_F(LargeAnswers, AnErrorAfterTheFirstChunkStandsInTheTrailer) {
    deliver(250, 1000, [] { throw CIMException(CIM_ERR_ACCESS_DENIED, String("not\r\n: all")); });
    serve();
    const std::string cut = ask(trailers)->all();
    EXPECT_EQ(cut.substr(0, 12), "HTTP/1.1 200");
    EXPECT_GE(count(cut, "<VALUE.NAMEDINSTANCE>"), 50);
    EXPECT_TRUE(endsWith(cut,
                         "\r\n0\r\nCIMStatusCode: 2\r\nCIMStatusCodeDescription: "
                         "not%0D%0A%3A%20all\r\n\r\n"))
        << cut.substr(cut.size() - 200);
    EXPECT_EQ(outcome([&] { client.enumerateInstances(ns, "T_A"); }), "2 not\r\n: all");
    const std::string whole = ask("")->all();  // cannot be told but at once
    EXPECT_EQ(count(whole, "<ERROR CODE=\"2\""), 1) << whole;
}

TEST_F(LargeAnswers, OtherClientsGetChunksOrTheWholeWithoutATrailer) {
    deliver(250, 1000);
    serve();
    const std::string chunked = ask("TE: chunked, x-trailers\r\n")->all();
    EXPECT_EQ(count(chunked, "Trailer:"), 0);
    EXPECT_TRUE(endsWith(chunked, "\r\n0\r\n\r\n"));
    const std::string whole = ask(trailers, "1.0")->all();
    EXPECT_EQ(count(whole, "Content-Length:"), 1);
    EXPECT_TRUE(endsWith(whole, "</CIM>\n"));
}

TEST_F(LargeAnswers, SeveralProvidersKeepTheirOrder) {
    Count superEnded;
    auto deliverTo = [](InstanceResponseHandler& handler, const std::string& className) {
        for (int i = 0; i < 250; i++) {
            handler.deliver(large(className + ".k=\"" + std::to_string(i) + "\"", 1000));
        }
    };
    provide("A", {"T_A"})->enumerate = [&](const Call&, InstanceResponseHandler& handler) {
        deliverTo(handler, "T_A");
        superEnded.up();
    };
    provide("D", {"T_D"})->enumerate = [&](const Call&, InstanceResponseHandler& handler) {
        superEnded.waitFor(1);
        deliverTo(handler, "T_D");
    };
    serve();
    const std::string answer = ask(trailers)->all();
    EXPECT_EQ(count(answer, "<INSTANCE CLASSNAME=\"T_D\""), 250);
    EXPECT_EQ(count(answer, "<INSTANCE CLASSNAME=\"T_A\""), 250);
    EXPECT_LT(answer.rfind("\"T_D\""), answer.find("<INSTANCE CLASSNAME=\"T_A\""));
}

TEST(LargeAnswersClient, AnswersThatAreCutOffOrEndInNonsenseAreNone) {
    const std::string begin =
        "<?xml version=\"1.0\"?><CIM CIMVERSION=\"2.0\" DTDVERSION=\"2.0\"><MESSAGE ID=\"1\" "
        "PROTOCOLVERSION=\"1.0\"><SIMPLERSP><IMETHODRESPONSE NAME=\"EnumerateClassNames\">"
        "<IRETURNVALUE><CLASSNAME NAME=\"A\"/>text<!-- <CLASSNAME> -->\n<CLASSNAME NAME=\"B\"/>";
    const std::string end = "</IRETURNVALUE></IMETHODRESPONSE></SIMPLERSP></MESSAGE></CIM>";
    const struct {
        std::string rest;
        velmar_wire::HttpHeaders trailer;
        bool isCut;
        std::string outcome;
    } cases[] = {
        {end, {}, false, "ok"},
        {end, {}, true, "Connection to"},
        {"", {{"CIMStatusCode", "4"}}, false, "4 CIM_ERR_INVALID_PARAMETER"},
        {"", {{"CIMStatusCode", "4"}, {"CIMStatusCodeDescription", "no%C3"}}, false, "4 CIM_ERR_"},
        {end, {{"CIMStatusCode", "x"}}, false, "malformed response"},
        {"", {}, false, "malformed response"},
        {"<CLASSNAME NAME=\"C\">" + end, {}, false, "malformed response"},
        {"<CLASSNAME NAME=\"-\"/>" + end, {}, false, "malformed response"},
        {"<CLASSNAME NAME='<!", {}, false, "malformed response"},
    };
    for (const auto& each : cases) {
        velmar_wire::HttpServer server(
            {}, [](const velmar_wire::HttpRequest&) { return velmar_wire::HttpResponse(); },
            [&](const velmar_wire::HttpRequest&) {
                velmar_wire::HttpResponse response;
                response.isChunked = true;
                std::string left = begin + each.rest;  // a byte at a time
                response.more = [&each, left](velmar_wire::HttpHeaders& trailer) mutable {
                    if (left.empty() && each.isCut) {
                        throw std::bad_alloc();
                    }
                    trailer = each.trailer;
                    const std::string next = left.substr(0, 1);
                    left.erase(0, 1);
                    return next;
                };
                return response;
            });
        CIMClient client;
        client.connect("127.0.0.1", server.start(0), String(), String());
        for (int i = 0; i < 2; i++) {  // whatever came before on the connection
            const std::string got =
                outcome([&] { EXPECT_EQ(client.enumerateClassNames("root/test").size(), 2u); });
            EXPECT_EQ(got.substr(0, each.outcome.size()), each.outcome) << each.rest;
        }
    }
}

}  // namespace
