// SPDX-FileCopyrightText: The velmar_remote authors
// SPDX-License-Identifier: MIT
//
// What the library writes into the CIM server's trace: a record at the entry and one at the normal
// exit of every operation, and records of details.
#include <Pegasus/Common/System.h>
#include <gtest/gtest.h>

#include <regex>

#include <velmar_kit/RecordingHandlers.h>
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

/// What a call writes: "Outer([detail]Inner())", with "!" for what is left by an exception.
std::string traceOf(const std::function<void()>& call) {
    TraceFile trace;
    outcome(call);
    std::string all;
    std::vector<std::string> open;
    for (const std::string& record : trace.texts()) {
        const std::string name = record.substr(record.find(" method ") + 8);
        if (record == "Entering method " + name) {
            all += name + "(";
            open.push_back(name);
        } else if (!open.empty() && record == "Exiting method " + open.back()) {
            all += ")";
            open.pop_back();
        } else {
            all += "[" + record + "]";
        }
    }
    return all + std::string(open.size(), '!');
}

TEST(Tracing, EveryOperation) {
    System::setHostName("h");
    FakeServer server;
    server.classes = {{"T_Thing", ""}, {"QORP_LPAR_CS", ""}, {"QORP_ComputerSystem", ""}};
    const OperationContext context;
    const CIMPropertyList all;
    const CIMObjectPath a = path("T_Thing.Name=\"5%s\"");
    CIMInstance instance = instanceAt("//h/root/x:T_Thing.Name=\"5%s\"");
    add(instance, "Name", "5%s");
    Array<CIMInstance> instances;
    Array<CIMObjectPath> paths;
    Array<Array<CIMInstance>> groups;
    Array<CIMParamValue> parameters;
    velmar_kit::InstanceRecorder got;
    velmar_kit::ObjectPathRecorder names;
    velmar_kit::ObjectRecorder objects;
    velmar_kit::MethodResultRecorder result;
    velmar_kit::IndicationRecorder indications;
    InstanceCache cache;
    Things& things = *new Things("T_Thing");
    Links& links = *new Links("T_Link", "Left", "T_Thing", "Right", "T_Thing");
    Alerts& alerts = *new Alerts("T_Alert", nullptr);

    std::string written;
    const auto run = [&](auto call) { written += traceOf(call) + "\n"; };
    run([&] { cache.insert(instance); });
    run([&] { cache.insert(instance); });
    run([&] { cache.lookup(a, instance); });
    run([&] { cache.replace(instance); });
    run([&] { cache.contains(a); });
    run([&] { cache.getInstances(instances); });
    run([&] { cache.clear(); });
    run([&] { things.initialize(server.handle); });
    run([&] { things.createInstance(context, a, instance, names); });
    run([&] { things.getInstance(context, a, false, false, all, got); });
    run([&] { things.enumerateInstances(context, a, false, false, all, got); });
    run([&] { things.enumerateInstanceNames(context, a, names); });
    run([&] { things.modifyInstance(context, a, instance, false, all, names); });
    run([&] { things.deleteInstance(context, a, names); });
    run([&] { things.invokeMethod(context, a, "Touch", parameters, result); });
    run([&] { things.terminate(); });
    run([&] { links.associators(context, a, "L", CIMName(), "", "", false, false, all, objects); });
    run([&] { links.associatorNames(context, a, "L", CIMName(), "", "", names); });
    run([&] { links.references(context, a, CIMName(), "", false, false, all, objects); });
    run([&] { links.referenceNames(context, a, CIMName(), "", names); });
    links.terminate();
    run([&] { alerts.initialize(server.handle); });
    run([&] { alerts.enableIndications(indications); });
    run([&] { alerts.createSubscription(context, a, paths, all, 1); });
    run([&] { alerts.modifySubscription(context, a, paths, all, 1); });
    run([&] { alerts.deleteSubscription(context, a, paths); });
    run([&] { alerts.invokeMethod(context, a, "send", parameters, result); });
    run([&] { sendIndication(server.handle, context, a, "T_Alert", parameters); });
    run([&] { alerts.generateIndication(context, instance, parameters); });
    run([&] { alerts.disableIndications(); });
    run([&] { alerts.terminate(); });
    run([&] { groupByHCP(server.handle, context, instances, groups, instances); });
    EXPECT_EQ(written, R"(InstanceCache::insert([Inserting into cache: T_Thing.Name="5%s"])
InstanceCache::insert()
InstanceCache::lookup([Found in cache: //h/root/x:T_Thing.Name="5%s"])
InstanceCache::replace([Replacing in cache: T_Thing.Name="5%s"])
InstanceCache::contains()
InstanceCache::getInstances()
InstanceCache::clear(InstanceCache::getPaths()InstanceCache::remove([Removing from cache: T_Thing.Name="5%s"]))
CachedInstanceProvider::initialize()
CachedInstanceProvider::createInstance(InstanceCache::insert([Inserting into cache: T_Thing.Name="5%s"]))
CachedInstanceProvider::getInstance(InstanceCache::lookup([Found in cache: //h/root/velmar_remote:T_Thing.Name="5%s"])CachedInstanceProvider::fillProperties(CachedInstanceProvider::fillProperties()))
CachedInstanceProvider::enumerateInstances(InstanceCache::getInstances()CachedInstanceProvider::fillProperties())
CachedInstanceProvider::enumerateInstanceNames(InstanceCache::getPaths())
CachedInstanceProvider::modifyInstance(!
CachedInstanceProvider::deleteInstance(InstanceCache::remove([Removing from cache: T_Thing.Name="5%s"]))
InstanceMethodProvider::invokeMethod(InstanceCache::lookup()InstanceMethodProvider::callMethod(!!
CachedInstanceProvider::terminate()
InstanceAssociationProvider::associators(InstanceAssociationProvider::go(InstanceCache::getInstances()))
InstanceAssociationProvider::associatorNames(InstanceAssociationProvider::go(InstanceCache::getInstances()))
InstanceAssociationProvider::references(InstanceAssociationProvider::go(InstanceCache::getInstances()))
InstanceAssociationProvider::referenceNames(InstanceAssociationProvider::go(InstanceCache::getInstances()))
IndicationMethodProvider::initialize()
IndicationMethodProvider::enableIndications()
IndicationMethodProvider::createSubscription()
IndicationMethodProvider::modifySubscription()
IndicationMethodProvider::deleteSubscription()
IndicationMethodProvider::invokeMethod(IndicationMethodProvider::generateIndication(!!
sendIndication([Sending Indication: [AlertingManagedElement=T_Thing.Name="5%s"] [IndicationType=T_Alert]])
IndicationMethodProvider::generateIndication()
IndicationMethodProvider::disableIndications()
IndicationMethodProvider::terminate()
Util::groupByHCP()
)");
}

TEST(Tracing, ElapsedTime) {
    Benchmark watch;
    // Without a start it would count from 1970.
    const std::string written = traceOf([&] { watch.logElapsedTime("100%s %n"); });
    EXPECT_TRUE(std::regex_match(written, std::regex("\\[100%s %n took [0-9]{1,6} ms\\.\\]")))
        << written;
}

}  // namespace
