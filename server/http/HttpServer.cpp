// SPDX-FileCopyrightText: The velmar_remote authors
// SPDX-License-Identifier: MIT

#include "HttpServer.h"

#include <errno.h>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <poll.h>
#include <sys/eventfd.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <condition_variable>
#include <list>
#include <mutex>
#include <stdexcept>
#include <string>
#include <thread>

#include "HttpConnection.h"
#include "requests/WorkerPool.h"

namespace velmar_wire {

namespace {

// A descriptor that is closed at its end.
class Descriptor {
 public:
    explicit Descriptor(int number) : _number(number) {}
    ~Descriptor() {
        if (_number >= 0) {
            close(_number);
        }
    }
    Descriptor(const Descriptor&) = delete;
    Descriptor& operator=(const Descriptor&) = delete;
    operator int() const { return _number; }

 private:
    const int _number;
};

// The port that the socket now listens on; 0 if it cannot.
uint16_t listenOn(int socket, uint16_t port) {
    // Not SO_REUSEPORT, with which two servers would share a port without a word.
    const int yes = 1;
    setsockopt(socket, SOL_SOCKET, SO_REUSEADDR, &yes, sizeof yes);
    sockaddr_in address = {};
    address.sin_family = AF_INET;
    address.sin_port = htons(port);
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    auto* const plain = reinterpret_cast<sockaddr*>(&address);
    socklen_t size = sizeof address;
    return bind(socket, plain, size) == 0 && listen(socket, SOMAXCONN) == 0 &&
                   getsockname(socket, plain, &size) == 0
               ? ntohs(address.sin_port)
               : 0;
}

}  // namespace

class HttpServer::Impl {
 public:
    Impl(const Limits& limits, HttpServer::Handler check, HttpServer::Handler handle)
        : _limits(limits), _check(std::move(check)), _handle(std::move(handle)) {}

    uint16_t startOn(uint16_t port) {
        const uint16_t bound = _stopping < 0 ? 0 : listenOn(_listening, port);
        if (bound == 0) {
            throw std::runtime_error("cannot listen on 127.0.0.1:" + std::to_string(port) +
                                     "; is another server running?");
        }
        _accepting = std::thread(&Impl::acceptAll, this);
        return bound;
    }

    void stopAll() {
        if (!_accepting.joinable()) {
            return;
        }
        const uint64_t one = 1;
        if (write(_stopping, &one, sizeof one) != ssize_t(sizeof one)) {
            // Its counter cannot be full.
        }
        _accepting.join();
        _threads.stop();
    }

    Refusals refusals() const {
        Refusals result;
        result.connections = _refused.load();
        result.requests = _traffic.refused.load();
        return result;
    }

 private:
    struct Client {
        Client(int number, const Impl& server)
            : socket(number),
              connection(number, server._stopping, server._limits, server._traffic, server._check,
                         server._handle) {}
        Descriptor socket;
        HttpConnection connection;
    };
    using Clients = std::list<Client>;

    void acceptAll() {
        pollfd wanted[] = {{_listening, POLLIN, 0}, {_stopping, POLLIN, 0}};
        for (;;) {
            if (poll(wanted, 2, -1) < 0 || wanted[1].revents != 0) {
                if (wanted[1].revents != 0) {
                    return;
                }
                continue;
            }
            const int socket = accept4(_listening, nullptr, nullptr, SOCK_CLOEXEC);
            if (socket >= 0) {
                admit(socket);
            } else if ((errno == EMFILE || errno == ENFILE || errno == ENOMEM) && !makeRoom()) {
                poll(wanted + 1, 1, 50);  // a descriptor may come free
            }
        }
    }

    void admit(int socket) {
        const int yes = 1;
        setsockopt(socket, IPPROTO_TCP, TCP_NODELAY, &yes, sizeof yes);
        auto client = _clients.end();
        try {
            while (isFull()) {
                if (!makeRoom()) {
                    throw std::runtime_error("all clients are busy");
                }
            }
            std::unique_lock<std::mutex> guard(_lock);
            client = _clients.emplace(client, socket, *this);
            guard.unlock();
            _threads.run([this, client] { serve(client); });
        } catch (const std::exception&) {  // or for want of a thread or memory
            refuse(socket);
            if (client == _clients.end()) {
                close(socket);
            } else {
                std::lock_guard<std::mutex> guard(_lock);
                _clients.erase(client);
            }
        }
    }

    // One that only has to be told its last answer does not count, for its client may be back
    // before the connection has ended.
    bool isFull() {
        std::lock_guard<std::mutex> guard(_lock);
        const auto stays = [](const Client& each) { return !each.connection.isEnding(); };
        return _clients.size() >= 2 * _limits.connections ||
               size_t(std::count_if(_clients.begin(), _clients.end(), stays)) >=
                   _limits.connections;
    }

    // Ends the client that has asked nothing for longest: those that come and go faster than they
    // are noticed, or never ask, must not cost the others their connection. False if all are busy.
    bool makeRoom() {
        std::unique_lock<std::mutex> guard(_lock);
        HttpConnection* idlest = nullptr;
        HttpConnection::Time since = HttpConnection::Time::max();
        for (Client& each : _clients) {
            const HttpConnection::Time time = each.connection.idleSince();
            if (time < since) {
                since = time;
                idlest = &each.connection;
            }
        }
        if (!idlest) {
            return false;
        }
        const size_t before = _ended;
        if (idlest->endIdle()) {
            _changed.wait(guard, [&] { return _ended != before; });
        }
        return true;
    }

    void serve(Clients::iterator client) {
        client->connection.run();
        shutdown(client->socket, SHUT_WR);
        std::lock_guard<std::mutex> guard(_lock);
        _clients.erase(client);
        _ended++;
        _changed.notify_one();
    }

    void refuse(int socket) {
        static const char text[] =
            "HTTP/1.1 503 Service Unavailable\r\nContent-Length: 0\r\nConnection: close\r\n\r\n";
        _refused++;
        send(socket, text, sizeof text - 1, MSG_NOSIGNAL | MSG_DONTWAIT);
    }

    const Limits _limits;
    const HttpServer::Handler _check;
    const HttpServer::Handler _handle;
    const Descriptor _listening{socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0)};
    const Descriptor _stopping{eventfd(0, EFD_CLOEXEC)};
    mutable Traffic _traffic;
    std::atomic<uint64_t> _refused{0};
    std::mutex _lock;
    std::condition_variable _changed;
    Clients _clients;
    size_t _ended = 0;
    velmar_embedded::WorkerPool _threads{16};
    std::thread _accepting;
};

HttpServer::HttpServer(const Limits& limits, Handler check, Handler handle)
    : _impl(std::make_unique<Impl>(limits, std::move(check), std::move(handle))) {}

HttpServer::~HttpServer() { stop(); }

uint16_t HttpServer::start(uint16_t port) { return _impl->startOn(port); }

void HttpServer::stop() { _impl->stopAll(); }

Refusals HttpServer::refusals() const { return _impl->refusals(); }

}  // namespace velmar_wire
