// SPDX-FileCopyrightText: The velmar_remote authors
// SPDX-License-Identifier: MIT

#include "check/Session.h"

#include <Pegasus/Common/Exception.h>

#include <algorithm>
#include <chrono>
#include <thread>

using namespace Pegasus;

namespace velmar_driver {

double ClassReport::median() const {
    if (milliseconds.empty()) {
        return 0;
    }
    std::vector<double> sorted(milliseconds);
    std::nth_element(sorted.begin(), sorted.begin() + sorted.size() / 2, sorted.end());
    return sorted[sorted.size() / 2];
}

double ClassReport::largest() const {
    return milliseconds.empty() ? 0 : *std::max_element(milliseconds.begin(), milliseconds.end());
}

std::string Outcome::describe() const {
    if (code < 0) {
        return text;
    }
    // A server's own texts begin with the code.
    const std::string status = cimStatusCodeToString(static_cast<CIMStatusCode>(code));
    return text.compare(0, status.size(), status) == 0 ? text : status + " (" + text + ")";
}

void Doubts::add(Doubt doubt) {
    see(doubt.object);
    std::string key = doubt.rule + ("\n" + doubt.element) + "\n" + doubt.object;
    _all.emplace(std::move(key), std::move(doubt));
}

Session::Session(Access& through, const RegisteredClass& ofClass, velmar_checks::Findings& findings,
                 unsigned tries)
    : access(through), about(ofClass), _findings(findings), _tries(tries) {
    access.connect(client);
    result.nameSpace = utf8(about.nameSpace.getString());
    result.className = about.text();
}

Outcome Session::call(const std::string& operation, const std::function<void()>& work) {
    std::vector<std::string>& tried = result.operations;
    if (std::find(tried.begin(), tried.end(), operation) == tried.end()) {
        tried.push_back(operation);
    }
    const auto start = std::chrono::steady_clock::now();
    Outcome outcome;
    try {
        work();
    } catch (const CIMException& e) {
        outcome = {static_cast<int>(e.getCode()), utf8(e.getMessage())};
    } catch (const ConnectionTimeoutException&) {
        throw NoAnswer(operation + " gives no answer within " +
                       std::to_string(client.getTimeout() / 1000) + " s");
    } catch (const Exception& e) {
        outcome = {-1, utf8(e.getMessage())};
    }
    const std::chrono::duration<double, std::milli> took = std::chrono::steady_clock::now() - start;
    result.milliseconds.push_back(took.count());
    return outcome;
}

bool Session::expect(const std::string& operation, const std::function<void()>& work) {
    const Outcome outcome = call(operation, work);
    if (!outcome) {
        find("driver.fails", operation, operation + " fails: " + outcome.describe());
    }
    return static_cast<bool>(outcome);
}

bool Session::expect(Doubts& doubts, const std::string& operation, const std::string& object,
                     const std::function<void()>& work) {
    const Outcome outcome = call(operation, work);
    if (!outcome) {
        doubts.add({"driver.fails", operation, object,
                    operation + " fails: " + outcome.describe() + ", asked about " + object});
    }
    return static_cast<bool>(outcome);
}

bool Session::isKnown(const Doubt& doubt) const {
    return _found.count({doubt.rule, doubt.element}) != 0;
}

namespace {

// How a doubt fared, a letter for each round: it came up, the answers agreed, the object had gone.
enum Round : char { Doubted = 'd', Agreed = 'a', Gone = 'g' };

// Objects that come and go are plugged and pulled again and again, and a change may take its time:
// an end is gone while the associations that refer to it are still being deleted. An object that
// was gone and seen in order since is in order. One that is always there is not if most rounds
// doubt it, nor is one that comes back with the doubt each time. A value may change at any time.
bool isExplained(const std::string& rounds, const Doubt& doubt, unsigned tries) {
    const auto agreed = std::count(rounds.begin(), rounds.end(), Agreed);
    const auto gone = std::count(rounds.begin(), rounds.end(), Gone);
    return (agreed > 0 && (gone > 0 || doubt.isOfValue)) || 2 * (agreed + gone) >= tries;
}

bool keepsComingBack(const std::string& rounds) {
    const std::string back = {Gone, Doubted};
    return rounds.find(back) != rounds.rfind(back);
}

}  // namespace

void Session::confirm(const std::function<void(Doubts&)>& ask) {
    Doubts first;
    ask(first);
    std::map<std::string, std::pair<Doubt, std::string>> open;
    for (const auto& [key, doubt] : first._all) {
        if (isKnown(doubt)) {
            find(doubt.rule, doubt.element, doubt.sentence);
        } else {
            open.emplace(key, std::make_pair(doubt, ""));
        }
    }
    for (unsigned i = 0; i < _tries && !open.empty(); i++) {
        std::this_thread::sleep_for(std::chrono::milliseconds((1u << i) / 2));
        Doubts again;
        ask(again);
        for (auto one = open.begin(); one != open.end();) {
            auto& [doubt, rounds] = one->second;
            rounds += again._all.count(one->first) != 0      ? Doubted
                      : again._seen.count(doubt.object) != 0 ? Agreed
                                                             : Gone;
            result.changes |= rounds.back() != Doubted;
            one = isExplained(rounds, doubt, _tries) ? open.erase(one) : std::next(one);
        }
    }
    for (const auto& [key, one] : open) {
        const auto& [doubt, rounds] = one;
        if (rounds.find(Gone) == std::string::npos || keepsComingBack(rounds)) {
            find(doubt.rule, doubt.element, doubt.sentence);
        }
    }
}

void Session::find(const std::string& rule, const std::string& element,
                   const std::string& sentence) {
    _found.insert({rule, element});
    velmar_checks::Reporter(_findings, "", about.text()).add(rule, element, sentence);
}

bool Session::isSample(const std::string& object) {
    if (_samples.size() < 3) {
        _samples.insert(object);
    }
    return _samples.count(object) != 0;
}

std::string shortText(const CIMObjectPath& path) {
    return utf8(velmar_embedded::withoutPlace(path));
}

namespace {

const CIMObjectPath& pathOf(const CIMObjectPath& path) { return path; }
template <class T>
const CIMObjectPath& pathOf(const T& object) {
    return object.getPath();
}

}  // namespace

template <class T>
std::map<std::string, T> byPath(const Array<T>& objects) {
    std::map<std::string, T> result;
    for (Uint32 i = 0; i < objects.size(); i++) {
        result.emplace(shortText(pathOf(objects[i])), objects[i]);
    }
    return result;
}
template std::map<std::string, CIMObjectPath> byPath(const Array<CIMObjectPath>&);
template std::map<std::string, CIMInstance> byPath(const Array<CIMInstance>&);
template std::map<std::string, CIMObject> byPath(const Array<CIMObject>&);

}  // namespace velmar_driver
