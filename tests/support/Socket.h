// SPDX-FileCopyrightText: The velmar_remote authors
// SPDX-License-Identifier: MIT
//
// A client that only moves bytes.
#ifndef VELMAR_TESTS_SUPPORT_SOCKET_H
#define VELMAR_TESTS_SUPPORT_SOCKET_H

#include <arpa/inet.h>
#include <sys/socket.h>
#include <unistd.h>

#include <stdexcept>
#include <string>

namespace support {

/// A connection to a port of this host; raw bytes.
class Socket {
 public:
    explicit Socket(uint16_t port) : _socket(socket(AF_INET, SOCK_STREAM, 0)) {
        sockaddr_in address = {};
        address.sin_family = AF_INET;
        address.sin_port = htons(port);
        address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
        if (connect(_socket, reinterpret_cast<sockaddr*>(&address), sizeof address) != 0) {
            throw std::runtime_error("no connection");
        }
    }
    ~Socket() { close(_socket); }
    void send(const std::string& text) { ::send(_socket, text.data(), text.size(), MSG_NOSIGNAL); }
    /// What comes next; empty once the server has closed.
    std::string some() {
        char buffer[4096];
        const ssize_t count = recv(_socket, buffer, sizeof buffer, 0);
        return std::string(buffer, size_t(count > 0 ? count : 0));
    }
    /// All that comes until the server closes.
    std::string all() {
        std::string text;
        for (std::string more; !(more = some()).empty();) {
            text += more;
        }
        return text;
    }

 private:
    const int _socket;
};

}  // namespace support

#endif
