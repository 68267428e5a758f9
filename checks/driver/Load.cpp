// SPDX-FileCopyrightText: The velmar_remote authors
// SPDX-License-Identifier: MIT
//
// Several clients at once, who expect what one client got.
#include <chrono>
#include <random>
#include <thread>

#include "checks/driver/Driver.h"
#include "checks/driver/DriverRules.h"

using namespace Pegasus;
using velmar_embedded::ProviderType;

namespace velmar_driver {

namespace {

// What a class answered to one client alone.
struct Expected {
    const RegisteredClass* about;
    std::map<std::string, CIMObjectPath> paths;
    std::map<std::string, std::set<std::string>> values;  // by path, what has one
};

std::vector<Expected> expectations(const std::vector<RegisteredClass>& classes,
                                   const Report& report) {
    std::vector<Expected> result;
    for (const RegisteredClass& one : classes) {
        if (!one.serves(ProviderType::Instance) || one.definition.isUninitialized()) {
            continue;
        }
        Session session(one, report);
        Array<CIMInstance> instances;
        if (!session.call("enumerateInstances", [&] {
                instances = session.client.enumerateInstances(one.nameSpace, one.name, true, false);
            })) {
            continue;
        }
        Expected expected{&one, {}, {}};
        for (const auto& [shown, instance] : byPath(instances)) {
            expected.paths.emplace(shown, instance.getPath());
            expected.values.emplace(shown, filledIn(CIMConstInstance(instance)));
        }
        result.push_back(std::move(expected));
    }
    return result;
}

void compare(Session& session, const std::string& operation, const std::string& shown,
             const std::set<std::string>& expected, const CIMInstance& got) {
    const std::set<std::string> values = filledIn(CIMConstInstance(got));
    for (const std::string& property : expected) {
        if (values.count(property) == 0) {
            session.find(rules::load, property,
                         "under several clients " + operation + " of " + shown +
                             " gives no value for " + property + ", to one client alone it does");
        }
    }
}

class Client {
 public:
    Client(const Expected& expected, const Report& report, unsigned seed)
        : _expected(expected), _session(*expected.about, report), _random(seed) {}

    const Expected& expected() const { return _expected; }
    unsigned long calls() const { return _session.result.milliseconds.size(); }
    void step() {
        switch (_random() % 3) {
            case 0:
                return enumerateNames();
            case 1:
                return enumerate();
            default:
                return get();
        }
    }

 private:
    bool call(const std::string& operation, const std::function<void()>& work) {
        Outcome outcome;
        try {
            outcome = _session.call(operation, work);
        } catch (const NoAnswer& e) {
            outcome = {-1, e.what()};
        }
        if (!outcome) {
            _session.find(rules::load, operation,
                          "under several clients " + operation + " fails: " + outcome.describe());
        }
        return static_cast<bool>(outcome);
    }

    void enumerateNames() {
        Array<CIMObjectPath> names;
        if (call("enumerateInstanceNames",
                 [&] {
                     names = _session.client.enumerateInstanceNames(_expected.about->nameSpace,
                                                                    _expected.about->name);
                 }) &&
            names.size() != _expected.paths.size()) {
            _session.find(rules::load, "enumerateInstanceNames",
                          "under several clients enumerateInstanceNames gives " +
                              std::to_string(names.size()) + " names, to one client alone " +
                              std::to_string(_expected.paths.size()));
        }
    }

    void enumerate() {
        Array<CIMInstance> instances;
        if (!call("enumerateInstances", [&] {
                instances = _session.client.enumerateInstances(_expected.about->nameSpace,
                                                               _expected.about->name, true, false);
            })) {
            return;
        }
        for (const auto& [shown, instance] : byPath(instances)) {
            const auto known = _expected.values.find(shown);
            if (known != _expected.values.end()) {
                compare(_session, "enumerateInstances", shown, known->second, instance);
            }
        }
    }

    void get() {
        if (_expected.paths.empty()) {
            return;
        }
        auto chosen = _expected.paths.begin();
        std::advance(chosen, _random() % _expected.paths.size());
        CIMInstance got;
        if (call("getInstance", [&] {
                got =
                    _session.client.getInstance(_expected.about->nameSpace, chosen->second, false);
            })) {
            compare(_session, "getInstance", chosen->first, _expected.values.at(chosen->first),
                    got);
        }
    }

    const Expected& _expected;
    Session _session;
    std::minstd_rand _random;
};

}  // namespace

void driveLoad(const std::vector<RegisteredClass>& classes, const DriveOptions& options,
               const Report& report, std::vector<ClassReport>& results) {
    std::mutex counting;
    const auto count = [&](const Client& client) {
        const std::lock_guard<std::mutex> guard(counting);
        for (ClassReport& one : results) {
            const RegisteredClass& about = *client.expected().about;
            if (one.className == about.text() &&
                one.nameSpace == text(about.nameSpace.getString())) {
                one.callsUnderLoad += client.calls();
            }
        }
    };
    const std::vector<Expected> expected = expectations(classes, report);
    const auto end = std::chrono::steady_clock::now() + std::chrono::seconds(options.seconds);
    std::vector<std::thread> threads;
    for (unsigned number = 0; number < options.clients; number++) {
        threads.emplace_back([&, number] {
            std::vector<std::unique_ptr<Client>> clients;
            clients.reserve(expected.size());
            for (const Expected& one : expected) {
                clients.push_back(std::make_unique<Client>(one, report, number + 1));
            }
            while (!clients.empty() && std::chrono::steady_clock::now() < end) {
                for (const std::unique_ptr<Client>& client : clients) {
                    client->step();
                }
            }
            for (const std::unique_ptr<Client>& client : clients) {
                count(*client);
            }
        });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
}

}  // namespace velmar_driver
