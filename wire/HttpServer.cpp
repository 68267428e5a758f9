// SPDX-FileCopyrightText: The velmar_remote authors
// SPDX-License-Identifier: MIT

#include "HttpServer.h"

#include <httplib.h>
#include <sys/eventfd.h>
#include <sys/socket.h>
#include <unistd.h>

#include <chrono>
#include <condition_variable>
#include <mutex>
#include <stdexcept>
#include <string>
#include <system_error>
#include <thread>

#include "HttpConnection.h"
#include "requests/WorkerPool.h"

namespace velmar_wire {

namespace {

thread_local bool refusing = false;  // the connection that this thread is given is one too many

// A thread for each connection.
class ConnectionThreads : public httplib::TaskQueue {
 public:
    explicit ConnectionThreads(size_t limit) : _free(limit) {}

    // At the limit the next connection waits a moment for one that is about to end: clients that
    // come and go faster than they are noticed must not cost the others theirs.
    void enqueue(std::function<void()> serve) override {
        if (!take() || !start(serve)) {
            refusing = true;
            serve();
            refusing = false;
        }
    }

    void shutdown() override { _threads.stop(); }

 private:
    bool take() {
        std::unique_lock<std::mutex> guard(_lock);
        if (!_ended.wait_for(guard, std::chrono::seconds(1), [this] { return _free > 0; })) {
            return false;
        }
        _free--;
        return true;
    }

    void giveBack() {
        std::lock_guard<std::mutex> guard(_lock);
        _free++;
        _ended.notify_one();
    }

    // False when the system gives no thread.
    bool start(const std::function<void()>& serve) {
        try {
            _threads.run([this, serve] {
                serve();
                giveBack();
            });
            return true;
        } catch (const std::system_error&) {
            giveBack();
            return false;
        }
    }

    std::mutex _lock;
    std::condition_variable _ended;
    size_t _free;
    velmar_embedded::WorkerPool _threads{16};
};

}  // namespace

class HttpServer::Impl : public httplib::Server {
 public:
    Impl(const Limits& limits, HttpServer::Handler check, HttpServer::Handler handle)
        : _limits(limits), _check(std::move(check)), _handle(std::move(handle)) {
        new_task_queue = [this] { return new ConnectionThreads(_limits.connections); };
        set_tcp_nodelay(true);
        // Not SO_REUSEPORT, with which two servers would share a port without a word.
        set_socket_options([](socket_t socket) {
            const int yes = 1;
            setsockopt(socket, SOL_SOCKET, SO_REUSEADDR, &yes, sizeof yes);
        });
    }
    ~Impl() override {
        if (_stopping >= 0) {
            close(_stopping);
        }
    }

    uint16_t startOn(uint16_t port) {
        const char* const loopback = "127.0.0.1";
        _stopping = eventfd(0, EFD_CLOEXEC);
        const int bound = port == 0                      ? bind_to_any_port(loopback)
                          : bind_to_port(loopback, port) ? port
                                                         : -1;
        if (bound <= 0 || _stopping < 0) {
            throw std::runtime_error("port " + std::to_string(port) +
                                     " of 127.0.0.1 cannot be had: is another server using it?");
        }
        ::listen(svr_sock_, SOMAXCONN);  // the library's own queue holds five
        _accepting = std::thread([this] { listen_after_bind(); });
        while (!is_running()) {
            std::this_thread::yield();
        }
        return uint16_t(bound);
    }

    void stopAll() {
        if (!_accepting.joinable()) {
            return;
        }
        const uint64_t one = 1;
        if (write(_stopping, &one, sizeof one) != ssize_t(sizeof one)) {
            // Its counter cannot be full; the connections would end by their time.
        }
        stop();
        _accepting.join();
    }

 private:
    bool process_and_close_socket(socket_t socket) override {
        if (refusing) {
            HttpResponse response;
            response.status = 503;
            response.endsConnection = true;
            const std::string text = response.text();
            send(socket, text.data(), text.size(), MSG_NOSIGNAL | MSG_DONTWAIT);
        } else {
            HttpConnection(socket, _stopping, _limits, _check, _handle).run();
            shutdown(socket, SHUT_WR);
        }
        close(socket);
        return true;
    }

    const Limits _limits;
    const HttpServer::Handler _check;
    const HttpServer::Handler _handle;
    int _stopping = -1;
    std::thread _accepting;
};

HttpServer::HttpServer(const Limits& limits, Handler check, Handler handle)
    : _impl(std::make_unique<Impl>(limits, std::move(check), std::move(handle))) {}

HttpServer::~HttpServer() { stop(); }

uint16_t HttpServer::start(uint16_t port) { return _impl->startOn(port); }

void HttpServer::stop() { _impl->stopAll(); }

}  // namespace velmar_wire
