// SPDX-FileCopyrightText: The velmar_remote authors
// SPDX-License-Identifier: MIT

#include <Pegasus/Common/Tracer.h>

#include <gtest/gtest.h>

#include <cstdio>
#include <filesystem>
#include <string>
#include <thread>
#include <vector>

#include "support/TraceFile.h"

using namespace Pegasus;

namespace {

typedef std::vector<std::string> Lines;

// The text of a record that this file wrote for WsmServer; of anything else the whole line.
std::string textOf(const std::string& line) {
    long pid = 0;
    int place = 0;
    std::sscanf(line.c_str(), "%*ds-%*dus: WsmServer [%ld:%*d:%n", &pid, &place);
    const std::size_t end = line.find("]: "), number = line.rfind(':', end);
    const bool ours = place != 0 && pid == getpid() &&
                      line.substr(place, number - place) == __FILE__ &&
                      line.find_first_not_of("0123456789", number + 1) == end;
    return ours ? line.substr(end + 3) : line;
}

class TracerTest : public testing::Test {
 protected:
    Lines texts() {
        Lines result = trace.lines();
        for (std::string& line : result) {
            line = textOf(line);
        }
        return result;
    }
    support::TraceFile trace;
};

TEST_F(TracerTest, WritesWhatIsOnAndDoesNotEvaluateTheRest) {
    int evaluated = 0;
    const auto work = [&evaluated] {
        PEG_METHOD_ENTER(TRC_WSMSERVER, "Class::method");
        PEG_TRACE((TRC_RSSERVER, Tracer::LEVEL1, "%d", ++evaluated));
        PEG_TRACE((TRC_WSMSERVER, Tracer::LEVEL3, "%s %d", "it", ++evaluated));
        PEG_TRACE_CSTRING(TRC_WSMSERVER, Tracer::LEVEL3, "100%s");
        TraceCallFrame(__FILE__, 1).invoke(TRC_WSMSERVER, Tracer::LEVEL3, "own");
        PEG_METHOD_EXIT();
    };
    work();
    Lines expected = {"Entering method Class::method", "it 1", "100%s", "own",
                      "Exiting method Class::method"};
    EXPECT_EQ(expected, texts());
    Tracer::setTraceLevel(Tracer::LEVEL2);
    work();
    Tracer::traceCString(__FILE__, 1, TRC_WSMSERVER, "always");
    expected.push_back("always");
    EXPECT_EQ(expected, texts());
    EXPECT_EQ(1, evaluated);
}

TEST_F(TracerTest, LevelsIncludeTheLowerOnes) {
    const Uint32 levels[] = {Tracer::LEVEL1, Tracer::LEVEL2, Tracer::LEVEL3, Tracer::LEVEL4, 16};
    for (int set = -1; set < 5; set++) {
        EXPECT_EQ(0u, Tracer::setTraceLevel(set < 0 ? 0 : levels[set]));
        EXPECT_EQ(set >= 0, Tracer::isTraceOn());
        for (int level = 0; level < 5; level++) {
            EXPECT_EQ(level <= set, Tracer::isTraceEnabled(TRC_WSMSERVER, levels[level]));
        }
    }
    EXPECT_EQ(1u, Tracer::setTraceLevel(32));
    EXPECT_EQ(1u, Tracer::setTraceLevel(3));  // not one level; nothing is traced then
    EXPECT_FALSE(Tracer::isTraceOn());
}

TEST_F(TracerTest, ComponentsByName) {
    const struct {
        const char* names;
        bool valid, wsm, rs;
    } rows[] = {
        {"wsmserver", true, true, false},    {"RSSERVER, WsmServer", true, true, true},
        {"all", true, true, true},           {"Nothing,WsmServer", false, true, false},
        {"WsmServerX", false, false, false}, {"", true, false, false},
    };
    for (const auto& row : rows) {
        EXPECT_EQ(row.valid, Tracer::isValidComponents(row.names)) << row.names;
        Tracer::setTraceComponents(row.names);
        EXPECT_EQ(row.wsm, Tracer::isTraceEnabled(TRC_WSMSERVER, 1)) << row.names;
        EXPECT_EQ(row.rs, Tracer::isTraceEnabled(TRC_RSSERVER, 1)) << row.names;
    }
}

TEST_F(TracerTest, RollsOverAtItsSize) {
    std::string directory = testing::TempDir() + "traceXXXXXX";
    ASSERT_NE(nullptr, mkdtemp(directory.data()));
    ASSERT_EQ(0u, Tracer::setTraceFile((directory + "/t").c_str()));
    Tracer::setMaxTraceFileSize("0");
    Tracer::setMaxTraceFileNumber("2");
    for (const char* text : {"one", "two", "three", "four"}) {
        PEG_TRACE_CSTRING(TRC_WSMSERVER, Tracer::LEVEL1, text);
    }
    std::string written;
    for (const char* name : {"/t", "/t.1", "/t.2", "/t.3"}) {
        std::ifstream in(directory + name);
        for (std::string line; std::getline(in, line);) {
            written += textOf(line) + " ";
        }
    }
    EXPECT_EQ("four three two ", written);
    Tracer::setMaxTraceFileNumber("4000000000");  // a record must not take ages for it
    PEG_TRACE_CSTRING(TRC_WSMSERVER, Tracer::LEVEL1, "five");
    EXPECT_TRUE(std::filesystem::exists(directory + "/t.3"));
    Tracer::setMaxTraceFileNumber("3");
    Tracer::setTraceFile("/dev/null");
    std::filesystem::remove_all(directory);
}

TEST_F(TracerTest, RefusesWhatItCannotUse) {
    EXPECT_EQ(1u, Tracer::setTraceFile("/nonexistent/trace"));
    EXPECT_EQ(1u, Tracer::setTraceFile(""));
    EXPECT_EQ(1u, Tracer::setTraceFacility("Memory"));
    PEG_TRACE_CSTRING(TRC_WSMSERVER, Tracer::LEVEL1, "still here");
    EXPECT_EQ(0u, Tracer::setTraceFacility("file"));
    EXPECT_EQ(Lines{"still here"}, texts());
}

TEST_F(TracerTest, RecordsOfThreadsStayWhole) {
    const std::string text(300, 'x');
    std::vector<std::thread> threads;
    for (int t = 0; t < 4; t++) {
        threads.emplace_back([&text] {
            for (int i = 0; i < 2000; i++) {
                PEG_TRACE((TRC_WSMSERVER, Tracer::LEVEL4, "%s", text.c_str()));
            }
        });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
    EXPECT_EQ(Lines(8000, text), texts());
}

}  // namespace
