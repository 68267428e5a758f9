// SPDX-FileCopyrightText: The velmar_remote authors
// SPDX-License-Identifier: MIT

#include "HttpClient.h"

#include <errno.h>
#include <netdb.h>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <poll.h>
#include <string.h>
#include <strings.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <memory>

namespace velmar_wire {

namespace {

const size_t largestHead = 64 * 1024;

// A connected socket; negative if nothing listens there.
int connected(const addrinfo& place, std::chrono::milliseconds timeout) {
    const int socket =
        ::socket(place.ai_family, place.ai_socktype | SOCK_NONBLOCK | SOCK_CLOEXEC, 0);
    if (socket < 0) {
        return -1;
    }
    int error = 0;
    socklen_t size = sizeof error;
    if (connect(socket, place.ai_addr, place.ai_addrlen) == 0 ||
        (errno == EINPROGRESS && happens(socket, POLLOUT, timeout) &&
         getsockopt(socket, SOL_SOCKET, SO_ERROR, &error, &size) == 0 && error == 0)) {
        const int yes = 1;
        setsockopt(socket, IPPROTO_TCP, TCP_NODELAY, &yes, sizeof yes);
        return socket;
    }
    close(socket);
    return -1;
}

bool saysClose(const HttpHeaders& headers) {
    const std::string* const connection = findHeader(headers, "Connection");
    return connection && strcasecmp(connection->c_str(), "close") == 0;
}

}  // namespace

bool happens(int socket, short events, std::chrono::milliseconds timeout) {
    pollfd wanted = {socket, events, 0};
    const auto longest = std::chrono::milliseconds(0x7FFFFFFF);
    int ready = 0;
    do {
        ready = poll(&wanted, 1, int(std::min(timeout, longest).count()));
    } while (ready < 0 && errno == EINTR);
    return ready == 1;
}

HttpClient::HttpClient(std::string host, int port, const Trust* trust)
    : _host(std::move(host)), _port(port) {
    if (trust != nullptr) {
        _tls = std::make_unique<Tls>(_host, place(), *trust);
    }
}

void HttpClient::connect(Time timeout) {
    disconnect();
    addrinfo hints = {};
    hints.ai_socktype = SOCK_STREAM;
    addrinfo* found = nullptr;
    if (getaddrinfo(_host.c_str(), std::to_string(_port).c_str(), &hints, &found) == 0) {
        const std::unique_ptr<addrinfo, decltype(&freeaddrinfo)> places(found, freeaddrinfo);
        for (const addrinfo* each = found; each && _socket < 0; each = each->ai_next) {
            _socket = connected(*each, timeout);
        }
    }
    if (_socket < 0) {
        throw NoAnswer("nothing listens there");
    }
    if (_tls) {
        try {
            _tls->begin(_socket, timeout);
        } catch (...) {
            disconnect();
            throw;
        }
    }
}

void HttpClient::disconnect() {
    if (_tls) {
        _tls->end();
    }
    if (_socket >= 0) {
        close(_socket);
    }
    _socket = -1;
    _input.clear();
}

std::string HttpClient::place() const {
    const bool isIpv6 = _host.find(':') != std::string::npos;
    return (isIpv6 ? "[" + _host + "]" : _host) + ":" + std::to_string(_port);
}

// A server ends connections that are idle for long; what it says then answers nothing. One of TLS
// may say something of its own at any time, and is then made again, too.
bool HttpClient::isUsable() const {
    return _socket >= 0 && _input.empty() && !happens(_socket, POLLIN, Time(0));
}

void HttpClient::waitFor(short events, Time timeout) const {
    if (!happens(_socket, events, timeout)) {
        throw NoAnswer("the server is silent", true);
    }
}

void HttpClient::send(const std::string& text, Time timeout) {
    for (size_t sent = 0; sent < text.size();) {
        const char* const rest = text.data() + sent;
        const ssize_t count = _tls ? _tls->send(rest, text.size() - sent)
                                   : ::send(_socket, rest, text.size() - sent, MSG_NOSIGNAL);
        if (count >= 0) {
            sent += size_t(count);
        } else if (errno == EAGAIN || errno == EWOULDBLOCK) {
            waitFor(_tls ? _tls->waitsFor() : short(POLLOUT), timeout);
        } else if (errno != EINTR) {
            throw NoAnswer(std::string("the request was not sent: ") + strerror(errno));
        }
    }
}

// False when the server has closed the connection.
bool HttpClient::receive(Time timeout) {
    char buffer[65536];
    for (;;) {
        const ssize_t count =
            _tls ? _tls->receive(buffer, sizeof buffer) : recv(_socket, buffer, sizeof buffer, 0);
        if (count >= 0) {
            _input.append(buffer, size_t(count));
            return count > 0;
        }
        if (errno == EAGAIN || errno == EWOULDBLOCK) {
            waitFor(_tls ? _tls->waitsFor() : short(POLLIN), timeout);
        } else if (errno != EINTR) {
            throw NoAnswer(strerror(errno));
        }
    }
}

// Answers that only say that the request goes on are skipped.
HttpClient::Reply HttpClient::readHead(Time timeout) {
    for (;;) {
        const size_t end = _input.find("\r\n\r\n");
        if (end == std::string::npos) {
            if (_input.size() > largestHead || !receive(timeout)) {
                throw NoAnswer("the server has closed the connection");
            }
            continue;
        }
        const std::string head = _input.substr(0, end);
        _input.erase(0, end + 4);
        const size_t lineEnd = std::min(head.find("\r\n"), head.size());
        Reply reply;
        const bool isStatus = head.compare(0, 7, "HTTP/1.") == 0 && lineEnd >= 12;
        reply.status = isStatus ? atoi(head.substr(9, 3).c_str()) : 0;
        if (reply.status < 100 || !parseFields(head, lineEnd, reply.headers)) {
            throw NoAnswer("expected an HTTP answer, got \"" + head.substr(0, 40) + "\"");
        }
        if (reply.status >= 200) {
            return reply;
        }
    }
}

void HttpClient::readKnown(size_t size, Time timeout, const Take& take) {
    for (;;) {
        const size_t now = std::min(size, _input.size());
        take(_input.data(), now);
        _input.erase(0, now);
        size -= now;
        if (size == 0) {
            return;
        }
        if (!receive(timeout)) {
            throw NoAnswer("the answer is cut off");
        }
    }
}

void HttpClient::readChunks(Reply& reply, Time timeout, const Take& take) {
    ChunkReader chunks;
    for (std::string data;; data.clear()) {
        const ChunkReader::Result result = chunks.read(_input, data);
        take(data.data(), data.size());
        if (result == ChunkReader::Malformed) {
            throw NoAnswer("the chunks of the answer are malformed");
        }
        if (result == ChunkReader::Whole) {
            reply.trailer = chunks.trailer();
            return;
        }
        if (!receive(timeout)) {
            throw NoAnswer("the answer is cut off");
        }
    }
}

void HttpClient::readBody(Reply& reply, Time timeout, const Take& take) {
    const BodyLength length = bodyLength(reply.headers);
    switch (length.kind) {
        case BodyLength::Known:
            readKnown(length.size, timeout, take);
            break;
        case BodyLength::Chunked:
            readChunks(reply, timeout, take);
            break;
        case BodyLength::Malformed:
            throw NoAnswer("the length of the answer is malformed");
        case BodyLength::Missing:
            do {
                take(_input.data(), _input.size());
                _input.clear();
            } while (receive(timeout));
            disconnect();
    }
}

HttpClient::Reply HttpClient::post(const std::string& target, const HttpHeaders& headers,
                                   const std::string& body, Time timeout, const Take& take) {
    std::string text = "POST " + target + " HTTP/1.1\r\nHost: " + place() + "\r\n";
    for (const auto& header : headers) {
        text.append(header.first).append(": ").append(header.second).append("\r\n");
    }
    text += "Content-Length: " + std::to_string(body.size()) + "\r\n\r\n" + body;
    if (!isUsable()) {
        connect(timeout);
    }
    try {
        send(text, timeout);
        std::string().swap(text);
        Reply reply = readHead(timeout);
        if (reply.status == 200) {
            readBody(reply, timeout, take);
        }
        if (reply.status != 200 || saysClose(reply.headers)) {
            disconnect();
        }
        return reply;
    } catch (...) {
        disconnect();  // the rest of the answer may still come
        throw;
    }
}

}  // namespace velmar_wire
