// SPDX-FileCopyrightText: The velmar_remote authors
// SPDX-License-Identifier: MIT

#include <Common/Util.h>
#include <Pegasus/Common/CIMParamValue.h>
#include <fmt/core.h>

#include "Sections.h"
#include "site/SiteModel.h"

using namespace Pegasus;

namespace demo {

namespace {

struct Reply {
    Uint32 value;
    std::string previous;  ///< empty when there is no PreviousState
};

Reply requestState(const Demo& demo, Step& step, const CIMObjectPath& path, Uint16 state) {
    Array<CIMParamValue> in;
    in.append(CIMParamValue("RequestedState", CIMValue(state)));
    Array<CIMParamValue> out;
    const CIMValue value = step.ask([&] {
        return demo.client.invokeMethod(site::cimNamespace(), path, "RequestStateChange", in, out);
    });
    step.expect(velmar_remote::findParam(out, "AlertProblem").isNull(),
                "any alert of the change is sent");
    Reply reply;
    value.get(reply.value);
    const CIMValue previous = velmar_remote::findParam(out, "PreviousState");
    if (!previous.isNull()) {
        Uint16 number = 0;
        previous.get(number);
        const site::State* const known = site::findState(number);
        reply.previous = known != nullptr ? known->name : std::to_string(number);
    }
    return reply;
}

void change(const Demo& demo, const CIMObjectPath& path, const site::State& from,
            const site::State& to) {
    const std::string request = fmt::format("RequestStateChange({})", to.name);
    demo.report.step("call", request, [&](Step& step) {
        const Reply reply = requestState(demo, step, path, to.value);
        step.expect(reply.value == 0, fmt::format("returns 0, not {}", reply.value));
        step.expect(reply.previous == from.name,
                    fmt::format("was {}, not \"{}\"", from.name, reply.previous));
        return fmt::format("returns {}, was {}", reply.value, reply.previous);
    });
    demo.report.step("get", shortText(path), [&](Step& step) {
        const std::string state =
            stateOf(step.ask([&] { return demo.client.getInstance(site::cimNamespace(), path); }));
        step.expect(state == to.name, fmt::format("is {}, not {}", to.name, state));
        return "is " + state;
    });
}

}  // namespace

void showMethod(const Demo& demo) {
    demo.report.section("A method: change the state of a partition");
    // Any partition will do; a hosting system has the method, too.
    CIMObjectPath path;
    const site::State* state = site::findState("running");
    for (const site::HostingSystem* system : allSystems(demo.site)) {
        path = site::pathOf(site::HOSTING_SYSTEM, "Name", site::systemName(*system));
        if (!system->partitions.empty()) {
            const site::Partition& partition = system->partitions.front();
            path = site::pathOf(site::PARTITION, "Name", site::partitionName(*system, partition));
            state = partition.state;
            break;
        }
    }
    if (path.getClassName().isNull()) {
        demo.report.skip("call", "the site has no system");
        return;
    }

    const site::State& other =
        *site::findState(state->name == std::string("running") ? "stopped" : "running");
    change(demo, path, *state, other);
    demo.report.step("call", "RequestStateChange(a state that does not exist)", [&](Step& step) {
        const Uint16 unknown = 12345;
        const Reply reply = requestState(demo, step, path, unknown);
        step.expect(reply.value == 5, fmt::format("returns 5, not {}", reply.value));
        return fmt::format("returns {} (invalid parameter)", reply.value);
    });
    change(demo, path, other, *state);
}

}  // namespace demo
