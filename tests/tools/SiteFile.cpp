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
            EXPECT_EQ(what.find(file + ":"), 0u) << what;
            return what.substr(file.size() + 1);
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
        {R"({"name": "empty", "controlPoints": [], "systems": []})", "3",
         "must be an object, found 3"},
        {R"("id": 1)", R"("id": "1")", "must be a whole number from 1 to 65535, found \"1\""},
        {R"("id": 1)", R"("id": 1.0)", "must be a whole number from 1 to 65535, found 1.0"},
        {R"("id": 1)", R"("id": 65536)", "must be a whole number from 1 to 65535, found 65536"},
        {R"("id": 1)", R"("id": -1)", "must be a whole number from 1 to 65535, found -1"},
        {R"("id": 7)", R"("id": 1)",
         "/partitions/1/id: the partition id is already used at /domains/0/"},
        {R"("two")", R"("one")", "/partitions/1/name: the name is already used at "},
        {R"("empty")", R"("Halle Süd")",
         " /domains/1/name: the name is already used at /domains/0/"},
        {R"("S2")", R"("S1")", "/systems/1/serial: the system T-M*S1 is already used at "},
        {"000000000001", "00000000000A",
         "/systems/0/uuid: the UUID is already used at /domains/0/"},
        {"000000000001", "00000000001", "/systems/0/uuid: must be a UUID"},
        {R"("rack 2")", R"("rack 1")", "/packageTag: the tag is already used at "},
        {R"("rack 2")", R"("A.b=1")", "/packageTag: must not contain \"=\", found \"A.b=1\""},
        {R"("type": "T")", R"("type": "T-1")", "/type: must not contain \"-\", found \"T-1\""},
        {R"("p1")", R"("")", " /domains/0/controlPoints/0/name: must not be empty, found \"\""},
        {R"("p1")", R"("p\u0000")", "/name: must not contain control characters, found "},
        {R"("p1")", "null", "/name: must be a string, found null"},
        {R"("failed")", R"("broken")", "/partitions/1/state: unknown state (known: running, "},
        {R"("p1")", R"("p1", "a/b": 1)", "/controlPoints/0/a~1b: unknown field, found 1"},
        {R"("p1")", R"("p1", "name": "p2")", "/0/name: the field is there twice"},
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
    // Cut in the middle of a character; a number that nothing can hold.
    EXPECT_NE(complaintAbout("{\"domains\": \"S\xC3\"}").find("UTF-8"), std::string::npos);
    const std::string overflow = complaintAbout("{\"domains\": 1e999}");
    EXPECT_NE(overflow.find("/domains: "), std::string::npos) << overflow;
    EXPECT_NE(overflow.find("1e999"), std::string::npos) << overflow;
    const std::string deep(100000, '[');
    const std::string nested =
        complaintAbout("{\"domains\": " + deep + std::string(deep.size(), ']') + "}");
    EXPECT_NE(nested.find("/domains/0/0/"), std::string::npos) << nested;
    EXPECT_NE(nested.find("nested too deeply"), std::string::npos) << nested;
}

TEST_F(SiteFile, FilesThatCannotBeReadGiveTheReason) {
    for (const char* file : {"/nonexistent/site.json", "/tmp"}) {
        EXPECT_EQ(complaint(file).find(" cannot be read: "), 0u) << file;
    }
}

}  // namespace
