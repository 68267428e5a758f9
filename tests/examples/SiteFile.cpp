// SPDX-FileCopyrightText: The velmar_remote authors
// SPDX-License-Identifier: MIT

#include "site/SiteFile.h"

#include <gtest/gtest.h>
#include <unistd.h>

#include <filesystem>
#include <fstream>

namespace {

const char* const GOOD = R"({"domains": [
  {"name": "Halle Süd",
   "controlPoints": [
     {"uuid": "00000000-0000-0000-0000-00000000000a", "name": "p1", "networkAddress": "192.0.2.1"}],
   "systems": [
     {"type": "T", "model": "M", "serial": "S1", "uuid": "00000000-0000-0000-0000-000000000001",
      "firmware": "F", "packageTag": "rack 1", "partitions": [
        {"id": 1, "name": "one", "state": "running"},
        {"id": 7, "name": "two", "state": "failed"}]},
     {"type": "T", "model": "M", "serial": "S2", "uuid": "00000000-0000-0000-0000-000000000002",
      "firmware": "F", "packageTag": "rack 2", "partitions": []}]},
  {"name": "empty", "controlPoints": [], "systems": []}]})";

class SiteFile : public testing::Test {
 protected:
    ~SiteFile() override { std::filesystem::remove(_written); }

    site::Site load(const std::string& text) {
        std::ofstream(_written, std::ios::binary) << text;
        return site::loadSite(_written);
    }
    // The message without the file's name in front of it.
    static std::string complaint(const std::string& file) {
        try {
            site::loadSite(file);
        } catch (const site::SiteError& error) {
            const std::string what = error.what();
            return what.find(file + ":") == 0 ? what.substr(file.size() + 1) : what;
        }
        return "no complaint";
    }
    std::string complaintAbout(const std::string& text) {
        std::ofstream(_written, std::ios::binary) << text;
        return complaint(_written);
    }

    const std::string _written = testing::TempDir() + "site-" + std::to_string(getpid()) + ".json";
};

std::string replaced(std::string text, const std::string& from, const std::string& to) {
    const size_t at = text.find(from);
    EXPECT_NE(at, std::string::npos) << from;
    return text.replace(at, from.size(), to);
}

TEST_F(SiteFile, EveryFieldArrivesWhereItBelongs) {
    const site::Site site = load(GOOD);
    const site::Domain& domain = site.domains.at(0);
    const site::ControlPoint& point = domain.controlPoints.at(0);
    EXPECT_EQ(domain.name + point.uuid + point.name + point.networkAddress,
              "Halle Süd00000000-0000-0000-0000-00000000000ap1192.0.2.1");
    const site::HostingSystem& system = domain.systems.at(0);
    EXPECT_EQ(site::systemName(system) + system.uuid + system.firmware + system.packageTag,
              "T-M*S100000000-0000-0000-0000-000000000001Frack 1");
    const site::Partition& partition = system.partitions.at(1);
    EXPECT_EQ(site::partitionName(system, partition) + partition.name, "7*T-M*S1two");
    EXPECT_EQ(partition.state, site::findState("failed"));
    EXPECT_TRUE(partition.state->failure);
    EXPECT_EQ(domain.systems.at(1).partitions.size() + site.domains.size(), 2u);
}

TEST_F(SiteFile, BrokenContentIsNamedByPlaceReasonAndValue) {
    const char* const cases[][3] = {
        {R"("serial": "S1", )", "",
         " /domains/0/systems/0: the field \"serial\" is missing, found {"},
        {R"("systems": [])", R"("systems": {})", " /domains/1/systems: must be an array, found {}"},
        {R"("id": 1)", R"("id": 1.0)", "must be a whole number from 1 to 65535, found 1.0"},
        {R"("id": 1)", R"("id": 65536)", "must be a whole number from 1 to 65535, found 65536"},
        {R"("id": 1)", R"("id": 0)", "must be a whole number from 1 to 65535, found 0"},
        {R"("id": 7)", R"("id": 1)", "/1/id: the partition id is already used at /domains/0/"},
        {R"("empty")", R"("Halle Süd")",
         " /domains/1/name: the name is already used at /domains/0/"},
        {R"("S2")", R"("S1")", "/systems/1/serial: the system T-M*S1 is already used at "},
        {"000000000001", "00000000000A",
         "/systems/0/uuid: the UUID is already used at /domains/0/"},
        {"000000000001", "00000000001", "/systems/0/uuid: must be a UUID"},
        {R"("type": "T")", R"("type": "T-1")", "/type: must not contain \"-\", found \"T-1\""},
        {R"("p1")", R"("p\u0000")", "/name: must not contain control characters, found "},
        {R"("p1")", "null", " /domains/0/controlPoints/0/name: must be a string, found null"},
        {R"("failed")", R"("broken")", "/partitions/1/state: unknown state (known: running, "},
        {R"("p1")", R"("p1", "a/b": 1)", "/controlPoints/0/a~1b: unknown field, found 1"},
        {R"("p1")", R"("p1", "name": "")", "/0/name: the field is there twice"},
        {R"("p1")", R"("")", "/0/name: must not be empty, found \"\""},
    };
    for (const auto& [from, to, expected] : cases) {
        const std::string message = complaintAbout(replaced(GOOD, from, to));
        EXPECT_NE(message.find(expected), std::string::npos)
            << "expected: " << expected << "\ngot: " << message;
    }
    EXPECT_EQ(complaintAbout("[]"), " the whole file: must be an object, found []");
}

TEST_F(SiteFile, BrokenSyntaxIsNamedByLineAndColumn) {
    const char* const cases[][2] = {
        {"{\"domains\": [}", "1:14: "},
        {"{\n  \"domains\" []\n}", "2:13: "},
        {"{\"domains\": [],\n}", "2:1: "},
        {"{\"domains\":\n[", "2:2: "},
        {"", "1:1: "},
        {"{\"domains\": []}\nx", "2:1: "},
    };
    for (const auto& [text, place] : cases) {
        const std::string message = complaintAbout(text);
        EXPECT_EQ(message.rfind(place, 0), 0u) << text << "\ngot: " << message;
        EXPECT_NE(message.find("expected"), std::string::npos) << message;
    }
    const std::string deep(100000, '[');
    const std::string others[][3] = {
        {"\"S\xC3\"", "UTF-8", ""},        // cut in the middle of a character
        {"1e999", "/domains: ", "1e999"},  // a number that nothing can hold
        {deep + std::string(deep.size(), ']'), "/domains/0/0/", "nested too deeply"}};
    for (const auto& [value, place, reason] : others) {
        const std::string message = complaintAbout("{\"domains\": " + value + "}");
        EXPECT_NE(message.find(place), std::string::npos) << message;
        EXPECT_NE(message.find(reason), std::string::npos) << message;
    }
}

TEST_F(SiteFile, FilesThatCannotBeReadGiveTheReason) {
    for (const char* file : {"/nonexistent/site.json", "/tmp"}) {
        EXPECT_EQ(complaint(file).find(" cannot be read: "), 0u) << file;
    }
}

}  // namespace
