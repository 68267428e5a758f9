// SPDX-FileCopyrightText: The velmar_remote authors
// SPDX-License-Identifier: MIT

#include <Common/Util.h>
#include <Pegasus/Common/CIMParamValue.h>
#include <Pegasus/Provider/CIMOMHandle.h>
#include <fmt/core.h>

#include <map>
#include <mutex>
#include <utility>

#include "Demo.h"
#include "QORP_LPAR_CS.h"
#include "QOR_HWCtrlPoint.h"

using namespace Pegasus;

namespace demo {

namespace {

/// A partition, and a control point of its domain: without one an alert has no sender and fails.
struct Actor {
    const site::ControlPoint* point = nullptr;
    const site::HostingSystem* system = nullptr;
    const site::Partition* partition = nullptr;
};

Actor findActor(const site::Site& site) {
    Actor actor;
    forEachSystem(site, [&](const site::Domain& domain, const site::HostingSystem& system) {
        if (actor.system == nullptr && !domain.controlPoints.empty() &&
            !system.partitions.empty()) {
            actor = {&domain.controlPoints.front(), &system, &system.partitions.front()};
        }
    });
    return actor;
}

// Returns the method's answer in words.
std::string requestState(const Demo& demo, const CIMObjectPath& path, Uint16 state) {
    Array<CIMParamValue> in, out;
    in.append(CIMParamValue("RequestedState", CIMValue(state)));
    const CIMValue result =
        demo.client.invokeMethod(cimNamespace(), path, "RequestStateChange", in, out);
    std::string answer = "returns " + utf8(result.toString());
    for (Uint32 i = 0; i < out.size(); i++) {
        answer += fmt::format(", {} {}", utf8(out[i].getParameterName()),
                              utf8(out[i].getValue().toString()));
    }
    return answer;
}

/// Changes a partition's state from one to the other, and looks at it.
void change(const Demo& demo, const CIMObjectPath& path, const site::State& from,
            const site::State& to) {
    demo.story.step("call", fmt::format("RequestStateChange({})", to.name), [&] {
        const std::string answer = requestState(demo, path, to.value);
        expectText("it", answer, fmt::format("returns 0, PreviousState {}", from.value));
        const CIMInstance partition = demo.client.getInstance(cimNamespace(), path);
        expectText("state", stateOf(partition), to.name);
        return answer;
    });
}

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
        return std::exchange(_alerts, {});
    }

 private:
    std::mutex _mutex;
    std::vector<CIMInstance> _alerts;
};

typedef std::map<std::string, std::string> Texts;

// What the steps before have raised: one alert with these texts, or none.
void showAlert(const Demo& demo, Inbox& inbox, size_t wanted, const Texts& texts) {
    Places lines;
    demo.story.step("receive", "QOR_SiteAlert", [&] {
        demo.server.drain();
        const std::vector<CIMInstance> alerts = inbox.all();
        for (const CIMInstance& alert : alerts) {
            for (Uint32 i = 0; i < alert.getPropertyCount(); i++) {
                const std::string name = utf8(alert.getProperty(i).getName().getString());
                const std::string value = text(alert, name.c_str());
                if (!value.empty() && name != "Description") {
                    lines.insert(Place{text(alert, "Description"), name + ": " + value});
                }
            }
            for (const auto& [name, value] : texts) {
                expectText(name, text(alert, name.c_str()), value);
            }
        }
        expectText("alerts", std::to_string(alerts.size()), std::to_string(wanted));
        return count(wanted, "alert");
    });
    demo.story.tell(lines);
}

// Any program can raise an alert. An element other than a system is its own sender.
void raise(const Demo& demo, const site::ControlPoint& point, const CIMObjectPath& path) {
    demo.story.step("sendIndication", shortText(path), [&] {
        const Uint16 WARNING = 3;
        CIMOMHandle cimom;
        Array<CIMParamValue> params;
        params.append(CIMParamValue("PerceivedSeverity", CIMValue(WARNING)));
        const std::string what = point.name + " answers slowly";
        params.append(CIMParamValue("Description", CIMValue(String(what.c_str()))));
        velmar_remote::sendIndication(cimom, OperationContext(), path, "QOR_SiteAlert", params);
        return "sent";
    });
}

}  // namespace

void showAlerts(const Demo& demo) {
    demo.story.chapter("A method, and the alerts that it raises for whoever subscribes");
    const Actor actor = findActor(demo.site);
    if (actor.system == nullptr) {
        fmt::print("The site has no partition in a domain with a control point.\n");
        return;
    }
    const CIMObjectPath path =
        site::QORP_LPAR_CS(site::partitionName(*actor.system, *actor.partition)).path();
    demo.story.step("call", "RequestStateChange(a state that does not exist)", [&] {
        const std::string answer = requestState(demo, path, 12345);
        expectText("it", answer, "returns 5");
        return answer;
    });
    Inbox inbox;
    const std::string query = "SELECT * FROM QOR_SiteAlert";
    std::string subscription;
    demo.story.step("subscribe", query, [&] {
        subscription = demo.server.subscribe(query, {utf8(cimNamespace().getString())},
                                             [&](const CIMInstance& alert) { inbox.take(alert); });
        return "subscription " + subscription;
    });
    // Only a change is worth an alert, which the partition's provider raises itself.
    const site::State& before = *actor.partition->state;
    const site::State* failure = site::findState("failed");
    const site::State* other = site::findState("aborted");
    if (&before == failure) {
        std::swap(failure, other);
    }
    change(demo, path, before, *failure);
    showAlert(demo, inbox, 1,
              {{"AlertingManagedElement", shortText(path)},
               {"Type", actor.system->type},
               {"Model", actor.system->model},
               {"SerialNumber", actor.system->serial},
               {"LPARID", std::to_string(actor.partition->id)}});
    const CIMObjectPath point = site::QOR_HWCtrlPoint(actor.point->uuid).path();
    raise(demo, *actor.point, point);
    showAlert(demo, inbox, 1,
              {{"AlertingManagedElement", shortText(point)},
               {"SenderUUID", actor.point->uuid},
               {"Type", ""}});
    demo.story.step("unsubscribe", query, [&] {
        demo.server.unsubscribe(subscription);
        return "no subscriber";
    });
    change(demo, path, *failure, *other);
    showAlert(demo, inbox, 0, {});
    change(demo, path, *other, before);
}

}  // namespace demo
