// SPDX-FileCopyrightText: The velmar_remote authors
// SPDX-License-Identifier: MIT

#include "CimHandler.h"

#include <Pegasus/Client/CIMClient.h>
#include <strings.h>

#include <algorithm>
#include <memory>
#include <optional>
#include <utility>

#include "CimReader.h"
#include "MessageParts.h"
#include "Messages.h"
#include "client/ClientConnection.h"

using namespace Pegasus;
using velmar_embedded::Answer;

namespace velmar_wire {

namespace {

bool isMandatory(const HttpRequest& request) { return request.method == "M-POST"; }

HttpResponse refusal(int status, const std::string& detail = "", const char* cimError = nullptr) {
    HttpResponse response;
    response.status = status;
    if (cimError) {
        response.headers.emplace_back("CIMError", cimError);
    }
    if (!detail.empty()) {
        response.headers.emplace_back("PGErrorDetail", percentEncoded(detail));
    }
    return response;
}

HttpResponse refusal(const MessageFault& fault, const std::string& body) {
    const std::string text = fault.what();
    const std::string line =
        fault.offset < 0 ? "" : "on line " + std::to_string(lineAt(body, fault.offset));
    auto placed = [&](const char* kind) {
        return line.empty() ? text : std::string(kind) + " error: " + line + ": " + text;
    };
    switch (fault.defect) {
        case Defect::NotWellFormed:
            return refusal(400, line.empty() ? text : text + ": " + line,
                           "request-not-well-formed");
        case Defect::Invalid:
            return refusal(400, placed("Validation"), "request-not-valid");
        case Defect::Meaningless:
            return refusal(400, placed("Semantic"), "request-not-valid");
        case Defect::Unsupported:
            return refusal(501, text, fault.cimError);
        case Defect::HeaderMismatch:
            return refusal(400, text, "header-mismatch");
        case Defect::UnsupportedOperation:
            return refusal(400, text, "unsupported-operation");
        default:
            return refusal(400, text);
    }
}

// application/xml or text/xml, in UTF-8 where an encoding is said.
bool isXml(const std::string& contentType) {
    std::string type;
    for (const char c : contentType) {
        if (c != ' ' && c != '"' && c != '\t') {
            type += char(tolower(static_cast<unsigned char>(c)));
        }
    }
    const size_t end = type.find(';');
    const std::string kind = type.substr(0, end);
    return (kind == "application/xml" || kind == "text/xml") &&
           (end == std::string::npos || type.substr(end) == ";charset=utf-8");
}

// The headers that the extension declaration of RFC 2774 puts under a number: "73-".
std::string prefixOf(const HttpRequest& request) {
    const std::string* const man = isMandatory(request) ? request.header("Man") : nullptr;
    const size_t at = man ? man->find("ns=") : std::string::npos;
    if (at == std::string::npos) {
        return "";
    }
    const size_t end = man->find_first_not_of("0123456789", at + 3);
    return man->substr(at + 3, end == std::string::npos ? end : end - at - 3) + "-";
}

const std::string* cimHeader(const HttpRequest& request, const char* name) {
    return request.header(prefixOf(request) + name);
}

std::string requiredHeader(const HttpRequest& request, const char* name) {
    const std::string* const value = cimHeader(request, name);
    if (!value) {
        throw MessageFault(Defect::HeaderMismatch,
                           std::string("Missing ") + name + " HTTP header.");
    }
    return percentDecoded(*value);
}

// Keys by name and text: a header cannot tell a number in quotes from a string.
CIMObjectPath untyped(const CIMObjectPath& path) {
    Array<CIMKeyBinding> keys = path.getKeyBindings();
    for (Uint32 i = 0; i < keys.size(); i++) {
        if (keys[i].getType() != CIMKeyBinding::REFERENCE) {
            keys[i].setType(CIMKeyBinding::STRING);
        }
    }
    return CIMObjectPath(String(), path.getNameSpace(), path.getClassName(), keys);
}

// Throws MessageFault for what is not even of the form that the call wants.
bool isSameObject(const Call& call, const std::string& header) {
    if (header == objectOf(call)) {
        return true;  // even where keys look like paths, or are reals, which no path's text can
                      // have
    }
    return guarded([&] {
        const String text = stringOf(header);
        return call.isExtrinsic ? untyped(CIMObjectPath(text)) == untyped(call.object)
                                : CIMNamespaceName(text).equal(call.nameSpace);
    });
}

void requireSame(const char* name, const std::string& header, const char* what,
                 const std::string& wanted, bool same) {
    if (!same) {
        throw MessageFault(Defect::HeaderMismatch, std::string(name) + " value \"" + header +
                                                       "\" does not match CIM request " + what +
                                                       " \"" + wanted + "\".");
    }
}

void checkCimHeaders(const HttpRequest& request, std::string& method, std::string& object) {
    const std::string* const operation = cimHeader(request, "CIMOperation");
    if (!operation) {
        throw MessageFault(Defect::BadHeader, "");
    }
    if (strcasecmp(operation->c_str(), "MethodCall") != 0) {
        throw MessageFault(Defect::UnsupportedOperation,
                           "CIMOperation value \"" + *operation + "\" is not supported.");
    }
    if (cimHeader(request, "CIMBatch")) {
        throw MessageFault(Defect::Unsupported, "Multiple requests are not supported.", -1,
                           "multiple-requests-unsupported");
    }
    method = requiredHeader(request, "CIMMethod");
    object = requiredHeader(request, "CIMObject");
}

// The text of a response, some of it at a time.
class ResponseText {
 public:
    explicit ResponseText(Call call) : _call(std::move(call)), _writer(_call) {
        _connection.connectLocal();
        _pieces = _connection.exchangePieces(*_call.request);
    }

    bool isWhole() const { return !_pieces; }
    /// Throws what AnswerPieces::next does.
    std::string next() {
        while (!isWhole() && _writer.size() < enough) {
            if (const std::optional<Answer> piece = _pieces->next()) {
                _writer.add(*piece);
            } else {
                _writer.end();
                _pieces.reset();
            }
        }
        return _writer.take();
    }

 private:
    static constexpr size_t enough = 64 * 1024;  // bytes, for a chunk

    const Call _call;
    ResponseWriter _writer;
    velmar_embedded::ClientConnection _connection;
    std::unique_ptr<velmar_embedded::AnswerPieces> _pieces;
};

// What DSP0200 has behind the last chunk for an error that came after the first one.
HttpHeaders trailerFor(const CIMException& error) {
    const Uint32 longest = 1000;
    const String text = error.getMessage();
    return {{"CIMStatusCode", std::to_string(error.getCode())},
            {"CIMStatusCodeDescription",
             percentEncoded(utf8(text.subString(0, std::min(longest, text.size()))))}};
}

// Sets the body, or its beginning and what makes the rest.
void serve(Call call, HttpResponse& response) {
    try {
        const auto text = std::make_shared<ResponseText>(call);
        response.body = text->next();
        if (text->isWhole()) {
            return;
        }
        response.more = [text](HttpHeaders& trailer) {
            try {
                return text->next();
            } catch (const CIMException& e) {
                trailer = trailerFor(e);
                return std::string();
            }
        };
    } catch (const CIMException& e) {
        response.body = errorTo(call, e.getCode(), e.getMessage());
    } catch (const CIMClientXmlException&) {
        response.body = emptyResponseTo(call);
    }
}

// HTTP/1.0 knows no chunks.
void makeWhole(HttpResponse& response) {
    HttpHeaders trailer;
    for (bool isWhole = !response.more; !isWhole;) {
        const std::string data = response.more(trailer);
        response.body += data;
        isWhole = data.empty();
    }
    response.more = nullptr;
}

std::string refusalOf(const Call& call) {
    const CIMException plain = call.refusal->exception();
    String text(cimStatusCodeToString(plain.getCode()));
    if (plain.getMessage().size() > 0) {
        text.append(": ").append(plain.getMessage());
    }
    return errorTo(call, plain.getCode(), text);
}

HttpResponse answerToCall(const HttpRequest& request) {
    std::string method;
    std::string object;
    checkCimHeaders(request, method, object);
    const std::string* const version = cimHeader(request, "CIMProtocolVersion");
    Call call = readCall(request.body, version ? *version : "1.0");
    requireSame("CIMMethod", method, "method", call.method,
                strcasecmp(method.c_str(), call.method.c_str()) == 0);
    requireSame("CIMObject", object, "object", objectOf(call), isSameObject(call, object));

    HttpResponse response;
    const bool takesTrailer = request.takesTrailer();
    if (call.refusal) {
        response.body = refusalOf(call);
    } else {
        // Later failures could not be told otherwise.
        call.request->takesPieces = takesTrailer;
        serve(std::move(call), response);
    }
    if (request.isHttp10) {
        makeWhole(response);
    }
    response.isChunked = takesTrailer || response.more;
    response.headers.emplace_back("Content-Type", "application/xml; charset=utf-8");
    if (isMandatory(request)) {
        response.headers.emplace_back("Ext", "");
        response.headers.emplace_back("Cache-Control", "no-cache");
        response.headers.emplace_back("Man", "http://www.dmtf.org/cim/mapping/http/v1.0; ns=36");
        response.headers.emplace_back("36-CIMOperation", "MethodResponse");
    } else {
        response.headers.emplace_back("CIMOperation", "MethodResponse");
    }
    if (takesTrailer) {
        response.headers.emplace_back("Trailer",
                                      "CIMStatusCode, CIMStatusCodeDescription, Content-Language");
    }
    return response;
}

}  // namespace

HttpResponse checkHead(const HttpRequest& request) {
    if (request.method != "POST" && !isMandatory(request)) {
        return refusal(501);
    }
    if (!request.header("Host")) {
        return refusal(400, "HTTP request message lacks a Host header field.");
    }
    const std::string* const contentType = request.header("Content-Type");
    if (!contentType || !isXml(*contentType)) {
        return refusal(400, "HTTP Content-Type header error.");
    }
    return HttpResponse();
}

HttpResponse answerTo(const HttpRequest& request) {
    HttpResponse head = checkHead(request);
    if (head.status != 200) {
        return head;
    }
    try {
        return answerToCall(request);
    } catch (const MessageFault& fault) {
        return refusal(fault, request.body);
    } catch (const CannotConnectException&) {
        return refusal(503);
    } catch (const Exception& e) {
        return refusal(500, std::string(e.getMessage().getCString()));
    } catch (const std::exception& e) {
        return refusal(500, e.what());
    }
}

}  // namespace velmar_wire
