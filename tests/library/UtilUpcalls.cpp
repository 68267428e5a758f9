// SPDX-FileCopyrightText: The velmar_remote authors
// SPDX-License-Identifier: MIT
//
// Helpers that ask the CIM server: class hierarchy, grouping by control point, raising alerts.
#include <Pegasus/Common/Exception.h>
#include <gtest/gtest.h>

#include <atomic>

#include "Common/Util.h"
#include "support/ComponentServer.h"
#include "support/TraceFile.h"

using namespace Pegasus;
using namespace support;
using namespace velmar_remote;

// ---- Class hierarchy -------------------------------------------------------------------------

class Hierarchy : public ::testing::Test {
 protected:
    Hierarchy() {
        server.server.compileMofText(NAMESPACE,
                                     "class T_Sub : T_Part {}; class T_Leaf : T_Sub {};");
        Client().enumerateInstances(NAMESPACE, "T_Link");  // loads the provider
        server.forget();
    }
    CIMOMHandle& cimom() { return server.links->_cimom; }
    int upcalls() { return server.arrived("enumerateClasses") + server.arrived("getClass"); }
    bool match(const std::string& pattern, const std::string& candidate) {
        const CIMObjectPath p = pattern.empty() ? CIMObjectPath() : path(pattern);
        return matches(cimom(), context, p, path(candidate));
    }
    OperationContext context;
    LinkServer server;
};

TEST_F(Hierarchy, TheClassFirstThenAllItsSubclasses) {
    const Array<CIMClass> classes = getSubclasses(cimom(), context, "t_part");
    ASSERT_EQ(classes.size(), 3u);
    EXPECT_EQ(text(classes[0].getClassName()), "T_Part");
    EXPECT_EQ(text(classes[1].getClassName()), "T_Sub");
    EXPECT_EQ(text(classes[2].getClassName()), "T_Leaf");
    EXPECT_NE(classes[2].findProperty(CIMName("Name")), PEG_NOT_FOUND);  // inherited ones too
    EXPECT_TRUE(classes[2].hasKeys());                                   // and qualifiers
    EXPECT_EQ(upcalls(), 2);
    EXPECT_EQ(getSubclasses(cimom(), context, "T_Leaf").size(), 1u);

    server.forget();
    EXPECT_EQ(getSubclasses(cimom(), context, CIMName()).size(), 0u);
    EXPECT_EQ(upcalls(), 0);
    EXPECT_THROW(getSubclasses(cimom(), context, "T_Unknown"), CIMException);
}

TEST_F(Hierarchy, PatternsAndCandidates) {
    EXPECT_TRUE(match("T_Part", full(thing("x", "T_Leaf"))));
    EXPECT_TRUE(match("root/else:T_Part", "T_Part"));
    EXPECT_FALSE(match("T_Part", full(thing("x", "T_Thing"))));
    EXPECT_EQ(upcalls(), 6);
    server.forget();
    EXPECT_TRUE(match(thing("x"), thing("x")));
    EXPECT_FALSE(match(thing("x"), full(thing("x"))));
    EXPECT_TRUE(match("", thing("x")));
    EXPECT_EQ(upcalls(), 0);
}

TEST_F(Hierarchy, FirstAssociatedNameOrNone) {
    for (const char* far : {"b", "c"}) {
        server.links->_cache.insert(makeLink(full(thing("a")), full(thing(far))));
    }
    const Array<CIMObjectPath> all = cimom().associatorNames(
        context, NAMESPACE, path(full(thing("a"))), "T_Link", CIMName(), "", "");
    ASSERT_EQ(all.size(), 2u);
    EXPECT_EQ(text(associatorName(cimom(), context, NAMESPACE, path(full(thing("a"))), "T_Link",
                                  CIMName(), "", "")),
              text(all[0]));
    EXPECT_EQ(text(associatorName(cimom(), context, NAMESPACE, path(full(thing("z"))), "T_Link",
                                  CIMName(), "", "")),
              "");
}

// ---- Association instances -------------------------------------------------------------------

TEST_F(Hierarchy, AssociationsAreStoredAsGiven) {
    // One end as requests name it, one without host and namespace: both stay as they are.
    createAssociation(cimom(), context, "T_Link", "Left", path(full(thing("a"))), "Right",
                      path(thing("b")));
    Array<CIMInstance> stored;
    ASSERT_TRUE(server.links->_cache.getInstances(stored));
    ASSERT_EQ(stored.size(), 1u);
    EXPECT_EQ(propertyNames(stored[0]), "Left,Right");
    EXPECT_EQ(property(stored[0], "Left"), full(thing("a")));
    EXPECT_EQ(property(stored[0], "Right"), thing("b"));
    EXPECT_EQ(stored[0].getProperty(0).getType(), CIMTYPE_REFERENCE);
    EXPECT_EQ(text(stored[0].getPath()),
              full(text(localize(makeLink(full(thing("a")), thing("b")).getPath()))));

    server.forget();
    deleteAssociatedInstances(cimom(), context, path(full(thing("alone"))), "T_Link");
    EXPECT_EQ(server.arrived("associatorNames"), 1);
    EXPECT_EQ(server.arrived("deleteInstance"), 0);
}

// ---- Systems by hardware control point -------------------------------------------------------

class Grouping : public ::testing::Test {
 protected:
    Grouping() {
        before.append(Array<CIMInstance>(1, makeThing("before")));
        groups = before;
        ungrouped = before[0];
    }
    /// "point address: system system | ..." and the ungrouped systems after "/".
    std::string group() {
        const Array<CIMInstance> found =
            groupByHCP(server.cimom(), OperationContext(), server.systems, groups, ungrouped);
        std::string result;
        for (Uint32 i = 0; i < groups.size(); i++) {
            result += i ? " | " : "";
            result += i < found.size() ? name(found[i]) + " " + property(found[i], "NetworkAddress")
                                       : "?";
            for (Uint32 k = 0; k < groups[i].size(); k++) {
                result += (k ? " " : ": ") + name(groups[i][k]);
            }
        }
        for (Uint32 i = 0; i < ungrouped.size(); i++) {
            result += (i ? " " : " / ") + name(ungrouped[i]);
        }
        last = found;
        return result;
    }
    static std::string name(const CIMInstance& instance) {
        return text(instance.getPath().getKeyBindings()[0].getValue());
    }

    ComponentServer server;
    Array<Array<CIMInstance>> before;
    Array<Array<CIMInstance>> groups;
    Array<CIMInstance> ungrouped;
    Array<CIMInstance> last;
};

TEST_F(Grouping, SeveralPointsInOrderOfTheirSystems) {
    for (const char* point : {"1", "2", "3"}) {
        server.addPoint(point, "D" + std::string(point));
    }
    server.addSystem("S1", "D1");
    server.addSystem("S2", "D2");
    server.addSystem("lone", "");
    server.addSystem("S3", "D1");
    server.addSystem("S4", "D3");
    server.addSystem("empty", "D9");
    EXPECT_EQ(group(), "1 10.0.0.1: S1 S3 | 2 10.0.0.2: S2 | 3 10.0.0.3: S4 / lone empty");
    EXPECT_EQ(server.arrived("enumerateInstances"), 1);
    EXPECT_EQ(server.arrived("associatorNames"), 11);  // two each, one for the lone system
    EXPECT_EQ(server.arrived("getInstance"), 3);
    EXPECT_EQ(text(last[0].getPath()), full(thing("1", "QOR_HWCtrlPoint")));
    add(last[0], "Mine", "edited");
    CIMInstance cached;
    server.points->_cache.lookup(path(thing("1", "QOR_HWCtrlPoint")), cached);
    EXPECT_EQ(property(cached, "Mine"), "(none)");  // another provider's instance stays its own
}

TEST_F(Grouping, OnePointTakesAllWithoutLookingAtAssociations) {
    server.addPoint("1");
    server.points->_cache.replace(
        [] {  // the path as the provider holds it lacks host and namespace
            CIMInstance bare = instanceAt(thing("1", "QOR_HWCtrlPoint"));
            add(bare, "NetworkAddress", "10.0.0.1");
            return bare;
        }());
    server.addSystem("S1", "");
    server.addSystem("S2", "");
    EXPECT_EQ(group(), "1 10.0.0.1: before | ?: S1 S2");  // appended to what was there
    EXPECT_EQ(text(last[0].getPath()), full(thing("1", "QOR_HWCtrlPoint")));
    EXPECT_EQ(server.arrived("associatorNames"), 0);
    CIMInstance cached;
    server.points->_cache.lookup(path(thing("1", "QOR_HWCtrlPoint")), cached);
    EXPECT_EQ(text(cached.getPath()), thing("1", "QOR_HWCtrlPoint"));

    server.systems.clear();
    ungrouped = before[0];
    EXPECT_EQ(group(), "");
    EXPECT_EQ(last.size(), 0u);
}

TEST_F(Grouping, NoPointAtAll) {
    server.addSystem("S1", "D1");
    EXPECT_EQ(group(), " / S1");
    server.systems.clear();
    EXPECT_EQ(group(), "");
}

TEST_F(Grouping, FailureHalfWayLeavesTheOutputs) {
    server.addPoint("1", "D1");
    server.addPoint("2");
    server.component("D2", "gone", "QOR_HWCtrlPoint");
    server.addSystem("S1", "D1");
    server.addSystem("S2", "D2");
    EXPECT_THROW(group(), CIMException);
    ASSERT_EQ(groups.size(), 1u);
    EXPECT_EQ(name(groups[0][0]), "before");
    ASSERT_EQ(ungrouped.size(), 1u);
    EXPECT_EQ(name(ungrouped[0]), "before");
}

// ---- Raising alerts --------------------------------------------------------------------------

TEST(SendIndication, AppendsTheElementWhateverComes) {
    CIMOMHandle cimom;
    Array<CIMParamValue> params;
    params.append(CIMParamValue("Severity", CIMValue(Uint16(5))));
    TraceFile trace;
    EXPECT_THROW(sendIndication(cimom, OperationContext(), path("//h/root/x:T_Thing.Name=\"a\""),
                                "T_Alert", params),
                 CannotConnectException);
    EXPECT_EQ(trace.texts(), (std::vector<std::string>{
                                 "Entering method sendIndication",
                                 "Sending Indication: [AlertingManagedElement=T_Thing.Name=\"a\"] "
                                 "[IndicationType=T_Alert]"}));
    ASSERT_EQ(params.size(), 2u);
    EXPECT_EQ(text(params[1].getParameterName()), "AlertingManagedElement");
    EXPECT_EQ(text(params[1].getValue().toString()), "T_Thing.Name=\"a\"");
    EXPECT_TRUE(params[1].isTyped());
}

TEST(SendIndication, InvokesSendOnTheClass) {
    LinkServer server;  // T_Thing has a method provider, which refuses every method
    CIMOMHandle cimom;
    Array<CIMParamValue> params;
    try {
        sendIndication(cimom, OperationContext(), path(thing("a")), "T_Thing", params);
        FAIL() << "no exception";
    } catch (const CIMException& e) {
        EXPECT_EQ(e.getCode(), CIM_ERR_NOT_SUPPORTED) << text(e.getMessage());
    }
    EXPECT_EQ(server.arrived("invokeMethod"), 1);
}
