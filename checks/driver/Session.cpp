// SPDX-FileCopyrightText: The velmar_remote authors
// SPDX-License-Identifier: MIT

#include "checks/driver/Session.h"

#include <Pegasus/Common/Exception.h>

#include <algorithm>
#include <chrono>

#include "checks/driver/DriverRules.h"

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

Session::Session(const RegisteredClass& ofClass, Report report)
    : about(ofClass), _report(std::move(report)) {
    client.connectLocal();
    result.nameSpace = velmar_driver::text(about.nameSpace.getString());
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
        outcome = {static_cast<int>(e.getCode()), velmar_driver::text(e.getMessage())};
    } catch (const ConnectionTimeoutException&) {
        throw NoAnswer(operation + " gives no answer within " +
                       std::to_string(client.getTimeout() / 1000) + " s");
    } catch (const Exception& e) {
        outcome = {-1, velmar_driver::text(e.getMessage())};
    }
    const std::chrono::duration<double, std::milli> took = std::chrono::steady_clock::now() - start;
    result.milliseconds.push_back(took.count());
    return outcome;
}

bool Session::expect(const std::string& operation, const std::function<void()>& work) {
    const Outcome outcome = call(operation, work);
    if (!outcome) {
        find(rules::fails, operation, operation + " fails: " + outcome.describe());
    }
    return static_cast<bool>(outcome);
}

void Session::find(const velmar_checks::Rule& rule, const std::string& element,
                   const std::string& sentence) {
    velmar_checks::Finding finding;
    finding.id = rule.id;
    finding.severity = rule.severity;
    finding.className = about.text();
    finding.element = element;
    finding.text = "class " + about.text() + ": " + sentence;
    _report(finding);
}

bool Session::isSample(const std::string& object) {
    if (_samples.size() < 3) {
        _samples.insert(object);
    }
    return _samples.count(object) != 0;
}

std::string text(const String& string) { return std::string(string.getCString()); }

std::string shortText(const CIMObjectPath& path) {
    return text(
        CIMObjectPath(String(), CIMNamespaceName(), path.getClassName(), path.getKeyBindings())
            .toString());
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

std::string listed(const std::set<std::string>& texts) {
    const size_t shown = 3;
    std::string result;
    size_t count = 0;
    for (const std::string& one : texts) {
        if (count == shown && texts.size() > shown + 1) {
            return result + " and " + std::to_string(texts.size() - shown) + " more";
        }
        result += (count == 0 ? "" : ", ") + one;
        count++;
    }
    return result;
}

}  // namespace velmar_driver
