// SPDX-FileCopyrightText: The velmar_remote authors
// SPDX-License-Identifier: MIT
//
// Requests over HTTP to a cached provider, each client with a connection of its own that is kept:
// by a CIMClient, and by a client that only sends bytes and counts those that come, so that the
// server is what is measured. Client and server share this machine.
#include <arpa/inet.h>
#include <benchmark/benchmark.h>
#include <netinet/tcp.h>
#include <stdlib.h>
#include <sys/socket.h>
#include <unistd.h>

#include <stdexcept>
#include <string>

#include <velmar_wire/WireServer.h>
#include "support/LinkServer.h"

using namespace Pegasus;
using namespace support;

namespace {

// A class with as many instances as its name says.
const char* classOf(int64_t count) {
    return count == 1000 ? "T_Thousand" : count == 100 ? "T_Hundred" : "T_Six";
}

uint16_t port() {
    static velmar_wire::WireServer* const wire = [] {
        auto* const site = new LinkServer;
        for (const int64_t count : {6, 100, 1000}) {
            const char* const name = classOf(count);
            site->server.compileMofText(NAMESPACE, std::string("class ") + name + " : T_Thing {};");
            Things* const things = new Things(name);
            for (int64_t i = 0; i < count; i++) {
                things->_cache.insert(makeThing(std::to_string(i), name));
            }
            site->server.registerProvider(
                name, things, {{name, {NAMESPACE}, {velmar_embedded::ProviderType::Instance}, {}}});
        }
        return new velmar_wire::WireServer(site->server);
    }();
    return wire->port();
}

class HttpClient : public CIMClient {
 public:
    HttpClient() { connect("127.0.0.1", port(), String(), String()); }
};

// Sends one request over and over.
class ByteClient {
 public:
    ByteClient(const std::string& method, const std::string& parameter)
        : _socket(socket(AF_INET, SOCK_STREAM, 0)) {
        std::string place;
        const std::string nameSpace = NAMESPACE;
        for (size_t at = 0, end = 0; end != std::string::npos; at = end + 1) {
            end = nameSpace.find('/', at);
            place += "<NAMESPACE NAME=\"" + nameSpace.substr(at, end - at) + "\"/>";
        }
        const std::string body =
            "<?xml version=\"1.0\"?><CIM CIMVERSION=\"2.0\" DTDVERSION=\"2.0\"><MESSAGE ID=\"1\" "
            "PROTOCOLVERSION=\"1.0\"><SIMPLEREQ><IMETHODCALL NAME=\"" +
            method + "\"><LOCALNAMESPACEPATH>" + place + "</LOCALNAMESPACEPATH>" + parameter +
            "</IMETHODCALL></SIMPLEREQ></MESSAGE></CIM>";
        _request =
            "POST /cimom HTTP/1.1\r\nHost: localhost\r\nContent-Type: application/xml\r\n"
            "CIMOperation: MethodCall\r\nCIMMethod: " +
            method + "\r\nCIMObject: " + nameSpace +
            "\r\nContent-Length: " + std::to_string(body.size()) + "\r\n\r\n" + body;
        sockaddr_in address = {};
        address.sin_family = AF_INET;
        address.sin_port = htons(port());
        address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
        const int yes = 1;
        setsockopt(_socket, IPPROTO_TCP, TCP_NODELAY, &yes, sizeof yes);
        if (connect(_socket, reinterpret_cast<sockaddr*>(&address), sizeof address) != 0) {
            throw std::runtime_error("no connection");
        }
    }
    ~ByteClient() { close(_socket); }
    ByteClient(const ByteClient&) = delete;
    ByteClient& operator=(const ByteClient&) = delete;

    void exchange() {
        if (send(_socket, _request.data(), _request.size(), 0) != ssize_t(_request.size())) {
            throw std::runtime_error("not sent");
        }
        _answer.clear();
        while (!isWhole()) {
            char buffer[65536];
            const ssize_t count = recv(_socket, buffer, sizeof buffer, 0);
            if (count <= 0) {
                throw std::runtime_error("no answer");
            }
            _answer.append(buffer, size_t(count));
        }
        if (_answer.find("<IRETURNVALUE>") == std::string::npos) {
            throw std::runtime_error("a wrong answer: " + _answer);
        }
    }

 private:
    bool isWhole() const {
        const size_t end = _answer.find("\r\n\r\n");
        const size_t length = _answer.find("Content-Length: ");
        const std::string lastChunk = "\r\n0\r\n\r\n";
        if (length < end) {
            return _answer.size() >= end + 4 + strtoul(_answer.c_str() + length + 16, nullptr, 10);
        }
        return end != std::string::npos && _answer.compare(_answer.size() - lastChunk.size(),
                                                           std::string::npos, lastChunk) == 0;
    }

    const int _socket;
    std::string _request;
    std::string _answer;
};

void GetInstance(benchmark::State& state) {
    HttpClient client;
    const CIMObjectPath wanted = path(thing("42", "T_Hundred"));
    for (auto _ : state) {
        benchmark::DoNotOptimize(client.getInstance(NAMESPACE, wanted));
    }
    state.SetItemsProcessed(state.iterations());
}
void EnumerateInstances(benchmark::State& state) {
    HttpClient client;
    for (auto _ : state) {
        benchmark::DoNotOptimize(client.enumerateInstances(NAMESPACE, classOf(state.range(0))));
    }
    state.SetItemsProcessed(state.iterations());
}
void GetInstanceBytes(benchmark::State& state) {
    const CIMObjectPath wanted = path(thing("42", "T_Hundred"));
    const CIMKeyBinding key = wanted.getKeyBindings()[0];
    ByteClient client("GetInstance",
                      "<IPARAMVALUE NAME=\"InstanceName\"><INSTANCENAME CLASSNAME=\"T_Hundred\">"
                      "<KEYBINDING NAME=\"" +
                          text(key.getName().getString()) + "\"><KEYVALUE>" + text(key.getValue()) +
                          "</KEYVALUE></KEYBINDING></INSTANCENAME></IPARAMVALUE>");
    for (auto _ : state) {
        client.exchange();
    }
    state.SetItemsProcessed(state.iterations());
}
void EnumerateInstancesBytes(benchmark::State& state) {
    ByteClient client("EnumerateInstances", std::string("<IPARAMVALUE NAME=\"ClassName\">"
                                                        "<CLASSNAME NAME=\"") +
                                                classOf(state.range(0)) + "\"/></IPARAMVALUE>");
    for (auto _ : state) {
        client.exchange();
    }
    state.SetItemsProcessed(state.iterations());
}

BENCHMARK(GetInstance)->UseRealTime()->Threads(1)->Threads(4);
BENCHMARK(EnumerateInstances)->Arg(6)->Arg(100)->Arg(1000)->UseRealTime()->Threads(1)->Threads(4);
BENCHMARK(GetInstanceBytes)->UseRealTime()->Threads(1)->Threads(4);
BENCHMARK(EnumerateInstancesBytes)
    ->Arg(6)
    ->Arg(100)
    ->Arg(1000)
    ->UseRealTime()
    ->Threads(1)
    ->Threads(4);

}  // namespace

BENCHMARK_MAIN();
