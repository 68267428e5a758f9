// SPDX-FileCopyrightText: The velmar_remote authors
// SPDX-License-Identifier: MIT
//
// Several clients at once, who expect what one client got.
#include <algorithm>
#include <chrono>
#include <optional>
#include <random>
#include <thread>

#include "check/Driver.h"

using namespace Pegasus;
using velmar_embedded::ProviderType;

namespace velmar_driver {

namespace {

// What an answer has: by path, the properties with a value.
typedef std::map<std::string, std::set<std::string>> State;

// Doubts by rule, element and object.
typedef std::map<std::string, Doubt> Suspicions;

// A class: what it answers to one client alone, and what several have got.
struct Expected {
    const RegisteredClass* about = nullptr;
    State state;
    std::map<std::string, CIMObjectPath> paths;
    unsigned long calls = 0;
    Suspicions suspicions;
    unsigned long passing = 0;  // answers that differed, where the next one did not
    unsigned long lasting = 0;  // where the next ones did, too
};

State stateOf(const std::map<std::string, CIMInstance>& instances) {
    State state;
    for (const auto& [shown, instance] : instances) {
        state.emplace(shown, filledIn(CIMConstInstance(instance)));
    }
    return state;
}

// Nothing where the enumeration fails.
std::optional<Expected> expectation(const RegisteredClass& about, Session& session) {
    Expected expected;
    expected.about = &about;
    if (!session.call("enumerateInstances", [&] {
            const auto instances =
                byPath(session.client.enumerateInstances(about.nameSpace, about.name, true, false));
            expected.state = stateOf(instances);
            for (const auto& [shown, instance] : instances) {
                expected.paths.emplace(shown, instance.getPath());
            }
        })) {
        return std::nullopt;
    }
    return expected;
}

// What one client has got against what it should have.
Suspicions difference(const std::string& operation, const State& expected, const State& got) {
    Suspicions result;
    const auto add = [&](const std::string& element, const std::string& object,
                         const std::string& what) {
        result[element + "\n" + object] = {
            "driver.load", element, object,
            "under several clients " + operation + " of " + object + what, true};
    };
    for (const auto& [object, properties] : expected) {
        const auto found = got.find(object);
        if (found == got.end()) {
            add(operation, object, " gives nothing, to one client alone it does");
            continue;
        }
        for (const std::string& property : properties) {
            if (found->second.count(property) == 0) {
                add(property, object,
                    " gives no value for " + property + ", to one client alone it does");
            }
        }
    }
    for (const auto& one : got) {
        if (expected.count(one.first) == 0) {
            add(operation, one.first, " gives it, to one client alone it does not");
        }
    }
    return result;
}

class Client {
 public:
    Client(Access& access, const Expected& expected, velmar_checks::Findings& findings,
           unsigned seed)
        : _expected(expected), _session(access, *expected.about, findings, 0), _random(seed) {}

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
    /// Adds what this client has got.
    void addTo(Expected& sum) const {
        sum.calls += _session.result.milliseconds.size();
        sum.suspicions.insert(_suspicions.begin(), _suspicions.end());
        sum.passing += _passing;
        sum.lasting += _lasting;
    }

 private:
    // False where the call fails, which is a finding unless the object is not there.
    bool call(const std::string& operation, const std::function<void()>& work) {
        Outcome outcome;
        try {
            outcome = _session.call(operation, work);
        } catch (const NoAnswer& e) {
            outcome = {-1, e.what()};
        }
        if (!outcome && (outcome.code != CIM_ERR_NOT_FOUND || operation != "getInstance")) {
            _session.find("driver.load", operation,
                          "under several clients " + operation + " fails: " + outcome.describe());
            return false;
        }
        return true;
    }

    // What an answer lacks and the next one has is suspicious.
    void check(const std::string& operation, const State& expected,
               const std::function<void(State&)>& ask) {
        Suspicions open;
        for (int i = 0; i < 4; i++) {
            State got;
            if (!call(operation, [&] { ask(got); })) {
                return;
            }
            Suspicions now = difference(operation, expected, got);
            for (const auto& [key, doubt] : open) {
                if (now.count(key) == 0) {
                    _suspicions.emplace(key, doubt);
                }
            }
            for (auto one = now.begin(); i > 0 && one != now.end();) {
                one = open.count(one->first) == 0 ? now.erase(one) : std::next(one);
            }
            open = std::move(now);
            if (open.empty()) {
                _passing += i > 0;
                return;
            }
        }
        _lasting++;
    }

    void enumerateNames() {
        check("enumerateInstanceNames", _expected.state, [&](State& got) {
            const auto names = byPath(_session.client.enumerateInstanceNames(
                _expected.about->nameSpace, _expected.about->name));
            for (const auto& one : names) {
                const auto known = _expected.state.find(one.first);
                got.emplace(one.first, known == _expected.state.end() ? std::set<std::string>()
                                                                      : known->second);
            }
        });
    }

    void enumerate() {
        check("enumerateInstances", _expected.state, [&](State& got) {
            got = stateOf(byPath(_session.client.enumerateInstances(
                _expected.about->nameSpace, _expected.about->name, true, false)));
        });
    }

    void get() {
        if (_expected.paths.empty()) {
            return;
        }
        auto chosen = _expected.paths.begin();
        std::advance(chosen, _random() % _expected.paths.size());
        check("getInstance", {*_expected.state.find(chosen->first)}, [&](State& got) {
            got.emplace(chosen->first, filledIn(CIMConstInstance(_session.client.getInstance(
                                           _expected.about->nameSpace, chosen->second, false))));
        });
    }

    const Expected& _expected;
    Session _session;
    std::minstd_rand _random;
    Suspicions _suspicions;
    unsigned long _passing = 0, _lasting = 0;
};

// The clients, each on a thread of its own.
void load(Access& access, std::vector<Expected>& classes, const DriveOptions& options,
          velmar_checks::Findings& findings) {
    const auto end = std::chrono::steady_clock::now() + std::chrono::seconds(options.seconds);
    std::vector<std::vector<std::unique_ptr<Client>>> clients(options.clients);
    std::vector<std::thread> threads;
    for (unsigned number = 0; number < options.clients; number++) {
        for (const Expected& one : classes) {
            clients[number].push_back(std::make_unique<Client>(access, one, findings, number + 1));
        }
        threads.emplace_back([&mine = clients[number], end] {
            while (!mine.empty() && std::chrono::steady_clock::now() < end) {
                for (const std::unique_ptr<Client>& client : mine) {
                    client->step();
                }
            }
        });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
    for (const auto& mine : clients) {
        for (size_t i = 0; i < mine.size(); i++) {
            mine[i]->addTo(classes[i]);
        }
    }
}

}  // namespace

void driveLoad(Access& access, const std::vector<RegisteredClass>& classes,
               const DriveOptions& options, velmar_checks::Findings& findings,
               std::vector<ClassReport>& results) {
    std::vector<Expected> all;
    for (const RegisteredClass& one : classes) {
        if (one.serves(ProviderType::Instance) && !one.definition.isUninitialized() &&
            options.isAsked(one.text())) {
            Session session(access, one, findings, 0);
            if (auto expected = expectation(one, session)) {
                all.push_back(std::move(*expected));
            }
        }
    }
    load(access, all, options, findings);
    for (const Expected& expected : all) {
        const RegisteredClass& about = *expected.about;
        const auto result = std::find_if(results.begin(), results.end(), [&](const auto& one) {
            return one.className == about.text() &&
                   one.nameSpace == utf8(about.nameSpace.getString());
        });
        result->callsUnderLoad = expected.calls;
        // Objects that come and go stay for a while, and alone again the class must answer as
        // before: else it has changed meanwhile, which explains everything.
        result->changes |= expected.lasting > expected.passing;
        if (result->changes) {
            continue;
        }
        Session session(access, about, findings, options.tries);
        session.confirm([&](Doubts& doubts) {
            const auto now = expectation(about, session);
            const bool isSame = now && now->state == expected.state;
            for (const auto& [key, doubt] : expected.suspicions) {
                doubts.see(doubt.object);
                if (isSame) {
                    doubts.add(doubt);
                }
            }
        });
        result->changes |= session.result.changes;
    }
}

}  // namespace velmar_driver
