// SPDX-FileCopyrightText: The velmar_remote authors
// SPDX-License-Identifier: MIT
//
// Helpers that ask the CIM server: what exactly they ask, and what they make of the answers.
#include <Pegasus/Common/Exception.h>
#include <gtest/gtest.h>

#include "Common/Util.h"
#include "support/FakeServer.h"
#include "support/ScriptedServer.h"

using namespace Pegasus;
using namespace support;
using namespace velmar_remote;
using velmar_embedded::Operation;

namespace {

class UtilUpcalls : public ::testing::Test {
 protected:
    FakeServer server;
    CIMOMHandle& cimom = server.handle;
    const OperationContext context = callersContext();
};

TEST_F(UtilUpcalls, SubclassesStandBehindTheirClass) {
    server.classes.insert(server.classes.end(), {{"T_Sub", "T_Part"}, {"T_Leaf", "T_Sub"}});
    const auto names = [&](const CIMName& of) {
        std::string all;
        const Array<CIMClass> classes = getSubclasses(cimom, context, of);
        for (Uint32 i = 0; i < classes.size(); i++) {
            all += text(classes[i].getClassName()) + " ";
        }
        return all;
    };
    EXPECT_EQ(names("T_Part"), "T_Part T_Sub T_Leaf ");
    EXPECT_EQ(server.taken(),
              "enumerateClasses T_Part qualifiers origins\ngetClass T_Part qualifiers origins\n");
    EXPECT_EQ(names("T_Leaf"), "T_Leaf ");
    server.taken();
    EXPECT_EQ(names(CIMName()), "");
    EXPECT_EQ(server.taken(), "");
    EXPECT_EQ(outcome([&] { names("T_Unknown"); }), "6 T_Unknown");
}

TEST_F(UtilUpcalls, PatternsAndCandidates) {
    const struct {
        CIMObjectPath pattern;
        std::string candidate;
        Boolean matches;
        size_t upcalls;
    } cases[] = {{path("T_Thing"), full(thing("x", "T_Part")), true, 2},
                 {path("root/else:T_Thing"), "T_Thing", true, 2},
                 {path("T_Part"), full(thing("x")), false, 2},
                 {path(thing("x")), thing("x"), true, 0},
                 {path(thing("x")), full(thing("x")), false, 0},
                 {path(thing("x")), "T_Thing", false, 0},
                 {CIMObjectPath(), thing("x"), true, 0}};
    for (const auto& c : cases) {
        server.log.clear();
        EXPECT_EQ(matches(cimom, context, c.pattern, path(c.candidate)), c.matches) << c.candidate;
        EXPECT_EQ(server.log.size(), c.upcalls) << server.taken();
    }
}

TEST_F(UtilUpcalls, ArgumentsArePassedOnUnchanged) {
    server.answer = [](const Request& request, Answer& answer) {
        answer.paths.append(path("T_Part.Name=\"first\""));
        answer.paths.append(path("T_Part.Name=\"second\""));
        if (text(request.path).find("first") != std::string::npos &&
            request.operation == Operation::DeleteInstance) {
            throw CIMException(CIM_ERR_FAILED, "kept");
        }
    };
    EXPECT_EQ(text(associatorName(cimom, context, "root/else", path("//h/root/x:T_Thing.k=1"),
                                  "T_Link", "T_Part", "Left", "Right")),
              "T_Part.Name=\"first\"");
    createAssociation(cimom, context, "T_Link", "Right", path(full(thing("b"))), "Left",
                      path(thing("a")));
    const std::string a = thing("a"), b = full(thing("b"));
    EXPECT_EQ(outcome([&] {
                  deleteAssociatedInstances(cimom, context, path("root/x:T_Thing.k=1"), "T_Link");
              }),
              "1 kept");
    EXPECT_EQ(server.taken(),
              "associatorNames in root/else //h/root/x:T_Thing.k=1 through T_Link to T_Part from "
              "role Left to role Right\n"
              "createInstance " +
                  text(CIMObjectPath(path(full("T_Link")).getHost(), NAMESPACE, "T_Link",
                                     makeLink(a, b).getPath().getKeyBindings())) +
                  " Right=reference:" + b + " Left=reference:" + a +
                  "\n"
                  "associatorNames root/x:T_Thing.k=1 through T_Link\n"
                  "deleteInstance T_Part.Name=\"first\"\n");
    server.answer = [](const Request&, Answer&) {};
    EXPECT_EQ(text(associatorName(cimom, context, NAMESPACE, path("T_Thing"), "T_Link", "T_Part",
                                  "", "")),
              "");
    deleteAssociatedInstances(cimom, context, path(thing("a")), "T_Link");
    EXPECT_EQ(server.log.size(), 2u) << "nothing is associated: nothing is deleted";
}

// ---- Systems by hardware control point ---------------------------------------------------------

class Grouping : public UtilUpcalls {
 protected:
    /// Of systems named after their domain and an own letter: D1 holds the points 1 and 9, and so
    /// on. D8 holds none, and a system whose name has no digit is in no domain.
    Grouping() {
        groups.append(Array<CIMInstance>(1, makeThing("before")));
        ungrouped = groups[0];
        server.answer = [this](const Request& r, Answer& answer) {
            const std::string of = name(r.path);
            if (r.operation == Operation::EnumerateInstances) {
                answer.instances = known;
            } else if (r.operation == Operation::GetInstance) {
                if (of == "7") {
                    throw CIMException(CIM_ERR_NOT_FOUND, "7");
                }
                answer.instances.append(point(of));
            } else if (of.size() == 2 && of[0] == 'D') {
                for (const std::string& p : {of.substr(1), std::string("9")}) {
                    answer.paths.append(path("//h/root/x:T_Point.k=\"" + p + "\""));
                }
            } else if (of.size() == 2) {
                for (const std::string& d : {of.substr(0, 1), std::string("9")}) {
                    answer.paths.append(path("T_Domain.k=\"D" + d + (d == "8" ? "x\"" : "\"")));
                }
            }
        };
    }
    static std::string name(const CIMObjectPath& at) {
        return isClass(at) ? "" : text(at.getKeyBindings()[0].getValue());
    }
    static CIMInstance point(const std::string& name) {
        CIMInstance made = instanceAt("T_Point.k=\"" + name + "\"");
        add(made, "NetworkAddress", ("10.0.0." + name).c_str());
        return made;
    }
    /// "point: system system | ..." and the ungrouped systems after "/".
    std::string group(const std::vector<const char*>& systems) {
        Array<CIMInstance> given;
        for (const char* system : systems) {
            given.append(instanceAt(std::string("T_System.k=\"") + system + "\""));
        }
        points = groupByHCP(cimom, context, given, groups, ungrouped);
        return grouped();
    }
    std::string grouped() {
        std::string result;
        for (Uint32 i = 0; i < groups.size(); i++) {
            result += i < points.size() ? property(points[i], "NetworkAddress") + ":" : "?:";
            for (Uint32 k = 0; k < groups[i].size(); k++) {
                result += " " + name(groups[i][k].getPath());
            }
            result += " | ";
        }
        for (Uint32 i = 0; i < ungrouped.size(); i++) {
            result += "/ " + name(ungrouped[i].getPath());
        }
        return result;
    }
    Array<CIMInstance> known, points, ungrouped;
    Array<Array<CIMInstance>> groups;
};

TEST_F(Grouping, SeveralPointsInTheOrderOfTheirSystems) {
    const std::string all = "enumerateInstances QOR_HWCtrlPoint\n";
    const auto domains = [](const char* system) {
        return std::string("associatorNames T_System.k=\"") + system +
               "\" through QOR_SystemComponent to QOR_MAPAdminDomain from role PartComponent to "
               "role GroupComponent\n";
    };
    const auto pointsOf = [](const char* domain) {
        return std::string("associatorNames T_Domain.k=\"") + domain +
               "\" through QOR_SystemComponent to QOR_HWCtrlPoint from role GroupComponent to role "
               "PartComponent\n";
    };
    const auto point = [](const char* name) {
        return std::string("getInstance //h/root/x:T_Point.k=\"") + name + "\" {NetworkAddress}\n";
    };
    EXPECT_EQ(group({"2a", "1a", "lone", "2b", "8a"}),
              "10.0.0.2: 2a 2b | 10.0.0.1: 1a | / lone/ 8a");
    EXPECT_EQ(server.taken(), all + domains("2a") + pointsOf("D2") + point("2") + domains("1a") +
                                  pointsOf("D1") + point("1") + domains("lone") + domains("2b") +
                                  pointsOf("D2") + domains("8a") + pointsOf("D8x"));
    EXPECT_EQ(paths(points, false), "//h/root/x:T_Point.k=\"2\" //h/root/x:T_Point.k=\"1\" ");
    EXPECT_EQ(group({}), "");
    EXPECT_EQ(server.taken(), all);
}

TEST_F(Grouping, OnePointTakesAllWithoutLookingAtAssociations) {
    known.append(point("1"));
    EXPECT_EQ(group({"a", "b"}), "10.0.0.1: before | ?: a b | ");  // behind what was there
    EXPECT_EQ(paths(points), full("T_Point.k=\"1\"") + " ");
    EXPECT_EQ(server.log.size(), 1u);
    EXPECT_EQ(text(known[0].getPath()), "T_Point.k=\"1\"") << "another provider's own";
    ungrouped = groups[0];
    EXPECT_EQ(group({}), "");
    EXPECT_EQ(points.size(), 0u);
}

TEST_F(Grouping, FailureHalfWayLeavesTheOutputs) {
    EXPECT_EQ(outcome([&] { group({"1a", "7a"}); }), "6 7");
    EXPECT_EQ(grouped(), "?: before | / before");
}

// ---- Raising alerts ----------------------------------------------------------------------------

TEST(SendIndication, AppendsTheElementWhateverComes) {
    CIMOMHandle cimom;
    Array<CIMParamValue> params(1, CIMParamValue("Severity", CIMValue(Uint16(5))));
    const CIMObjectPath element = path("//h/root/x:T_Thing.Name=\"a\"");
    EXPECT_THROW(sendIndication(cimom, OperationContext(), element, "T_Alert", params),
                 CannotConnectException);
    FakeServer server;
    sendIndication(cimom, OperationContext(), element, "T_Alert", params);
    const std::string appended = " AlertingManagedElement=string:T_Thing.Name=\"a\"";
    EXPECT_EQ(server.taken(), "invokeMethod " + full("T_Alert") + " send Severity=uint16:5" +
                                  appended + appended + "\n");
    EXPECT_EQ(params.size(), 3u);
}

}  // namespace
