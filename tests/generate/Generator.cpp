// SPDX-FileCopyrightText: The velmar_remote authors
// SPDX-License-Identifier: MIT

#include "generate/Generator.h"

#include <gtest/gtest.h>
#include <velmar_embedded/schema/Mof.h>

#include <chrono>
#include <filesystem>
#include <fstream>

#include "generate/Names.h"
#include "generate/Package.h"

using namespace velmar_generator;

namespace {

class Generating : public ::testing::Test {
 protected:
    Generating() {
        options.module = "Traps";
        options.cppNamespace = "traps";
        velmar_embedded::compileMof(schema, "root/velmar_remote", TRAPS_MOF);
    }
    std::string file(const std::string& path, const std::vector<std::string>& classes) {
        options.classes = classes;
        for (const GeneratedFile& one : generate(schema, options)) {
            if (one.path == path) {
                return one.text;
            }
        }
        return "no file " + path;
    }
    std::string fault(const std::vector<std::string>& classes) {
        try {
            file("", classes);
        } catch (const GeneratorError& error) {
            return error.what();
        }
        return "nothing was thrown";
    }
    void expectHas(const std::string& text, const std::string& part) {
        EXPECT_NE(text.find(part), std::string::npos) << part << "\n" << text;
    }
    velmar_embedded::Repository schema;
    Options options;
};

TEST_F(Generating, SaysWhatNothingCanBeMadeOf) {
    EXPECT_EQ(fault({"TRAP_Typ"}), "class TRAP_Typ is not in the schema; like it: TRAP_Types");
    EXPECT_EQ(fault({"not a name"}), "class not a name is not in the schema");
    expectHas(fault({"TRAP_Top"}), "class TRAP_Top is abstract");
    EXPECT_EQ(fault({}), "no class is named");
    options.cppNamespace = "class";
    expectHas(fault({"TRAP_Part"}), "\"class\" cannot be a C++ namespace");
    options.cppNamespace = "ok";
    options.module = "with blank";
    expectHas(fault({"TRAP_Part"}), "\"with blank\" cannot be the name of a module");
}

TEST_F(Generating, DecidesWhatAProviderIsBasedOn) {
    const auto base = [&](const std::string& name) {
        return file(name + "ProviderBase.h", {name});
    };
    expectHas(base("TRAP_Part"), "velmar_remote::CachedInstanceProvider");
    expectHas(base("TRAP_Methods"), "velmar_remote::InstanceMethodProvider");
    expectHas(base("TRAP_Link"), "WithMethods<velmar_remote::InstanceAssociationProvider>");
    expectHas(base("TRAP_Three"), "it has 3 references, of which 3 are keys");
    expectHas(base("TRAP_Keyless"),
              "#error \"class TRAP_Keyless cannot be served: it has no keys; ");
    // Enriched where the schema has what enrichment asks for, unless told otherwise.
    expectHas(base("TRAP_Alert"), "AlertProvider<TRAP_Alert, true>");
    options.enrichment = false;
    expectHas(base("TRAP_Alert"), "AlertProvider<TRAP_Alert, false>");
}

TEST_F(Generating, KeepsToTheNamespaceOfAlertsAndLeavesOutWhatTheSchemaLacks) {
    const char* const mof =
        "Qualifier Indication : boolean = false, Scope(class, indication), Flavor(ToSubclass);"
        "[Indication] class OTHER_Alert { string Text; };"
        "Qualifier Key : boolean = false, Scope(property, reference), Flavor(ToSubclass);"
        "class OTHER_A_B {}; class OTHER_A__B : OTHER_A_B {}; class OTHER_Thing { [Key] string K; "
        "};";
    velmar_embedded::Repository other;
    for (const char* nameSpace : {"root/velmar_remote", "root/other"}) {
        velmar_embedded::compileMofText(other, nameSpace, mof, "other.mof");
    }
    options.classes = {"OTHER_Alert"};
    expectHas(generate(other, options).at(2).text, "AlertProvider<OTHER_Alert, false>");
    options.cimNamespace = "root/other";
    const auto faultOfOther = [&] {
        try {
            generate(other, options);
        } catch (const GeneratorError& error) {
            return std::string(error.what());
        }
        return std::string();
    };
    expectHas(faultOfOther(), "OTHER_Alert is an indication, which the library serves in");
    options.classes = {"OTHER_A__B"};
    expectHas(faultOfOther(), "OTHER_A_B and OTHER_A__B would both be OTHER_A_B in C++");
    options.classes = {"OTHER_Thing"};
    expectHas(generate(other, options).at(2).text,
              "_cache.setIsAP()");  // no associations to delete
}

TEST_F(Generating, SaysWhatAPackageCannotServe) {
    velmar_embedded::compileMofText(schema, "root/velmar_remote",
                                    "class TRAP_PartProvider { [Key] string Name; };"
                                    "class Paths { [Key] string Name; };"
                                    "class TRAP_Listed { [Key] string Names[]; };",
                                    "more.mof");
    expectHas(fault({"TRAP_PartProvider", "TRAP_Part"}),
              "TRAP_PartProvider would be the name of class TRAP_PartProvider and of the provider");
    expectHas(fault({"Paths"}), "Paths would be the name of a generated header");
    options.clientsMay = {"create,delete", "TRAP_Link"};
    expectHas(fault({"TRAP_Part", "TRAP_Link"}),
              "found TRAP_Link, expected a class with instances");
    options.clientsMay = {"TRAP_Part"};
    expectHas(fault({"TRAP_Part"}), "found TRAP_Part, expected create, delete or create,delete");
    options.clientsMay.clear();
    options.cppNamespace = "TRAP_Part";
    expectHas(fault({"TRAP_Part"}), "choose another namespace");
    const auto faultOfPackage = [&](const std::vector<std::string>& classes) {
        try {
            options.classes = classes;
            packageFiles(schema, options, "mof/Traps.mof");
        } catch (const GeneratorError& error) {
            return std::string(error.what());
        }
        return std::string();
    };
    expectHas(faultOfPackage({"TRAP_Listed"}), "its key Names is an array");
    expectHas(faultOfPackage({"TRAP_Keyless"}), "it has no keys; qualify a property as Key");
    EXPECT_EQ(faultOfPackage({"TRAP_Keyless", "TRAP_Part"}), "");
    options.classes = {"TRAP_Keyless", "TRAP_Three", "TRAP_Part"};
    const std::vector<std::string> remarks = packageRemarks(schema, options);
    ASSERT_EQ(remarks.size(), 3u);
    expectHas(remarks.back(), "no provider serves its subclass TRAP_SubPart");
    EXPECT_EQ(packageCheckOptions(schema, options), " --allow registration.unserved-subclass");
    options.classes.push_back("TRAP_SubPart");
    EXPECT_EQ(packageCheckOptions(schema, options), "");
}

TEST_F(Generating, WritesWhatHasChangedAndRemovesWhatIsNoMore) {
    namespace fs = std::filesystem;
    const fs::path folder = fs::path(::testing::TempDir()) / "velmar_generator_test";
    fs::remove_all(folder);
    writeFiles(folder.string(), {{"a", "1"}, {"b", "2"}, {"c", "3"}});
    std::ofstream(folder / "foreign") << "stays";
    const fs::file_time_type old = fs::file_time_type::clock::now() - std::chrono::hours(1);
    fs::last_write_time(folder / "a", old);
    fs::last_write_time(folder / "b", old);
    writeFiles(folder.string(), {{"a", "1"}, {"b", "3"}});
    EXPECT_EQ(fs::last_write_time(folder / "a"), old);
    EXPECT_NE(fs::last_write_time(folder / "b"), old);
    EXPECT_FALSE(fs::exists(folder / "c"));
    EXPECT_TRUE(fs::exists(folder / "foreign"));
    fs::remove_all(folder);
}

TEST_F(Generating, RegistersEachClassOnceForWhatItIs) {
    const std::string text =
        file("TrapsRegistration.mof", {"TRAP_Link", "trap_link", "TRAP_Alert"});
    EXPECT_EQ(text.find("ClassName = \"TRAP_Link\""), text.rfind("ClassName = \"TRAP_Link\""));
    expectHas(text, "ProviderType = { 2, 3, 5 };\n    SupportedMethods = { \"Weigh\" };");
    expectHas(text, "ProviderType = { 4, 5 };\n    SupportedMethods = { \"send\" };");
}

TEST(GeneratedNames, AreIdentifiersAndUnique) {
    Scope scope({"taken"});
    for (const auto& [text, name] :
         std::vector<std::pair<std::string, std::string>>{{"plain", "plain"},
                                                          {"plain", "plain_"},
                                                          {"plain", "plain_2"},
                                                          {"taken", "taken_"},
                                                          {"10 Base-T", "V10_Base_T"},
                                                          {"a  --  b", "a_b"},
                                                          {"(x)", "x"},
                                                          {"\xC3\xA4", "Value"},
                                                          {"", "Value_"},
                                                          {"while", "while_"},
                                                          {"EINVAL", "EINVAL_"}}) {
        EXPECT_EQ(scope.add(text), name) << text;
    }
    EXPECT_EQ(comment("ends in a backslash \\", 2), "/// ends in a backslash\n");
    EXPECT_EQ(literal("a\"\\\n"), "\"a\\\"\\\\\\012\"");
    const std::string part(60, 'x');
    EXPECT_EQ(wrapped("  f(\"" + part + ", (\", " + part + ");\n// " + part + ", " + part + "\n"),
              "  f(\"" + part + ", (\",\n      " + part + ");\n// " + part + ", " + part + "\n");
}

}  // namespace
