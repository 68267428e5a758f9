// SPDX-FileCopyrightText: The velmar_remote authors
// SPDX-License-Identifier: MIT
//
// The client's side of CIM operations over HTTP: CIMClient::connect.
#include <Pegasus/Client/CIMClient.h>
#include <Pegasus/Common/Exception.h>
#include <fcntl.h>
#include <httplib.h>
#include <netdb.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

#include <chrono>
#include <string>

#include "CimReader.h"
#include "HttpMessage.h"
#include "Messages.h"
#include "Tls.h"
#include "client/Connector.h"

using namespace Pegasus;
using velmar_embedded::Answer;
using velmar_embedded::Operation;
using velmar_embedded::Request;

namespace velmar_wire {

namespace {

using Clock = std::chrono::steady_clock;

// Whether something listens there.
bool isReachable(const std::string& host, int port, int timeout) {
    addrinfo hints = {};
    hints.ai_socktype = SOCK_STREAM;
    addrinfo* found = nullptr;
    if (getaddrinfo(host.c_str(), std::to_string(port).c_str(), &hints, &found) != 0) {
        return false;
    }
    bool reached = false;
    for (const addrinfo* each = found; each && !reached; each = each->ai_next) {
        const int socket = ::socket(each->ai_family, each->ai_socktype | SOCK_NONBLOCK, 0);
        if (socket < 0) {
            continue;
        }
        reached = ::connect(socket, each->ai_addr, each->ai_addrlen) == 0;
        pollfd wanted = {socket, POLLOUT, 0};
        int error = 0;
        socklen_t size = sizeof error;
        if (!reached && errno == EINPROGRESS && poll(&wanted, 1, timeout) == 1) {
            reached = getsockopt(socket, SOL_SOCKET, SO_ERROR, &error, &size) == 0 && error == 0;
        }
        close(socket);
    }
    freeaddrinfo(found);
    return reached;
}

bool hasOneResult(Operation operation) {
    return operation == Operation::GetClass || operation == Operation::GetInstance ||
           operation == Operation::CreateInstance || operation == Operation::GetQualifier;
}

// As a URL has it.
std::string placeOf(const std::string& host, int port) {
    const bool isIPv6 = host.find(':') != std::string::npos;
    return (isIPv6 ? "[" + host + "]" : host) + ":" + std::to_string(port);
}

class HttpServerConnection : public velmar_embedded::RemoteServer {
 public:
    HttpServerConnection(const std::string& host, int port, const std::string& user,
                         const std::string& password, const Trust* trust)
        : _host(host), _place(placeOf(host, port)) {
        if (trust != nullptr) {
            auto client = tlsClient(host, port, *trust);
            _tls = client.get();
            _client = std::move(client);
        } else {
            _client = std::make_unique<httplib::ClientImpl>(host, port);
        }
        _client->set_keep_alive(true);
        _client->set_tcp_nodelay(true);
        if (!user.empty()) {
            _client->set_basic_auth(user, password);
        }
    }

    Answer exchange(const Request& request, Uint32 timeout) override {
        const std::string body = post(request, std::chrono::milliseconds(timeout));
        try {
            const Answer answer = readResponse(request, body);
            if (hasOneResult(request.operation) && answer.classes.size() + answer.instances.size() +
                                                           answer.paths.size() +
                                                           answer.qualifiers.size() !=
                                                       1) {
                throw CIMClientXmlException(stringOf(
                    "malformed response: not one object in the answer to " + methodOf(request)));
            }
            return answer;
        } catch (const MessageFault& fault) {
            throw CIMClientXmlException(
                stringOf(std::string("malformed response: ") + fault.what()));
        }
    }

 private:
    std::string post(const Request& request, std::chrono::milliseconds timeout) {
        const httplib::Headers headers = {
            {"Host", _place},
            {"CIMOperation", "MethodCall"},
            {"CIMMethod", percentEncoded(methodOf(request))},
            {"CIMObject", percentEncoded(objectOf(request))},
        };
        _client->set_connection_timeout(timeout);
        _client->set_read_timeout(timeout);
        _client->set_write_timeout(timeout);
        const Clock::time_point begin = Clock::now();
        const httplib::Result result =
            _client->Post("/cimom", headers, requestMessage(request, ++_lastId),
                          "application/xml; charset=\"utf-8\"");
        if (!result) {
            const std::string fault =
                _tls == nullptr ? "" : tlsFault(*_tls, result.error(), _host, _place);
            if (!fault.empty()) {
                throw CannotConnectException(stringOf(fault));
            }
            // cpp-httplib does not tell a time that ran out from a connection that broke.
            if (Clock::now() - begin >= timeout) {
                throw ConnectionTimeoutException();
            }
            throw CannotConnectException(stringOf("Connection to " + _place +
                                                  " lost: " + httplib::to_string(result.error())));
        }
        if (result->status != 200) {
            throw CIMClientHTTPErrorException(stringOf(errorText(*result)));
        }
        return result->body;
    }

    static std::string errorText(const httplib::Response& response) {
        std::string text = "HTTP status " + std::to_string(response.status);
        for (const char* const name : {"CIMError", "PGErrorDetail"}) {
            const std::string value = percentDecoded(response.get_header_value(name));
            if (!value.empty() && isUtf8(value)) {
                text.append(", ").append(name).append(": ").append(value);
            }
        }
        return text;
    }

    const std::string _host, _place;
    std::unique_ptr<httplib::ClientImpl> _client;
    const httplib::SSLClient* _tls = nullptr;  // the client, where it is one
    unsigned _lastId = 0;
};

class HttpConnector : public velmar_embedded::Connector {
 public:
    HttpConnector() { install(*this); }

    std::unique_ptr<velmar_embedded::RemoteServer> connect(const String& host, Uint32 port,
                                                           const String& user,
                                                           const String& password,
                                                           Uint32 timeout) const override {
        const int milliseconds = int(std::min<Uint32>(timeout, 0x7FFFFFFF));
        if (port == 0 || port > 65535 || !isReachable(utf8(host), int(port), milliseconds)) {
            throw CannotConnectException(
                stringOf("Cannot connect to " + placeOf(utf8(host), int(port))));
        }
        return std::make_unique<HttpServerConnection>(utf8(host), int(port), utf8(user),
                                                      utf8(password), wantedTrust());
    }
};

const HttpConnector connector;

}  // namespace

}  // namespace velmar_wire

/// What the link option of the library's target asks for.
extern "C" int velmar_wire_linked();
int velmar_wire_linked() { return 1; }
