#include <Pegasus/Common/Tracer.h>

#include <gtest/gtest.h>

#include <cstdio>
#include <fstream>
#include <string>
#include <thread>
#include <vector>

#include <dirent.h>
#include <stdlib.h>
#include <unistd.h>

using namespace Pegasus;

namespace {

// The text of a record that this file wrote for WsmServer; of anything else the whole line.
std::string textOf(const std::string& line) {
    long seconds, microseconds, pid, thread;
    int place = 0;
    std::sscanf(line.c_str(), "%lds-%ldus: WsmServer [%ld:%ld:%n", &seconds, &microseconds, &pid,
                &thread, &place);
    const std::string file = std::string(__FILE__) + ":";
    if (place == 0 || pid != getpid() || line.compare(std::size_t(place), file.size(), file) != 0)
        return line;
    const std::size_t number = std::size_t(place) + file.size();
    const std::size_t end = line.find_first_not_of("0123456789", number);
    return end > number && line.compare(end, 3, "]: ") == 0 ? line.substr(end + 3) : line;
}

class TracerTest : public testing::Test {
 protected:
    void SetUp() override {
        char name[] = "/tmp/traceXXXXXX";
        ASSERT_NE(nullptr, mkdtemp(name));
        directory = name;
        file = directory + "/trace";
        Tracer::setMaxTraceFileSize("10240");
        ASSERT_EQ(0u, Tracer::setTraceFile(file.c_str()));
        Tracer::setTraceComponents("WsmServer");
        Tracer::setTraceLevel(16);
    }
    void TearDown() override {
        Tracer::setTraceComponents("");
        Tracer::setTraceLevel(0);
        Tracer::setTraceFile("/dev/null");
        for (const std::string& name : files())
            std::remove((directory + "/" + name).c_str());
        rmdir(directory.c_str());
    }
    std::vector<std::string> lines(const std::string& suffix = "") {
        std::ifstream in(file + suffix);
        std::vector<std::string> r;
        for (std::string line; std::getline(in, line);)
            r.push_back(line);
        return r;
    }
    std::vector<std::string> files() {
        std::vector<std::string> r;
        DIR* dir = opendir(directory.c_str());
        while (const dirent* entry = readdir(dir)) {
            if (entry->d_name[0] != '.')
                r.push_back(entry->d_name);
        }
        closedir(dir);
        return r;
    }
    std::string directory, file;
};

TEST_F(TracerTest, WritesRecordsOfAllKinds) {
    {
        PEG_METHOD_ENTER(TRC_WSMSERVER, "Class::method");
        PEG_TRACE((TRC_WSMSERVER, Tracer::LEVEL3, "%s took %u ms.", "it", 7u));
        PEG_TRACE((TraceComponentId(36), Tracer::LEVEL1, "plain"));
        PEG_TRACE_CSTRING(TRC_WSMSERVER, Tracer::LEVEL3, "100%s");
        PEG_METHOD_EXIT();
    }
    const std::vector<std::string> expected = {"Entering method Class::method", "it took 7 ms.",
                                               "plain", "100%s", "Exiting method Class::method"};
    const std::vector<std::string> written = lines();
    ASSERT_EQ(expected.size(), written.size());
    for (std::size_t i = 0; i < expected.size(); i++)
        EXPECT_EQ(expected[i], textOf(written[i]));
}

TEST_F(TracerTest, LevelsIncludeTheLowerOnes) {
    const Uint32 levels[] = {Tracer::LEVEL1, Tracer::LEVEL2, Tracer::LEVEL3, Tracer::LEVEL4, 16};
    for (int set = -1; set < 5; set++) {
        EXPECT_EQ(0u, Tracer::setTraceLevel(set < 0 ? 0 : levels[set]));
        EXPECT_EQ(set >= 0, Tracer::isTraceOn());
        for (int level = 0; level < 5; level++)
            EXPECT_EQ(level <= set, Tracer::isTraceEnabled(TRC_WSMSERVER, levels[level]));
    }
    for (const Uint32 bad : {3u, 5u, 32u, 0xFFFFFFFFu}) {
        Tracer::setTraceLevel(16);
        EXPECT_EQ(1u, Tracer::setTraceLevel(bad));
        EXPECT_FALSE(Tracer::isTraceOn());
    }
}

TEST_F(TracerTest, WhatIsOffIsNotEvaluated) {
    int evaluated = 0;
    Tracer::setTraceLevel(Tracer::LEVEL2);
    PEG_TRACE((TRC_WSMSERVER, Tracer::LEVEL3, "%d", ++evaluated));
    PEG_TRACE((TRC_RSSERVER, Tracer::LEVEL1, "%d", ++evaluated));
    TraceCallFrame("f", 1).invoke(TRC_WSMSERVER, Tracer::LEVEL3, "off");
    {
        PEG_METHOD_ENTER(TRC_WSMSERVER, "Class::method");
        PEG_METHOD_EXIT();
    }
    EXPECT_EQ(0, evaluated);
    EXPECT_TRUE(lines().empty());
    Tracer::traceCString("f", 1, TRC_RSSERVER, "always");
    EXPECT_EQ(1u, lines().size());
}

TEST_F(TracerTest, ComponentsByName) {
    EXPECT_STREQ("CMPIProviderInterface", Tracer::TRACE_COMPONENT_LIST[35]);
    EXPECT_STREQ("WsmServer", Tracer::TRACE_COMPONENT_LIST[36]);
    EXPECT_STREQ("RsServer", Tracer::TRACE_COMPONENT_LIST[37]);
    const struct {
        const char* names;
        bool valid, wsm, rs;
    } rows[] = {
        {"wsmserver", true, true, false},    {"RSSERVER, WsmServer", true, true, true},
        {"all", true, true, true},           {"WsmServer,Nothing", false, true, false},
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
    Tracer::setMaxTraceFileSize("0");
    Tracer::setMaxTraceFileNumber("2");
    for (const char* text : {"one", "two", "three", "four"})
        PEG_TRACE_CSTRING(TRC_WSMSERVER, Tracer::LEVEL1, text);
    const char* const suffixes[] = {"", ".1", ".2"};
    const char* const texts[] = {"four", "three", "two"};
    for (int i = 0; i < 3; i++) {
        const std::vector<std::string> written = lines(suffixes[i]);
        ASSERT_EQ(1u, written.size());
        EXPECT_NE(std::string::npos, written[0].find(std::string("]: ") + texts[i]));
    }
    EXPECT_EQ(3u, files().size());
    Tracer::setMaxTraceFileNumber("4000000000");  // a record must not take ages for it
    PEG_TRACE_CSTRING(TRC_WSMSERVER, Tracer::LEVEL1, "five");
    EXPECT_EQ(4u, files().size());
    Tracer::setMaxTraceFileNumber("3");
}

TEST_F(TracerTest, RefusesWhatItCannotUse) {
    EXPECT_EQ(1u, Tracer::setTraceFile((directory + "/none/trace").c_str()));
    EXPECT_EQ(1u, Tracer::setTraceFile(""));
    EXPECT_EQ(1u, Tracer::setTraceFacility("Printer"));
    PEG_TRACE_CSTRING(TRC_WSMSERVER, Tracer::LEVEL1, "still here");
    EXPECT_EQ(1u, lines().size());
    EXPECT_EQ(0u, Tracer::setTraceFacility("memory"));
    PEG_TRACE_CSTRING(TRC_WSMSERVER, Tracer::LEVEL1, "elsewhere");
    EXPECT_EQ(0u, Tracer::setTraceFacility("File"));
    EXPECT_EQ(1u, lines().size());
}

TEST_F(TracerTest, RecordsOfThreadsStayWhole) {
    std::vector<std::thread> threads;
    for (int t = 0; t < 4; t++) {
        threads.emplace_back([] {
            for (int i = 0; i < 200; i++)
                PEG_TRACE((TRC_WSMSERVER, Tracer::LEVEL4, "%s", std::string(300, 'x').c_str()));
        });
    }
    for (std::thread& thread : threads)
        thread.join();
    const std::vector<std::string> written = lines();
    EXPECT_EQ(800u, written.size());
    for (const std::string& line : written)
        EXPECT_EQ(std::string(300, 'x'), textOf(line));
}

}  // namespace
