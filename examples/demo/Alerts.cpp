// SPDX-FileCopyrightText: The velmar_remote authors
// SPDX-License-Identifier: MIT

#include <Common/Util.h>
#include <Pegasus/Common/CIMParamValue.h>
#include <Pegasus/Provider/CIMOMHandle.h>
#include <fmt/core.h>

#include <algorithm>
#include <mutex>
#include <utility>

#include <velmar_embedded/Server.h>
#include "Sections.h"
#include "site/SiteModel.h"

using namespace Pegasus;

namespace demo {

namespace {

/// What the subscriber got so far. The server calls it on a thread of its own.
class Inbox {
 public:
    void take(const CIMInstance& alert) {
        const std::lock_guard<std::mutex> lock(_mutex);
        _alerts.push_back(alert);
    }
    /// And forgets them.
    std::vector<CIMInstance> all() {
        const std::lock_guard<std::mutex> lock(_mutex);
        std::vector<CIMInstance> result;
        result.swap(_alerts);
        return result;
    }

 private:
    std::mutex _mutex;
    std::vector<CIMInstance> _alerts;
};

/// A domain with a control point, without which a system's alert has no sender and fails, and a
/// partition in it, if there is one.
struct Place {
    const site::Domain* domain = nullptr;
    const site::HostingSystem* system = nullptr;
    const site::Partition* partition = nullptr;

    CIMObjectPath path() const {
        return site::pathOf(site::PARTITION, "Name", site::partitionName(*system, *partition));
    }
};

Place findPlace(const site::Site& site) {
    Place place;
    for (const site::Domain& domain : site.domains) {
        if (domain.controlPoints.empty()) {
            continue;
        }
        for (const site::HostingSystem& system : domain.systems) {
            if (!system.partitions.empty()) {
                return Place{&domain, &system, &system.partitions.front()};
            }
        }
        place.domain = &domain;
    }
    return place;
}

const site::ControlPoint* findPoint(const site::Site& site, const std::string& uuid) {
    for (const site::Domain& domain : site.domains) {
        for (const site::ControlPoint& point : domain.controlPoints) {
            if (point.uuid == uuid) {
                return &point;
            }
        }
    }
    return nullptr;
}

std::string severityOf(const CIMInstance& alert) {
    static const char* const names[] = {"unknown", "other", "information", "warning",
                                        "minor",   "major", "critical",    "fatal"};
    const CIMValue value = velmar_remote::getValue(alert, "PerceivedSeverity");
    Uint16 number = 0;
    if (!value.isNull()) {
        value.get(number);
    }
    return number < sizeof names / sizeof *names ? names[number] : std::to_string(number);
}

// "2026-11-24 22:22:11" of yyyymmddhhmmss.mmmmmmsutc.
std::string timeOf(const CIMInstance& alert) {
    const std::string t = text(alert, "IndicationTime");
    return t.size() < 14
               ? t
               : fmt::format("{}-{}-{} {}:{}:{}", t.substr(0, 4), t.substr(4, 2), t.substr(6, 2),
                             t.substr(8, 2), t.substr(10, 2), t.substr(12, 2));
}

// As a person wants to read it; what the alert does not know has no line.
void print(const Demo& demo, const CIMInstance& alert) {
    const auto line = [&](const char* label, const std::string& value) {
        if (!value.empty()) {
            demo.report.text(fmt::format("      {:<13}{}", label, value));
        }
    };
    demo.report.text(fmt::format("\n  {}: {}", severityOf(alert), text(alert, "Description")));
    line("raised", fmt::format("{}, as alert {} of this server", timeOf(alert),
                               text(alert, "IndicationIdentifier")));
    line("about", text(alert, "AlertingManagedElement"));
    if (!text(alert, "Type").empty()) {
        line("machine", fmt::format("{}-{}, serial number {}", text(alert, "Type"),
                                    text(alert, "Model"), text(alert, "SerialNumber")));
    }
    line("partition", text(alert, "LPARID"));
    const std::string sender = text(alert, "SenderUUID");
    const site::ControlPoint* const point = findPoint(demo.site, sender);
    line("sender UUID", point != nullptr ? fmt::format("{} ({})", sender, point->name) : sender);
    line("reported by",
         fmt::format("{} on {}", text(alert, "ProviderName"), text(alert, "SystemName")));
}

void requestState(const Demo& demo, Step& step, const Place& place, const site::State& state) {
    Array<CIMParamValue> in;
    in.append(CIMParamValue("RequestedState", CIMValue(Uint16(state.value))));
    Array<CIMParamValue> out;
    step.ask([&] {
        demo.client.invokeMethod(site::cimNamespace(), place.path(), "RequestStateChange", in, out);
    });
    const CIMValue problem = velmar_remote::findParam(out, "AlertProblem");
    step.expect(problem.isNull(), "the alert is sent, not: " +
                                      (problem.isNull() ? "" : site::toStd(problem.toString())));
}

// The alerts that came since the last call.
std::vector<CIMInstance> arrived(const Demo& demo, Inbox& inbox, Step& step, size_t expected) {
    step.ask([&] { demo.server.drain(); });
    std::vector<CIMInstance> alerts = inbox.all();
    step.expect(alerts.size() == expected,
                fmt::format("{}, not {}", count(expected, "alert"), alerts.size()));
    return alerts;
}

void expectText(Step& step, const CIMInstance& alert, const char* name, const std::string& value) {
    step.expect(text(alert, name) == value,
                fmt::format("{} is \"{}\", not \"{}\"", name, value, text(alert, name)));
}

// The partition's provider raises the alert itself.
void alertOfPartition(const Demo& demo, Inbox& inbox, const Place& place,
                      const site::State& failed) {
    std::vector<CIMInstance> alerts;
    demo.report.step("call", fmt::format("RequestStateChange({})", failed.name), [&](Step& step) {
        requestState(demo, step, place, failed);
        alerts = arrived(demo, inbox, step, 1);
        for (const CIMInstance& alert : alerts) {
            expectText(step, alert, "AlertingManagedElement", shortText(place.path()));
            expectText(step, alert, "Type", place.system->type);
            expectText(step, alert, "Model", place.system->model);
            expectText(step, alert, "SerialNumber", place.system->serial);
            expectText(step, alert, "LPARID", std::to_string(place.partition->id));
            const std::vector<site::ControlPoint>& points = place.domain->controlPoints;
            step.expect(std::any_of(points.begin(), points.end(),
                                    [&](const site::ControlPoint& point) {
                                        return point.uuid == text(alert, "SenderUUID");
                                    }),
                        "the sender is a control point of " + place.domain->name);
        }
        return fmt::format("{} for the subscriber", count(alerts.size(), "alert"));
    });
    for (const CIMInstance& alert : alerts) {
        print(demo, alert);
    }
}

// Any program can raise an alert. An element that is no system is its own sender.
void alertOfControlPoint(const Demo& demo, Inbox& inbox, const site::ControlPoint& point) {
    std::vector<CIMInstance> alerts;
    const CIMObjectPath path = site::pathOf(site::CONTROL_POINT, "UUID", point.uuid);
    demo.report.text("");
    demo.report.step("sendIndication", shortText(path), [&](Step& step) {
        const Uint16 WARNING = 3;
        CIMOMHandle cimom;
        Array<CIMParamValue> params;
        params.append(CIMParamValue("PerceivedSeverity", CIMValue(WARNING)));
        params.append(CIMParamValue(
            "Description",
            CIMValue(site::toString("Control point " + point.name + " answers slowly"))));
        step.ask([&] {
            velmar_remote::sendIndication(cimom, OperationContext(), path, site::ALERT, params);
        });
        alerts = arrived(demo, inbox, step, 1);
        for (const CIMInstance& alert : alerts) {
            expectText(step, alert, "AlertingManagedElement", shortText(path));
            expectText(step, alert, "SenderUUID", point.uuid);
            expectText(step, alert, "UUID", point.uuid);
            expectText(step, alert, "Type", "");
        }
        return fmt::format("{} for the subscriber", count(alerts.size(), "alert"));
    });
    for (const CIMInstance& alert : alerts) {
        print(demo, alert);
    }
}

}  // namespace

void showAlerts(const Demo& demo) {
    demo.report.section("Alerts, from a provider to whoever subscribes");
    const Place place = findPlace(demo.site);
    if (place.domain == nullptr) {
        demo.report.skip("alert", "the site has no control point");
        return;
    }
    Inbox inbox;
    const std::string query = fmt::format("SELECT * FROM {}", site::ALERT);
    std::string subscription;
    demo.report.step("subscribe", query, [&](Step& step) {
        subscription = step.ask([&] {
            return demo.server.subscribe(query, {site::toStd(site::cimNamespace().getString())},
                                         [&](const CIMInstance& alert) { inbox.take(alert); });
        });
        return "subscription " + subscription;
    });
    // Only a change is worth an alert.
    const site::State* first = site::findState("failed");
    const site::State* second = site::findState("aborted");
    if (place.partition != nullptr) {
        if (place.partition->state == first) {
            std::swap(first, second);
        }
        alertOfPartition(demo, inbox, place, *first);
    }
    alertOfControlPoint(demo, inbox, place.domain->controlPoints.front());

    demo.report.text("");
    demo.report.step("unsubscribe", query, [&](Step& step) {
        step.ask([&] { demo.server.unsubscribe(subscription); });
        return "nobody subscribes";
    });
    if (place.partition == nullptr) {
        return;
    }
    demo.report.step("call", fmt::format("RequestStateChange({})", second->name), [&](Step& step) {
        requestState(demo, step, place, *second);
        return fmt::format("{} for the subscriber",
                           count(arrived(demo, inbox, step, 0).size(), "alert"));
    });
    demo.report.step("call", fmt::format("RequestStateChange({})", place.partition->state->name),
                     [&](Step& step) {
                         requestState(demo, step, place, *place.partition->state);
                         return "as before";
                     });
}

}  // namespace demo
