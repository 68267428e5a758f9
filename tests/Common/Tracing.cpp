// SPDX-FileCopyrightText: The velmar_remote authors
// SPDX-License-Identifier: MIT
//
// What the library writes into the CIM server's trace: a record at the entry and one at the normal
// exit of every operation, and records of details.
#include <Pegasus/Common/System.h>
#include <gtest/gtest.h>

#include <regex>

#include <velmar_testing/RecordingHandlers.h>
#include "Common/Benchmark.h"
#include "Common/IndicationMethodProvider.h"
#include "support/FakeServer.h"
#include "support/ScriptedServer.h"
#include "support/TraceFile.h"

using namespace Pegasus;
using namespace support;
using namespace velmar_remote;

namespace {

class Alerts : public IndicationMethodProvider {
 public:
    using IndicationMethodProvider::generateIndication;
    using IndicationMethodProvider::IndicationMethodProvider;
};

/// What calls write: "Class: outer([detail] inner())", with "!" for what an exception leaves. A
/// class is named where it changes.
std::string traceOf(const std::vector<std::function<void()>>& calls) {
    std::string all, last;
    for (const auto& call : calls) {
        TraceFile trace;
        outcome(call);
        std::vector<std::string> open;
        for (const std::string& line : trace.lines()) {
            EXPECT_NE(line.find(":Common/"), std::string::npos) << line;
        }
        for (const std::string& record : trace.texts()) {
            const std::string name = record.substr(record.find(" method ") + 8);
            const std::string unit = name.substr(0, name.find("::"));
            if (record == "Entering method " + name) {
                all += unit == last ? " " : (open.empty() ? "\n" : " ") + unit + ": ";
                all += name.substr(std::min(name.size(), unit.size() + 2)) + "(";
                open.push_back(name);
                last = unit;
            } else if (!open.empty() && record == "Exiting method " + open.back()) {
                all += ")";
                open.pop_back();
            } else {
                all += "[" + record + "]";
            }
        }
        all += std::string(open.size(), '!');
    }
    return all;
}

TEST(Tracing, EveryOperation) {
    System::setHostName("h");
    FakeServer server;
    server.classes = {{"T", ""}, {"QORP_LPAR_CS", ""}, {"QORP_ComputerSystem", ""}};
    const OperationContext context;
    const CIMPropertyList all;
    const CIMObjectPath a = path("T.Name=\"%s\"");
    const CIMName none;
    CIMInstance instance = instanceAt("//h/root/x:T.Name=\"%s\"");
    add(instance, "Name", "%s");
    Array<CIMInstance> instances;
    Array<CIMObjectPath> paths;
    Array<Array<CIMInstance>> groups;
    Array<CIMParamValue> parameters;
    velmar_testing::InstanceRecorder got;
    velmar_testing::ObjectPathRecorder names;
    velmar_testing::ObjectRecorder objects;
    velmar_testing::MethodResultRecorder result;
    velmar_testing::IndicationRecorder indications;
    InstanceCache cache;
    Things& things = *new Things("T");
    Links& links = *new Links("T_Link", "Left", "T_Thing", "Right", "T_Thing");
    Alerts& alerts = *new Alerts("T_Alert", nullptr);

    const std::string written = traceOf({
        [&] { cache.insert(instance); },
        [&] { cache.insert(instance); },
        [&] { cache.lookup(a, instance); },
        [&] { cache.replace(instance); },
        [&] { cache.contains(a); },
        [&] { cache.getInstances(instances); },
        [&] { cache.clear(); },
        [&] { things.initialize(server.handle); },
        [&] { things.createInstance(context, a, instance, names); },
        [&] { things.getInstance(context, a, false, false, all, got); },
        [&] { things.enumerateInstances(context, a, false, false, all, got); },
        [&] { things.enumerateInstanceNames(context, a, names); },
        [&] { things.modifyInstance(context, a, instance, false, all, names); },
        [&] { things.deleteInstance(context, a, names); },
        [&] { things.invokeMethod(context, a, "Touch", parameters, result); },
        [&] { things.terminate(); },
        [&] { links.associators(context, a, none, none, "", "", false, false, all, objects); },
        [&] { links.associatorNames(context, a, none, none, "", "", names); },
        [&] { links.references(context, a, none, "", false, false, all, objects); },
        [&] { links.referenceNames(context, a, none, "", names); },
        [&] { alerts.initialize(server.handle); },
        [&] { alerts.enableIndications(indications); },
        [&] { alerts.createSubscription(context, a, paths, all, 1); },
        [&] { alerts.modifySubscription(context, a, paths, all, 1); },
        [&] { alerts.deleteSubscription(context, a, paths); },
        [&] { alerts.invokeMethod(context, a, "send", parameters, result); },
        [&] { sendIndication(server.handle, context, a, "T_Alert", parameters); },
        [&] { alerts.generateIndication(context, instance, parameters); },
        [&] { alerts.disableIndications(); },
        [&] { alerts.terminate(); },
        [&] { groupByHCP(server.handle, context, instances, groups, instances); },
    });
    links.terminate();
    EXPECT_EQ(written, R"(
InstanceCache: insert([Inserting into cache: T.Name="%s"]) insert() lookup([Found in cache: //h/root/x:T.Name="%s"]) replace([Replacing in cache: T.Name="%s"]) contains() getInstances() clear( getPaths() remove([Removing from cache: T.Name="%s"]))
CachedInstanceProvider: initialize() createInstance( InstanceCache: insert([Inserting into cache: T.Name="%s"]))
CachedInstanceProvider: getInstance( InstanceCache: lookup([Found in cache: //h/root/velmar_remote:T.Name="%s"]) CachedInstanceProvider: fillProperties( fillProperties())) enumerateInstances( InstanceCache: getInstances() CachedInstanceProvider: fillProperties()) enumerateInstanceNames( InstanceCache: getPaths())
CachedInstanceProvider: modifyInstance(! deleteInstance( InstanceCache: remove([Removing from cache: T.Name="%s"]))
InstanceMethodProvider: invokeMethod( InstanceCache: lookup() InstanceMethodProvider: callMethod(!!
CachedInstanceProvider: terminate()
InstanceAssociationProvider: associators( go( InstanceCache: getInstances()))
InstanceAssociationProvider: associatorNames( go( InstanceCache: getInstances()))
InstanceAssociationProvider: references( go( InstanceCache: getInstances()))
InstanceAssociationProvider: referenceNames( go( InstanceCache: getInstances()))
IndicationMethodProvider: initialize() enableIndications() createSubscription() modifySubscription() deleteSubscription() invokeMethod( generateIndication(!!
sendIndication: ([Sending Indication: [AlertingManagedElement=T.Name="%s"] [IndicationType=T_Alert]])
IndicationMethodProvider: generateIndication() disableIndications() terminate()
Util: groupByHCP())");
}

TEST(Tracing, ElapsedTime) {
    Benchmark watch;
    // Without a start it would count from 1970.
    const std::string written = traceOf({[&] { watch.logElapsedTime("100%s %n"); }});
    EXPECT_TRUE(std::regex_match(written, std::regex(" *\\[100%s %n took [0-9]{1,6} ms\\.\\]")))
        << written;
}

}  // namespace
