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
    void SetUp() override {
        _file = (std::filesystem::temp_directory_path() /
                 ("site-" + std::to_string(getpid()) + ".json"))
                    .string();
    }
    void TearDown() override { std::filesystem::remove(_file); }

    site::Site load(const std::string& text) {
        std::ofstream(_file, std::ios::binary) << text;
        return site::loadSite(_file);
    }

    // The message without the file's name in front of it.
    std::string complaint(const std::string& text) {
        try {
            load(text);
        } catch (const site::SiteError& error) {
            const std::string what = error.what();
            EXPECT_EQ(what.compare(0, _file.size() + 1, _file + ":"), 0) << what;
            return what.substr(_file.size() + 1);
        }
        return "no complaint";
    }

    std::string _file;
};

std::string replaced(std::string text, const std::string& from, const std::string& to) {
    const size_t at = text.find(from);
    EXPECT_NE(at, std::string::npos) << from;
    return text.replace(at, from.size(), to);
}

TEST_F(SiteFile, EveryFieldArrivesWhereItBelongs) {
    const site::Site site = load(GOOD);
    ASSERT_EQ(site.domains.size(), 2u);
    EXPECT_EQ(site.domains[0].name, "Halle Süd");
    ASSERT_EQ(site.domains[0].controlPoints.size(), 1u);
    const site::ControlPoint& point = site.domains[0].controlPoints[0];
    EXPECT_EQ(point.uuid + point.name + point.networkAddress,
              "00000000-0000-0000-0000-00000000000ap1192.0.2.1");
    ASSERT_EQ(site.domains[0].systems.size(), 2u);
    const site::HostingSystem& system = site.domains[0].systems[0];
    EXPECT_EQ(site::systemName(system), "T-M*S1");
    EXPECT_EQ(system.uuid + system.firmware + system.packageTag,
              "00000000-0000-0000-0000-000000000001Frack 1");
    ASSERT_EQ(system.partitions.size(), 2u);
    EXPECT_EQ(site::partitionName(system, system.partitions[1]), "7*T-M*S1");
    EXPECT_EQ(system.partitions[1].name, "two");
    EXPECT_EQ(system.partitions[1].state, site::findState("failed"));
    EXPECT_TRUE(system.partitions[1].state->failure);
    EXPECT_TRUE(site.domains[0].systems[1].partitions.empty());
}

TEST_F(SiteFile, BrokenContentIsNamedByPlaceReasonAndValue) {
    const char* const cases[][3] = {
        {R"("serial": "S1", )", "",
         " /domains/0/systems/0: the field \"serial\" is missing, found {"},
        {R"("systems": [])", R"("systems": {})", " /domains/1/systems: must be an array, found {}"},
        {R"({"name": "empty", "controlPoints": [], "systems": []})", "3",
         " /domains/1: must be an object, found 3"},
        {R"("id": 1)", R"("id": "1")",
         " /domains/0/systems/0/partitions/0/id: must be a whole number from 1 to 65535, found "
         "\"1\""},
        {R"("id": 1)", R"("id": 1.0)", "must be a whole number from 1 to 65535, found 1.0"},
        {R"("id": 1)", R"("id": 65536)", "must be a whole number from 1 to 65535, found 65536"},
        {R"("id": 1)", R"("id": -1)", "must be a whole number from 1 to 65535, found -1"},
        {R"("id": 7)", R"("id": 1)",
         "/partitions/1/id: the partition id is already used at "
         "/domains/0/systems/0/partitions/0/id, found 1"},
        {R"("two")", R"("one")", "/partitions/1/name: the name is already used at "},
        {R"("empty")", R"("Halle Süd")",
         " /domains/1/name: the name is already used at /domains/0/name, found \"Halle Süd\""},
        {R"("S2")", R"("S1")",
         " /domains/0/systems/1/serial: the system T-M*S1 is already used at "},
        {"000000000001", "00000000000A",
         "/systems/0/uuid: the UUID is already used at /domains/0/controlPoints/0/uuid"},
        {"000000000001", "00000000001", "/systems/0/uuid: must be a UUID"},
        {R"("rack 2")", R"("rack 1")", "/packageTag: the tag is already used at "},
        {R"("rack 2")", R"("A.b=1")", "/packageTag: must not contain \"=\", found \"A.b=1\""},
        {R"("type": "T")", R"("type": "T-1")", "/type: must not contain \"-\", found \"T-1\""},
        {R"("p1")", R"("")", " /domains/0/controlPoints/0/name: must not be empty, found \"\""},
        {R"("p1")", R"("p\u0000")", "/name: must not contain control characters, found "},
        {R"("p1")", "null", "/name: must be a string, found null"},
        {R"("failed")", R"("broken")", "/partitions/1/state: unknown state (known: running, "},
        {R"("p1")", R"("p1", "a/b": 1)",
         " /domains/0/controlPoints/0/a~1b: unknown field, found 1"},
        {R"("p1")", R"("p1", "name": "p2")",
         " /domains/0/controlPoints/0/name: the field is there twice"},
    };
    for (const auto& [from, to, expected] : cases) {
        const std::string message = complaint(replaced(GOOD, from, to));
        const bool atStart = expected[0] == ' ';
        EXPECT_TRUE(atStart ? message.rfind(expected, 0) == 0
                            : message.find(expected) != std::string::npos)
            << "expected: " << expected << "\ngot: " << message;
    }
    EXPECT_EQ(complaint("[]"), " the whole file: must be an object, found []");
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
        const std::string message = complaint(text);
        EXPECT_EQ(message.rfind(place, 0), 0u) << text << "\ngot: " << message;
        EXPECT_NE(message.find("expected"), std::string::npos) << message;
    }
    // Cut in the middle of a character; a number that nothing can hold.
    EXPECT_NE(complaint("{\"domains\": \"S\xC3\"}").find("UTF-8"), std::string::npos);
    EXPECT_NE(complaint("{\"domains\": 1e999}").find("1e999"), std::string::npos);
}

TEST_F(SiteFile, FilesThatCannotBeReadGiveTheReason) {
    for (const std::string& file :
         {std::string("/nonexistent/site.json"), std::filesystem::temp_directory_path().string()}) {
        try {
            site::loadSite(file);
            FAIL() << file;
        } catch (const site::SiteError& error) {
            EXPECT_EQ(std::string(error.what()).rfind(file + ": cannot be read: ", 0), 0u)
                << error.what();
        }
    }
}

}  // namespace
