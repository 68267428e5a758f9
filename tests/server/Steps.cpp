// SPDX-FileCopyrightText: The velmar_remote authors
// SPDX-License-Identifier: MIT
//
// What observers hear of the steps of a server, and faults that come in their way.
#include <velmar_embedded/Figures.h>
#include <velmar_embedded/Journal.h>

#include <sstream>
#include <stdexcept>

#include "support/ScriptedServer.h"

using namespace support;
using std::chrono::milliseconds;

namespace {

// P answers getInstance with what it asked others for: Q through its handle, and a client.
class Steps : public ScriptedServer {
 protected:
    std::string trees;
    std::unique_ptr<velmar_embedded::Journal> journal;
    velmar_embedded::Figures figures;
    Scripted* p;

    void explain(size_t limit) {
        journal = std::make_unique<velmar_embedded::Journal>(
            [this](const velmar_embedded::Event& root) { trees += withoutTimes(treeOf(root)); },
            limit);
    }
    Steps() {
        explain(100);
        observer.begin = [this](const Step& step) {
            journal->onBegin(step);
            figures.onBegin(step);
        };
        observer.end = [this](const Step& step, const velmar_embedded::StepEnd& end) {
            journal->onEnd(step, end);
            figures.onEnd(step, end);
        };
        p = provide("P", {"T_A"});
        p->get = [this](const Call& call, auto& handler) {
            p->cimom.getInstance(call.context, ns, path(B1), false, false, false, {});
            const std::string end = outcome([] {
                CIMClient own;
                own.connectLocal();
                own.getInstance(CIMNamespaceName("root/test"), path(FAR1));
            });
            CIMInstance answer = item(text(call.path));
            add(answer, "s", end.c_str());
            handler.deliver(answer);
        };
        provide("Q", {"T_B"});
        start();
    }
    void TearDown() override { server.stop(); }

    static std::string withoutTimes(const std::string& tree) {
        std::istringstream lines(tree);
        std::string result, line;
        std::getline(lines, line);
        while (std::getline(lines, line)) {
            result += line.substr(line[0] == 'a' ? 0 : 19) + "\n";
        }
        return result;
    }
    /// What P's client was answered, if P was asked with success.
    std::string ask() {
        std::string answer;
        const std::string end = outcome([&] { answer = property(get(A1), "s"); });
        return end == "ok" ? answer : end;
    }
};

TEST_F(Steps, AreExplainedAsATree) {
    trees.clear();
    ask();
    EXPECT_EQ(trees, R"(getInstance T_A.k="1" -> 1
  P: initialize
  P: getInstance T_A.k="1" -> 1
    upcall: getInstance T_B.k="1" by P -> 1
      Q: initialize
      Q: getInstance T_B.k="1" -> 1
    client: connectLocal by P
    client: getInstance T_Far.k="1" by P -> CIM_ERR_NOT_FOUND: T_Far.k="1"
)");
    trees.clear();
    explain(2);
    ask();
    EXPECT_EQ(trees, R"(getInstance T_A.k="1" -> 1
  P: getInstance T_A.k="1" -> 1
and 4 steps more
)");
    std::vector<velmar_embedded::Figure> all = figures.figures();
    ASSERT_EQ(all.size(), 2u);
    EXPECT_EQ(all[0].className + " " + all[0].operation, "T_A getInstance");
    EXPECT_EQ(all[0].calls + 10 * all[0].delivered + 100 * all[0].requests, 422u);
    EXPECT_EQ(all[1].calls + 10 * all[1].errors + 100 * all[1].requests, 2u);
}

TEST(Journal, WaitingIsWhatOthersTakeOnce) {
    const auto event = [](Step::Kind kind, int begin, int end) {
        velmar_embedded::Event one;
        one.step.kind = kind;
        one.step.operation = "<&>";
        one.step.began += milliseconds(begin);
        one.end.elapsed = milliseconds(end - begin);
        return one;
    };
    velmar_embedded::Event root = event(Step::Kind::Call, 0, 20);
    root.end.waited = milliseconds(1);
    root.events = {event(Step::Kind::Upcall, 2, 5), event(Step::Kind::Upcall, 4, 7),
                   event(Step::Kind::Delivery, 8, 30)};
    EXPECT_EQ(root.waited(), milliseconds(6));
    EXPECT_EQ(root.worked(), milliseconds(14));
    const std::string drawing = drawingOf(root);
    EXPECT_NE(drawing.find("&lt;&amp;&gt;"), std::string::npos) << drawing;
    EXPECT_EQ(drawing.find("<&"), std::string::npos) << drawing;
}

TEST(Figures, QuantilesAreRightToASixteenth) {
    velmar_embedded::Figures figures;
    Step call;
    call.kind = Step::Kind::Call;
    for (int i = 1; i <= 200; i++) {
        velmar_embedded::StepEnd end;
        end.elapsed = milliseconds(i);
        end.error = i > 190 ? "CIM_ERR_FAILED" : "";
        figures.onEnd(call, end);
    }
    const velmar_embedded::Figure one = figures.figures().at(0);
    const auto expectNear = [](std::chrono::nanoseconds found, milliseconds wanted) {
        EXPECT_GE(found, wanted);
        EXPECT_LE(found, wanted * 17 / 16.0);
    };
    expectNear(one.p50, milliseconds(100));
    expectNear(one.p90, milliseconds(180));
    expectNear(one.p99, milliseconds(198));
    EXPECT_EQ(one.largest, milliseconds(200));
    EXPECT_EQ(one.errors, 10u);
}

struct Disturbed {
    std::string rule;
    std::string first, second;  ///< answers
};

TEST_F(Steps, FaultsComeWhereTheirRuleSays) {
    const std::string undisturbed = ask(), initialization =
                                               "1 CIM_ERR_FAILED: provider "
                                               "initialization failed";
    ASSERT_EQ(undisturbed, "6 CIM_ERR_NOT_FOUND: T_Far.k=\"1\"");
    const std::vector<Disturbed> all = {
        {"call class=t_a fail=CIM_ERR_NOT_FOUND", "6 CIM_ERR_NOT_FOUND: RULE",
         "6 CIM_ERR_NOT_FOUND: RULE"},
        {"call getInstance provider=Q nth=2 fail", undisturbed, "1 CIM_ERR_FAILED: RULE"},
        {"upcall from=P nth=1 fail=CIM_ERR_ACCESS_DENIED", "2 CIM_ERR_ACCESS_DENIED: RULE",
         undisturbed},
        {"upcall from=Q fail", undisturbed, undisturbed},
        {"connect from=P fail", "RULE", "RULE"},
        {"connect from=client fail", undisturbed, undisturbed},
        {"request getInstance from=P nth=2 disconnect", undisturbed,
         "Connection to the local CIM server was lost: RULE"},
        {"request from=client nth=1 wait=1", undisturbed, undisturbed},
        {"call associators fail", undisturbed, undisturbed}};
    for (const Disturbed& one : all) {
        SCOPED_TRACE(one.rule);
        server.faults().add(one.rule);
        const auto filled = [&](std::string text) {
            const size_t at = text.find("RULE");
            return at == std::string::npos ? text
                                           : text.replace(at, 4, "fault \"" + one.rule + "\"");
        };
        EXPECT_EQ(ask(), filled(one.first));
        EXPECT_EQ(ask(), filled(one.second));
        server.faults().clear();
        EXPECT_EQ(ask(), undisturbed);
    }
    provide("R", {"T_D"});
    server.faults().add("initialize provider=R nth=1 fail");
    EXPECT_NE(outcome([&] { get("T_D.k=\"1\""); }).find("initialization failed"),
              std::string::npos);
    EXPECT_EQ(outcome([&] { get("T_D.k=\"1\""); }), "1 provider initialization failed")
        << "its object was deleted";
}

TEST(Faults, RulesAreReadStrictly) {
    velmar_embedded::Faults faults;
    const std::vector<std::pair<std::string, std::string>> wrong = {
        {"", "\"\" is not a place"},
        {"requests fail", "\"requests\" is not a place: write request, upcall"},
        {"request lose", "\"lose\" does not happen to request"},
        {"request getInstance other fail", "\"other\" is not a key: write class"},
        {"request class= fail", "\"class=\" is not a key"},
        {"request nth=-1 fail", "\"nth=-1\" needs a number"},
        {"request wait=1h", "\"wait=1h\" needs a number up to 3600000"},
        {"request fail=NO", "\"fail=NO\" is not a status"},
        {"queue full=1", "\"full=1\" takes no value"},
        {"request fail nth=1", "\"nth=1\" stands after the effect"},
        {"request getInstance", "without an effect"}};
    for (const auto& [rule, text] : wrong) {
        try {
            faults.add(rule);
            ADD_FAILURE() << rule;
        } catch (const std::invalid_argument& e) {
            EXPECT_NE(std::string(e.what()).find(text), std::string::npos) << e.what();
        }
    }
    EXPECT_FALSE(faults.areSet());
}

}  // namespace
