// SPDX-FileCopyrightText: The velmar_remote authors
// SPDX-License-Identifier: MIT
//
// The client's side of CIM operations over HTTP: CIMClient::connect.
#include <Pegasus/Client/CIMClient.h>
#include <Pegasus/Common/Exception.h>
#include <httplib.h>

#include <memory>
#include <string>

#include "CimReader.h"
#include "HttpClient.h"
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

bool hasOneResult(Operation operation) {
    return operation == Operation::GetClass || operation == Operation::GetInstance ||
           operation == Operation::CreateInstance || operation == Operation::GetQualifier;
}

// Throws the error that came after the first chunk of an answer.
void checkTrailer(const HttpHeaders& trailer) {
    if (const std::string* const code = findHeader(trailer, "CIMStatusCode")) {
        const std::string* const given = findHeader(trailer, "CIMStatusCodeDescription");
        const std::string text = given ? percentDecoded(*given) : "";
        throwStatus(*code, isUtf8(text) ? text : "");
    }
}

std::string errorText(const HttpClient::Reply& reply) {
    std::string text = "HTTP status " + std::to_string(reply.status);
    for (const char* const name : {"CIMError", "PGErrorDetail"}) {
        const std::string* const found = findHeader(reply.headers, name);
        const std::string value = found ? percentDecoded(*found) : "";
        if (!value.empty() && isUtf8(value)) {
            text.append(", ").append(name).append(": ").append(value);
        }
    }
    return text;
}

class HttpServerConnection : public velmar_embedded::RemoteServer {
 public:
    HttpServerConnection(const std::string& host, int port, const std::string& user,
                         const std::string& password, const Trust* trust)
        : _client(host, port, trust) {
        if (!user.empty()) {
            _authorization.push_back(httplib::make_basic_authentication_header(user, password));
        }
    }

    void check(Uint32 timeout) {
        _client.connect(HttpClient::Time(timeout));
        _client.disconnect();  // the first request makes the one that is kept
    }

    Answer exchange(const Request& request, Uint32 timeout) override {
        try {
            ResponseReader reader(request);
            post(request, HttpClient::Time(timeout), reader);
            Answer answer = reader.end();
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
        } catch (const NoAnswer& e) {
            if (e.isTimeout) {
                throw ConnectionTimeoutException();
            }
            throw CannotConnectException(
                stringOf("Connection to " + _client.place() + " lost: " + e.what()));
        }
    }

 private:
    void post(const Request& request, HttpClient::Time timeout, ResponseReader& reader) {
        HttpHeaders headers = {{"Content-Type", "application/xml; charset=\"utf-8\""},
                               {"CIMOperation", "MethodCall"},
                               {"CIMMethod", percentEncoded(methodOf(request))},
                               {"CIMObject", percentEncoded(objectOf(request))},
                               {"TE", "chunked, trailers"}};
        headers.insert(headers.end(), _authorization.begin(), _authorization.end());
        const HttpClient::Reply reply =
            _client.post("/cimom", headers, requestMessage(request, ++_lastId), timeout,
                         [&](const char* data, size_t size) { reader.read(data, size); });
        if (reply.status != 200) {
            throw CIMClientHTTPErrorException(stringOf(errorText(reply)));
        }
        checkTrailer(reply.trailer);
    }

    HttpClient _client;
    HttpHeaders _authorization;
    unsigned _lastId = 0;
};

class HttpConnector : public velmar_embedded::Connector {
 public:
    HttpConnector() { install(*this); }

    std::unique_ptr<velmar_embedded::RemoteServer> connect(const String& host, Uint32 port,
                                                           const String& user,
                                                           const String& password,
                                                           Uint32 timeout) const override {
        const std::string place = utf8(host) + ":" + std::to_string(port);
        try {
            if (port == 0 || port > 65535) {
                throw NoAnswer("the port is out of range");
            }
            auto server = std::make_unique<HttpServerConnection>(utf8(host), int(port), utf8(user),
                                                                 utf8(password), wantedTrust());
            server->check(timeout);
            return server;
        } catch (const NoAnswer&) {
            throw CannotConnectException(stringOf("Cannot connect to " + place));
        }
    }
};

const HttpConnector connector;

}  // namespace

}  // namespace velmar_wire

/// What the link option of the library's target asks for.
extern "C" int velmar_wire_linked();
int velmar_wire_linked() { return 1; }
