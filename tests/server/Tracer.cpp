// SPDX-FileCopyrightText: The velmar_remote authors
// SPDX-License-Identifier: MIT

#include <Pegasus/Common/Tracer.h>
#include <gtest/gtest.h>

#include <filesystem>
#include <regex>

#include "support/TraceFile.h"

using namespace Pegasus;

namespace {

typedef std::vector<std::string> Lines;

class TracerTest : public testing::Test {
 protected:
    support::TraceFile trace;
};

TEST_F(TracerTest, WritesWhatIsOnAndDoesNotEvaluateTheRest) {
    int evaluated = 0;
    const auto work = [&evaluated] {
        PEG_METHOD_ENTER(TRC_WSMSERVER, "Class::method");
        PEG_TRACE((TRC_RSSERVER, Tracer::LEVEL1, "%d", ++evaluated));
        PEG_TRACE((TRC_WSMSERVER, Tracer::LEVEL3, "%s %d", "it", ++evaluated));
        PEG_TRACE_CSTRING(TRC_WSMSERVER, Tracer::LEVEL3, "100%s");
        PEG_METHOD_EXIT();
    };
    work();
    Tracer::setTraceLevel(Tracer::LEVEL2);
    work();
    Tracer::traceCString(__FILE__, 1, TRC_WSMSERVER, "always");
    EXPECT_EQ(trace.texts(), (Lines{"Entering method Class::method", "it 1", "100%s",
                                    "Exiting method Class::method", "always"}));
    EXPECT_EQ(evaluated, 1);
    const std::regex record("\\d+s-\\d+us: WsmServer \\[(\\d+):\\d+:(.*):1\\]: always");
    std::smatch parts;
    const std::string last = trace.lines().back();
    ASSERT_TRUE(std::regex_match(last, parts, record)) << last;
    EXPECT_EQ(parts.str(1) + parts.str(2), std::to_string(getpid()) + __FILE__);
}

TEST_F(TracerTest, LevelsAndComponents) {
    EXPECT_TRUE(Tracer::isTraceEnabled(TRC_WSMSERVER, Tracer::LEVEL1));
    const struct {
        const char* names;
        bool valid, wsm, rs;
    } rows[] = {{"", true, false, false},
                {"RSSERVER, WsmServer", true, true, true},
                {"all", true, true, true},
                {"Nothing,WsmServer", false, true, false}};
    for (const auto& row : rows) {
        EXPECT_EQ(Tracer::isValidComponents(row.names), row.valid) << row.names;
        Tracer::setTraceComponents(row.names);
        EXPECT_EQ(Tracer::isTraceEnabled(TRC_WSMSERVER, 1), row.wsm) << row.names;
        EXPECT_EQ(Tracer::isTraceEnabled(TRC_RSSERVER, 1), row.rs) << row.names;
    }
    for (const Uint32 bad : {32u, 3u}) {
        Tracer::setTraceLevel(Tracer::LEVEL4);
        EXPECT_EQ(Tracer::setTraceLevel(bad), 1u);
        EXPECT_FALSE(Tracer::isTraceOn());
    }
}

TEST_F(TracerTest, FilesRollOver) {
    std::string directory = testing::TempDir() + "traceXXXXXX";
    ASSERT_NE(mkdtemp(directory.data()), nullptr);
    const std::string file = directory + "/t";
    EXPECT_EQ(Tracer::setTraceFile(file.c_str()), 0u);
    EXPECT_EQ(Tracer::setTraceFile("/nonexistent/trace"), 1u);
    EXPECT_EQ(Tracer::setTraceFacility("Memory"), 1u);
    Tracer::setMaxTraceFileSize("0");
    for (const char* files : {"2", "4000000000"}) {  // the latter must not take ages for it
        Tracer::setMaxTraceFileNumber(files);
        for (const char* text : {"one", "two", "three", "four"}) {
            PEG_TRACE_CSTRING(TRC_WSMSERVER, Tracer::LEVEL1, text);
        }
        std::string written;
        for (const std::string end : {"", ".1", ".2", ".3"}) {
            std::string line;
            std::getline(std::ifstream(file + end), line);
            written += line.substr(std::min(line.find("]: ") + 2, line.size()));
        }
        EXPECT_EQ(written, files[1] ? " four three two one" : " four three two");
    }
    Tracer::setMaxTraceFileNumber("3");
    std::filesystem::remove_all(directory);
}

}  // namespace
