// SPDX-FileCopyrightText: The velmar_remote authors
// SPDX-License-Identifier: MIT

#include "CheckServer.h"

#include <Pegasus/Client/CIMClient.h>
#include <fmt/format.h>
#include <signal.h>
#include <unistd.h>
#include <velmar_wire/AlertListener.h>

#include <condition_variable>
#include <map>
#include <memory>
#include <mutex>

#include "AskOutput.h"
#include "Progress.h"
#include "check/Deployed.h"

using namespace Pegasus;
using velmar_driver::Deployed;
using velmar_driver::RegisteredClass;

namespace velmar_cli {

namespace {

// Clients, and subscriptions by instances in the server.
class WireAccess : public velmar_driver::Access {
 public:
    WireAccess(const ServerToCheck& server, Deployed& deployed, bool hearsAlerts)
        : _server(server),
          _deployed(deployed),
          _interop(server.interop.c_str()),
          _hearsAlerts(hearsAlerts) {}

    void connect(CIMClient& client) override { connectTo(client, _server.url, _server.login); }

    bool hearsAlerts() const override { return _hearsAlerts; }

    std::string subscribe(const RegisteredClass& alerts) override {
        if (!_listener) {
            connect(_client);
            _listener = std::make_unique<velmar_wire::AlertListener>(
                [this](const CIMInstance& alert) { take(alert); });
        }
        {
            const std::lock_guard<std::mutex> guard(_lock);
            _received = 0;
        }
        const std::string name = fmt::format("velmar-check-{}-{}", getpid(), ++_last);
        _subscriptions[name] = std::make_unique<velmar_wire::RemoteSubscription>(
            _client, _interop, name, "SELECT * FROM " + alerts.text(), alerts.nameSpace,
            _listener->url());
        return name;
    }

    void unsubscribe(const std::string& id) override { _subscriptions.erase(id); }

    void drain(bool expected) override {
        std::unique_lock<std::mutex> guard(_lock);
        if (expected) {  // a provider may have its reasons for raising none
            _taken.wait_for(guard, std::chrono::seconds(5), [this] { return _received > 0; });
        }
    }

 private:
    void take(const CIMInstance& alert) {
        _deployed.checkAlert(alert);
        const std::lock_guard<std::mutex> guard(_lock);
        _received++;
        _taken.notify_all();
    }

    const ServerToCheck& _server;
    Deployed& _deployed;
    const CIMNamespaceName _interop;
    const bool _hearsAlerts;
    CIMClient _client;
    unsigned _last = 0;
    std::mutex _lock;
    std::condition_variable _taken;
    unsigned _received = 0;  // since the last subscription
    std::unique_ptr<velmar_wire::AlertListener> _listener;
    std::map<std::string, std::unique_ptr<velmar_wire::RemoteSubscription>> _subscriptions;
};

bool hears(const std::string& url) {
    if (!isThisHost(url)) {
        fmt::print(stderr,
                   "note: alerts are left out: they are received on 127.0.0.1, which {} does not "
                   "reach\n",
                   url);
        return false;
    }
    return true;
}

// What was created in the server is deleted again at the first SIGINT or SIGTERM; the second one
// ends the process.
class Interruption {
 public:
    Interruption() {
        struct sigaction action = {};
        action.sa_handler = [](int) { wasSent = 1; };
        action.sa_flags = int(SA_RESETHAND);
        sigaction(SIGINT, &action, nullptr);
        sigaction(SIGTERM, &action, nullptr);
    }
    void check() const {
        if (wasSent) {
            throw std::runtime_error("interrupted");
        }
    }

 private:
    static volatile sig_atomic_t wasSent;
};
volatile sig_atomic_t Interruption::wasSent = 0;

}  // namespace

Results checkServer(const ServerToCheck& server, const std::string& nameSpace,
                    const velmar_driver::DriveOptions& options) {
    CIMClient client;
    connectTo(client, server.url, server.login);
    client.setTimeout(LONG_ANSWER);
    // Clients refer to it to the end.
    Deployed deployed(client, CIMNamespaceName(server.interop.c_str()),
                      CIMNamespaceName(nameSpace.c_str()));
    client.disconnect();
    for (const std::string& note : deployed.notes()) {
        fmt::print(stderr, "note: {}\n", printable(note));
    }
    if (deployed.classes().empty()) {
        throw UsageError(server.url + ": no PG_ProviderCapabilities in " + server.interop +
                         " names the namespace " + nameSpace + "; -n names another");
    }
    velmar_driver::requireClasses(deployed.classes(), options);
    deployed.checkRegistrations();
    Results results;
    velmar_checks::Findings driven;
    {
        const velmar_driver::WatchedConnector watching(deployed);
        WireAccess access(server, deployed, options.call && hears(server.url));
        const Interruption interruption;
        Progress progress;
        velmar_driver::DriveOptions drive = options;
        drive.progress = [&](size_t done, size_t all, const std::string& className) {
            interruption.check();
            progress.show(done, all, "classes", className);
        };
        results.classes = velmar_driver::drive(access, deployed.classes(), drive, driven);
    }
    results.findings = deployed.findings();
    const std::vector<velmar_checks::Finding> more = driven.all();
    results.findings.insert(results.findings.end(), more.begin(), more.end());
    return results;
}

}  // namespace velmar_cli
