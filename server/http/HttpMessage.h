// SPDX-FileCopyrightText: The velmar_remote authors
// SPDX-License-Identifier: MIT
//
// HTTP messages as far as CIM operations need them.
#ifndef VELMAR_WIRE_HTTPMESSAGE_H
#define VELMAR_WIRE_HTTPMESSAGE_H

#include <functional>
#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace velmar_wire {

using HttpHeaders = std::vector<std::pair<std::string, std::string>>;

/// The value of the first header of this name in any letter case; null without one.
const std::string* findHeader(const HttpHeaders& headers, const std::string& name);
/// Reads the lines of a head behind `start`, where the line before them ends. False if malformed.
bool parseFields(const std::string& head, size_t start, HttpHeaders& fields);

struct HttpRequest {
    std::string method;
    std::string target;
    bool isHttp10 = false;
    HttpHeaders headers;
    std::string body;

    const std::string* header(const std::string& name) const { return findHeader(headers, name); }
    bool keepsConnection() const;
    /// Whether its sender reads what stands behind the last chunk of an answer: TE: trailers.
    bool takesTrailer() const;
};

struct HttpResponse {
    int status = 200;
    HttpHeaders headers;
    std::string body;
    bool endsConnection = false;
    bool isChunked = false;
    /// Makes the next chunk of a body that only begins with `body`; empty at its end, which may
    /// have a trailer. Throws when the body cannot be brought to its end. Null if `body` is whole.
    std::function<std::string(HttpHeaders& trailer)> more;

    /// The message; without what `more` makes.
    std::string text() const;
};

std::string chunk(const std::string& data);
/// The end of a chunked body.
std::string lastChunk(const HttpHeaders& trailer);

/// The line and headers of a request, up to the empty line. Returns nullopt if malformed.
std::optional<HttpRequest> parseHead(const std::string& head);

/// How long a body is, and how it comes.
struct BodyLength {
    enum Kind { Known, Chunked, Missing, Malformed } kind;
    size_t size = 0;
};
BodyLength bodyLength(const HttpHeaders& headers);

/// Moves what is whole of a chunked body from the front of `input` to `body`.
class ChunkReader {
 public:
    enum Result { More, Whole, Malformed };
    Result read(std::string& input, std::string& body);
    /// What stood behind the last chunk.
    const HttpHeaders& trailer() const { return _trailer; }

 private:
    Result read(const std::string& input, size_t& used, std::string& body);

    enum { Size, Data, DataEnd, Trailer } _state = Size;
    size_t _left = 0;
    size_t _trailerSize = 0;
    HttpHeaders _trailer;
};

/// A host with its port, as in a URL and in a Host header.
struct Place {
    std::string host;                 ///< without the brackets of an IPv6 address
    std::optional<std::string> port;  ///< as written
};
Place placeIn(const std::string& text);
/// Whether a host is this one by a name that only its own clients use: 127.0.0.1, localhost, ::1.
bool isLoopback(const std::string& host);
/// Why a web page of elsewhere may have sent the request; empty if none can. A browser on this host
/// reaches the loopback interface under any name that the page's owner points there, but it says
/// that name.
std::string foreignOrigin(const HttpRequest& request);

std::string percentEncoded(const std::string& text);
/// As it is where a % is followed by no two digits.
std::string percentDecoded(const std::string& text);

}  // namespace velmar_wire

#endif
