// SPDX-FileCopyrightText: The velmar_remote authors
// SPDX-License-Identifier: MIT

#include "Deliveries.h"

#include <Pegasus/Common/Exception.h>
#include <httplib.h>
#include <strings.h>

#include <algorithm>
#include <deque>
#include <iterator>
#include <thread>
#include <utility>
#include <vector>

#include "CimReader.h"
#include "HttpMessage.h"
#include "MessageParts.h"
#include "Messages.h"

using namespace Pegasus;

namespace velmar_wire {

namespace {

struct Url {
    std::string host;
    int port = 0;
    std::string path;
};

CIMException refused(const std::string& url, const std::string& reason) {
    return CIMException(CIM_ERR_INVALID_PARAMETER,
                        stringOf("Destination \"" + url.substr(0, 200) + "\": " + reason));
}

// http://HOST[:PORT][/PATH], the host in brackets if it has colons of its own.
Url parseUrl(const std::string& url) {
    const std::string scheme = "http://";
    if (url.compare(0, scheme.size(), scheme) != 0) {
        throw refused(url, "only http:// is delivered to");
    }
    const size_t pathAt = std::min(url.find('/', scheme.size()), url.size());
    const Place place = placeIn(url.substr(scheme.size(), pathAt - scheme.size()));
    Url parsed;
    parsed.host = place.host;
    parsed.path = pathAt < url.size() ? url.substr(pathAt) : "/";
    parsed.port = 80;
    if (place.port) {
        const std::string& digits = *place.port;
        if (digits.empty() || digits.size() > 5 ||
            digits.find_first_not_of("0123456789") != std::string::npos ||
            (parsed.port = std::stoi(digits)) == 0 || parsed.port > 65535) {
            throw refused(url, "invalid port");
        }
    }
    if (place.host.empty() || url.find_first_of(" \t\r\n") != std::string::npos) {
        throw refused(url, "it names no host");
    }
    return parsed;
}

// Before anything is sent, or the host's name is even resolved.
void requireAllowed(const std::string& url, const std::string& host,
                    const std::vector<std::string>& allowed) {
    const auto isSame = [&](const std::string& each) {
        return strcasecmp(placeIn(each).host.c_str(), host.c_str()) == 0;
    };
    if (!isLoopback(host) && std::none_of(allowed.begin(), allowed.end(), isSame)) {
        throw refused(url, "alerts go to 127.0.0.1, localhost and [::1] only; to send them to " +
                               host.substr(0, 200) + ", start the server with --deliver-to " +
                               host.substr(0, 200));
    }
}

// What the listener says against an indication that it has got; empty for nothing.
std::string objectionIn(const std::string& body) {
    try {
        const Document document(body);
        const pugi::xml_node element =
            document.root().find_node([](pugi::xml_node node) { return is(node, "ERROR"); });
        return element ? std::string(element.attribute("DESCRIPTION").as_string("an error")) : "";
    } catch (const MessageFault&) {
        return "";  // status 200 says that it came
    }
}

}  // namespace

class Listener : public velmar_embedded::Destination {
 public:
    Listener(std::string url, const DeliveryPolicy& policy, Deliveries::Report report,
             std::shared_ptr<std::atomic<uint64_t>> dropped)
        : _url(std::move(url)),
          _place(parseUrl(_url)),
          _policy(policy),
          _report(std::move(report)),
          _dropped(std::move(dropped)),
          _client(_place.host, _place.port) {
        _client.set_keep_alive(true);
        _client.set_tcp_nodelay(true);
        _client.set_connection_timeout(policy.timeout);
        _client.set_read_timeout(policy.timeout);
        _client.set_write_timeout(policy.timeout);
    }
    ~Listener() override { stop(); }

    void take(const CIMInstance& indication) override;
    /// Whether nothing is on its way.
    bool isIdle();
    /// Gives up what is on its way. Not on the thread of the deliveries.
    void stop();

 private:
    void work();
    bool deliver(const std::string& message);
    std::string attempt(const std::string& message);
    void lost(const std::string& reason) {
        _report("listener " + _url + ": " + reason + ", an alert is lost");
    }

    const std::string _url;
    const Url _place;
    const DeliveryPolicy _policy;
    const Deliveries::Report _report;
    const std::shared_ptr<std::atomic<uint64_t>> _dropped;
    httplib::Client _client;
    std::mutex _lock;
    std::condition_variable _changed;
    std::deque<std::string> _queue;  // messages
    size_t _bytes = 0;               // of those
    std::thread _thread;
    bool _delivering = false;
    bool _stopping = false;
    bool _dropping = false;
    std::atomic<unsigned> _lastId{0};
};

void Listener::take(const CIMInstance& indication) {
    std::string message = exportMessage(indication, ++_lastId);
    const size_t size = message.size();
    bool first = false;
    size_t waiting = 0;
    {
        std::lock_guard<std::mutex> guard(_lock);
        waiting = _queue.size();
        const bool fits =
            !_stopping && waiting < _policy.queueCapacity && _bytes + size <= _policy.queueBytes;
        if (fits) {
            _bytes += size;
            _queue.push_back(std::move(message));
            if (!_thread.joinable()) {
                _thread = std::thread(&Listener::work, this);
            }
        }
        first = !fits && !_dropping && !_stopping;
        _dropping = !fits;
        *_dropped += !fits;
    }
    _changed.notify_all();
    if (first) {
        lost("its queue of " + std::to_string(waiting) + " alerts has no room for " +
             std::to_string(size) + " bytes more");
    }
}

bool Listener::isIdle() {
    std::lock_guard<std::mutex> guard(_lock);
    return _queue.empty() && !_delivering;
}

void Listener::stop() {
    size_t left = 0;
    {
        std::lock_guard<std::mutex> guard(_lock);
        left = _stopping ? 0 : _queue.size() + _delivering;
        _stopping = true;
        _queue.clear();
        _bytes = 0;
    }
    if (left > 0) {
        _report("listener " + _url + ": " + std::to_string(left) + " alerts are given up");
    }
    _changed.notify_all();
    _client.stop();  // ends a request that waits for its answer
    if (_thread.joinable()) {
        _thread.join();
    }
}

void Listener::work() {
    std::unique_lock<std::mutex> guard(_lock);
    for (;;) {
        _changed.wait(guard, [this] { return _stopping || !_queue.empty(); });
        if (_stopping) {
            return;
        }
        const std::string message = std::move(_queue.front());
        _queue.pop_front();
        _bytes -= message.size();
        _delivering = true;
        guard.unlock();
        const bool more = deliver(message);
        guard.lock();
        _delivering = false;
        if (!more) {
            return;
        }
    }
}

// False when it was stopped meanwhile.
bool Listener::deliver(const std::string& message) {
    for (unsigned tries = 0;; tries++) {
        const std::string problem = attempt(message);
        if (problem.empty()) {
            return true;
        }
        std::unique_lock<std::mutex> guard(_lock);
        if (_stopping) {
            return false;
        }
        if (tries == _policy.retries) {
            guard.unlock();
            lost(problem);
            return true;
        }
        if (_changed.wait_for(guard, _policy.interval, [this] { return _stopping; })) {
            return false;
        }
    }
}

// What went wrong; empty when the listener has it.
std::string Listener::attempt(const std::string& message) try {
    httplib::Request request;
    request.method = "POST";
    request.path = _place.path;
    request.headers = {{"CIMExport", "MethodRequest"},
                       {"CIMExportMethod", "ExportIndication"},
                       {"Content-Type", "application/xml; charset=utf-8"}};
    request.body = message;
    std::string answer;
    request.content_receiver = [&](const char* data, size_t size, uint64_t, uint64_t) {
        answer.append(data, size);
        return answer.size() < 64 * 1024;
    };
    const httplib::Result result = _client.send(request);
    if (!result) {
        return httplib::to_string(result.error());
    }
    if (result->status != 200) {
        return "it answered " + std::to_string(result->status);
    }
    const std::string objection = objectionIn(answer);
    if (!objection.empty()) {
        _report("listener " + _url + ": it refused an alert: " + objection);
    }
    return "";
} catch (const std::exception& e) {  // no memory
    return e.what();
}

Deliveries::~Deliveries() { stop(); }

std::shared_ptr<velmar_embedded::Destination> Deliveries::open(const std::string& url,
                                                               const Report& report) {
    std::lock_guard<std::mutex> guard(_lock);
    if (_stopped) {
        throw CIMException(CIM_ERR_SERVER_IS_SHUTTING_DOWN, "the wire was stopped");
    }
    // Those that no subscription has any more go once they have nothing left to deliver.
    for (auto each = _listeners.begin(); each != _listeners.end();) {
        const bool isUnused = each->first != url && each->second.use_count() == 1;
        each = isUnused && each->second->isIdle() ? _listeners.erase(each) : std::next(each);
    }
    const auto known = _listeners.find(url);
    if (known != _listeners.end()) {
        return known->second;
    }
    requireAllowed(url, parseUrl(url).host, _policy.hosts);
    if (_listeners.size() >= _policy.listeners) {
        _refused++;
        throw CIMException(
            CIM_ERR_FAILED,
            stringOf("Destination \"" + url.substr(0, 200) + "\": alerts go to " +
                     std::to_string(_policy.listeners) +
                     " listeners already; delete a subscription whose listener is gone"));
    }
    return _listeners[url] = std::make_shared<Listener>(url, _policy, report, _dropped);
}

Refusals Deliveries::refusals() const {
    std::lock_guard<std::mutex> guard(_lock);
    Refusals result;
    result.destinations = _refused;
    result.alerts = *_dropped;
    return result;
}

void Deliveries::stop() {
    std::map<std::string, std::shared_ptr<Listener>> listeners;
    {
        std::lock_guard<std::mutex> guard(_lock);
        _stopped = true;
        listeners.swap(_listeners);
    }
    for (const auto& each : listeners) {
        each.second->stop();
    }
}

}  // namespace velmar_wire
