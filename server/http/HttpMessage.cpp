// SPDX-FileCopyrightText: The velmar_remote authors
// SPDX-License-Identifier: MIT

#include "HttpMessage.h"

#include <string.h>
#include <strings.h>

#include <algorithm>
#include <charconv>

namespace velmar_wire {

namespace {

const size_t longestLine = 16 * 1024;  // of a chunk's size, and all of a trailer

const char* reasonOf(int status) {
    switch (status) {
        case 200:
            return "OK";
        case 400:
            return "Bad Request";
        case 403:
            return "Forbidden";
        case 413:
            return "Payload Too Large";
        case 431:
            return "Request Header Fields Too Large";
        case 501:
            return "Not Implemented";
        case 503:
            return "Service Unavailable";
        default:
            return "Internal Server Error";
    }
}

std::string trimmed(const std::string& text) {
    const size_t first = text.find_first_not_of(" \t");
    return first == std::string::npos
               ? std::string()
               : text.substr(first, text.find_last_not_of(" \t") - first + 1);
}

bool isToken(const std::string& text) {
    return !text.empty() && std::all_of(text.begin(), text.end(), [](unsigned char c) {
        return c > 0x20 && c < 0x7F && !strchr("()<>@,;:\\\"/[]?={}", c);
    });
}

template <class Number>
bool parseNumber(const std::string& text, Number& number, int base) {
    const auto result = std::from_chars(text.data(), text.data() + text.size(), number, base);
    return !text.empty() && result.ec == std::errc() && result.ptr == text.data() + text.size();
}

int digitOf(char c) {
    return c >= '0' && c <= '9'   ? c - '0'
           : c >= 'a' && c <= 'f' ? c - 'a' + 10
           : c >= 'A' && c <= 'F' ? c - 'A' + 10
                                  : -1;
}

}  // namespace

const std::string* findHeader(const HttpHeaders& headers, const std::string& name) {
    for (const auto& each : headers) {
        if (strcasecmp(each.first.c_str(), name.c_str()) == 0) {
            return &each.second;
        }
    }
    return nullptr;
}

bool parseFields(const std::string& head, size_t start, HttpHeaders& fields) {
    for (start += 2; start < head.size();) {
        const size_t end = std::min(head.find("\r\n", start), head.size());
        const std::string field = head.substr(start, end - start);
        const size_t colon = field.find(':');
        if (colon == std::string::npos || !isToken(field.substr(0, colon))) {
            return false;
        }
        fields.emplace_back(field.substr(0, colon), trimmed(field.substr(colon + 1)));
        start = end + 2;
    }
    return true;
}

bool HttpRequest::keepsConnection() const {
    const std::string* const connection = header("Connection");
    if (!connection) {
        return !isHttp10;
    }
    return strcasecmp(connection->c_str(), isHttp10 ? "keep-alive" : "close") == 0 ? isHttp10
                                                                                   : !isHttp10;
}

bool HttpRequest::takesTrailer() const {
    for (const auto& header : headers) {
        const bool isTe = strcasecmp(header.first.c_str(), "TE") == 0;
        for (size_t start = 0; isTe && start < header.second.size();) {
            const size_t end = std::min(header.second.find(',', start), header.second.size());
            const std::string coding = trimmed(header.second.substr(start, end - start));
            if (strcasecmp(coding.c_str(), "trailers") == 0) {
                return !isHttp10;
            }
            start = end + 1;
        }
    }
    return false;
}

std::string HttpResponse::text() const {
    std::string text = "HTTP/1.1 " + std::to_string(status) + " " + reasonOf(status) + "\r\n";
    text.reserve(text.size() + 256 + body.size());
    for (const auto& header : headers) {
        text.append(header.first).append(": ").append(header.second).append("\r\n");
    }
    if (isChunked) {
        text += "Transfer-Encoding: chunked\r\n";
    } else {
        text.append("Content-Length: ").append(std::to_string(body.size())).append("\r\n");
    }
    if (endsConnection) {
        text += "Connection: close\r\n";
    }
    text += "\r\n";
    if (!isChunked) {
        return text.append(body);
    }
    return text.append(chunk(body)).append(more ? "" : lastChunk({}));
}

std::string chunk(const std::string& data) {
    char size[2 * sizeof(size_t)];
    const auto end = std::to_chars(size, size + sizeof size, data.size(), 16).ptr;
    return data.empty() ? "" : std::string(size, end).append("\r\n").append(data).append("\r\n");
}

std::string lastChunk(const HttpHeaders& trailer) {
    std::string text = "0\r\n";
    for (const auto& field : trailer) {
        text.append(field.first).append(": ").append(field.second).append("\r\n");
    }
    return text.append("\r\n");
}

std::optional<HttpRequest> parseHead(const std::string& head) {
    HttpRequest request;
    const size_t lineEnd = std::min(head.find("\r\n"), head.size());
    const std::string line = head.substr(0, lineEnd);
    const size_t first = line.find(' ');
    const size_t last = line.rfind(' ');
    if (first == std::string::npos || last == first) {
        return std::nullopt;
    }
    request.method = line.substr(0, first);
    request.target = line.substr(first + 1, last - first - 1);
    const std::string version = line.substr(last + 1);
    request.isHttp10 = version == "HTTP/1.0";
    if (!isToken(request.method) || (version != "HTTP/1.1" && !request.isHttp10)) {
        return std::nullopt;
    }
    if (!parseFields(head, lineEnd, request.headers)) {
        return std::nullopt;
    }
    return request;
}

BodyLength bodyLength(const HttpHeaders& headers) {
    const std::string* const coding = findHeader(headers, "Transfer-Encoding");
    const std::string* length = nullptr;
    for (const auto& header : headers) {
        if (strcasecmp(header.first.c_str(), "Content-Length") != 0) {
            continue;
        }
        if (length && *length != header.second) {
            return {BodyLength::Malformed};
        }
        length = &header.second;
    }
    if (coding) {
        // Both would leave open where the next request begins.
        const bool chunked = strcasecmp(coding->c_str(), "chunked") == 0;
        return {chunked && !length ? BodyLength::Chunked : BodyLength::Malformed};
    }
    if (!length) {
        return {BodyLength::Missing};
    }
    size_t size = 0;
    if ((*length)[0] == '-' && parseNumber(length->substr(1), size, 10)) {
        return {BodyLength::Missing};  // a real server just closes the connection
    }
    return parseNumber(*length, size, 10) ? BodyLength{BodyLength::Known, size}
                                          : BodyLength{BodyLength::Malformed};
}

ChunkReader::Result ChunkReader::read(std::string& input, std::string& body) {
    size_t used = 0;
    const Result result = read(input, used, body);
    input.erase(0, used);
    return result;
}

ChunkReader::Result ChunkReader::read(const std::string& input, size_t& used, std::string& body) {
    for (;;) {
        if (_state == Data) {
            const size_t now = std::min(_left, input.size() - used);
            body.append(input, used, now);
            used += now;
            _left -= now;
            if (_left > 0) {
                return More;
            }
            _state = DataEnd;
        }
        const size_t end = input.find("\r\n", used);
        if (end == std::string::npos) {
            return input.size() - used > longestLine ? Malformed : More;
        }
        const std::string line = input.substr(used, end - used);
        used = end + 2;
        if (_state == Trailer) {
            if (line.empty()) {
                return Whole;
            }
            _trailerSize += line.size();
            const size_t colon = std::min(line.find(':'), line.size());
            if (_trailerSize > longestLine || colon == line.size()) {
                return Malformed;
            }
            _trailer.emplace_back(line.substr(0, colon), trimmed(line.substr(colon + 1)));
        } else if (_state == DataEnd) {
            if (!line.empty()) {
                return Malformed;
            }
            _state = Size;
        } else if (!parseNumber(trimmed(line.substr(0, line.find(';'))), _left, 16)) {
            return Malformed;
        } else {
            _state = _left == 0 ? Trailer : Data;
        }
    }
}

Place placeIn(const std::string& text) {
    const size_t bracket = text.find(']');
    const size_t colon = text.find(':', bracket == std::string::npos ? 0 : bracket);
    Place place = {text.substr(0, colon), std::nullopt};
    if (colon != std::string::npos) {
        place.port = text.substr(colon + 1);
    }
    std::string& host = place.host;
    if (host.size() > 2 && host.front() == '[' && host.back() == ']') {
        host = host.substr(1, host.size() - 2);
    }
    return place;
}

bool isLoopback(const std::string& host) {
    return host == "127.0.0.1" || host == "::1" || strcasecmp(host.c_str(), "localhost") == 0;
}

std::string foreignOrigin(const HttpRequest& request) {
    for (const auto& header : request.headers) {
        if (strcasecmp(header.first.c_str(), "Origin") == 0) {
            return "Web pages are not served: Origin \"" + header.second + "\"";
        }
        if (strcasecmp(header.first.c_str(), "Host") != 0) {
            continue;
        }
        const Place place = placeIn(header.second);
        if (!isLoopback(place.host) ||
            (place.port && place.port->find_first_not_of("0123456789") != std::string::npos)) {
            return "Only the hosts 127.0.0.1, localhost and [::1] are answered, not \"" +
                   header.second + "\"";
        }
    }
    return "";
}

std::string percentEncoded(const std::string& text) {
    static const char digits[] = "0123456789ABCDEF";
    std::string encoded;
    for (const char each : text) {
        const auto c = static_cast<unsigned char>(each);
        if (c < 0x80 && (isalnum(c) || (c && strchr("-_.!~*'()", c)))) {
            encoded += each;
        } else {
            ((encoded += '%') += digits[c >> 4]) += digits[c & 15];
        }
    }
    return encoded;
}

std::string percentDecoded(const std::string& text) {
    std::string decoded;
    for (size_t i = 0; i < text.size(); i++) {
        const int high = text[i] == '%' && i + 2 < text.size() ? digitOf(text[i + 1]) : -1;
        const int low = high >= 0 ? digitOf(text[i + 2]) : -1;
        if (low >= 0) {
            decoded += char(high * 16 + low);
            i += 2;
        } else {
            decoded += text[i];
        }
    }
    return decoded;
}

}  // namespace velmar_wire
