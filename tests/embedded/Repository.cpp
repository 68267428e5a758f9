// SPDX-FileCopyrightText: The velmar_remote authors
// SPDX-License-Identifier: MIT

#include <velmar_embedded/schema/Repository.h>

#include <Pegasus/Common/CIMMethod.h>
#include <Pegasus/Common/CIMProperty.h>
#include <Pegasus/Common/CIMQualifier.h>
#include <Pegasus/Common/Exception.h>
#include <gtest/gtest.h>

#include <functional>
#include <thread>
#include <vector>

#include <velmar_embedded/schema/Mof.h>

using namespace Pegasus;
using velmar_embedded::Repository;

namespace {

const CIMNamespaceName NS("root/test");

const char* const CLASSES = R"(
Qualifier Key : boolean = false, Scope(property);
Qualifier Stays : string, Scope(any), Flavor(Restricted);
Qualifier Goes : string, Scope(any), Flavor(ToSubclass);
[Stays("b"), Goes("b")]
class Base {
    [Key, Goes("id")] string Id;
    [Stays("count")] uint32 Count = 7;
    string Notes[];
    uint32 Run(sint8 How);
};
class Middle : base { boolean Extra = true; [Goes("mine")] string ID = "default"; };
class Leaf : Middle {};
class Other : Base {};)";

std::string joined(const Array<CIMName>& names) {
    std::string result;
    for (Uint32 i = 0; i < names.size(); ++i) {
        result += std::string(i ? " " : "") + std::string(names[i].getString().getCString());
    }
    return result;
}

// The code and message of the CIMException that `action` throws.
std::string errorOf(const std::function<void()>& action) {
    try {
        action();
    } catch (const CIMException& e) {
        return std::to_string(e.getCode()) + " " + std::string(e.getMessage().getCString());
    }
    return "none";
}

class SchemaTest : public testing::Test {
 protected:
    SchemaTest() { velmar_embedded::compileMofText(schema, NS, CLASSES, "classes"); }
    CIMInstance base(const char* id) {
        return CIMInstance("base").addProperty(CIMProperty("id", String(id)));
    }

    Repository schema;
};

TEST_F(SchemaTest, SubclassInheritsFeaturesBeforeItsOwn) {
    const CIMClass leaf = schema.getClass(CIMNamespaceName("ROOT/Test"), "LEAF");
    EXPECT_EQ(String("Middle"), leaf.getSuperClassName().getString());
    std::string features;
    for (Uint32 i = 0; i < leaf.getPropertyCount(); ++i) {
        const CIMConstProperty property = leaf.getProperty(i);
        EXPECT_TRUE(property.getPropagated());
        const String origin = property.getClassOrigin().getString();
        features.append((property.getName().getString() + "@" + origin + " ").getCString());
    }
    EXPECT_EQ("ID@Middle Count@Base Notes@Base Extra@Middle ", features);
    EXPECT_EQ(1u, leaf.getMethod(0).getParameterCount());
    EXPECT_EQ("Base", leaf.getMethod(0).getClassOrigin());
    EXPECT_FALSE(schema.getClass(NS, "Middle").getProperty(3).getPropagated());
}

TEST_F(SchemaTest, SubclassInheritsAValueThatDoesNotFitItsArray) {
    CIMProperty pair("Pair", Array<Uint8>(2, 1), 2);
    pair.setValue(Array<Uint8>(3, 1));
    pair.addQualifier(CIMQualifier("Stays", String("p"), CIMFlavor::RESTRICTED));
    schema.createClass(NS, CIMClass("Upper").addProperty(pair));
    schema.createClass(NS, CIMClass("Lower", "Upper"));
    const CIMClass lower = schema.getClass(NS, "Lower");
    const CIMConstProperty inherited = lower.getProperty(0);
    EXPECT_EQ(2u, inherited.getArraySize());
    EXPECT_EQ(3u, inherited.getValue().getArraySize());
    EXPECT_TRUE(inherited.getPropagated());
    EXPECT_EQ(0u, inherited.getQualifierCount());
}

TEST_F(SchemaTest, QualifiersFollowTheirFlavorElseTheirDeclaration) {
    const CIMClass leaf = schema.getClass(NS, "Leaf");
    EXPECT_EQ(PEG_NOT_FOUND, leaf.findQualifier("Stays"));
    EXPECT_EQ(0u, leaf.findQualifier("Goes"));
    const CIMConstProperty id = leaf.getProperty(0);
    EXPECT_EQ(CIMValue(String("mine")), id.getQualifier(id.findQualifier("Goes")).getValue());
    EXPECT_EQ(PEG_NOT_FOUND, leaf.getProperty(1).findQualifier("Stays"));
    Array<CIMName> keys;
    leaf.getKeyNames(keys);
    EXPECT_EQ("ID", joined(keys));  // although Middle redefines it without the qualifier

    schema.declareQualifier(NS, {"Abstract", CIMValue(false), CIMFlavor(CIMFlavor::RESTRICTED)});
    CIMClass upper("Upper");
    upper.addQualifier(CIMQualifier("abstract", true));
    upper.addQualifier(CIMQualifier("Undeclared", true));
    schema.createClass(NS, upper);
    schema.createClass(NS, CIMClass("Lower", "Upper"));
    EXPECT_TRUE(schema.getClass(NS, "Upper").isAbstract());
    const CIMClass lower = schema.getClass(NS, "Lower");
    EXPECT_FALSE(lower.isAbstract());
    EXPECT_EQ(0u, lower.findQualifier("Undeclared"));
}

TEST_F(SchemaTest, NamesAndLineage) {
    schema.createClass(NS, CIMClass("Late", "LEAF"));
    EXPECT_EQ("Base", joined(schema.subclassNames(NS, CIMName(), false)));
    EXPECT_EQ("Middle Other Leaf Late", joined(schema.subclassNames(NS, "base", true)));
    EXPECT_EQ("Late Leaf Middle Base", joined(schema.lineage(NS, "late")));
    schema.deleteClass(NS, "Other");
    EXPECT_EQ("Middle", joined(schema.subclassNames(NS, "Base", false)));
    EXPECT_FALSE(schema.hasClass(NS, "Other"));
}

TEST_F(SchemaTest, InstanceGetsDefaultsNullsAndItsPath) {
    CIMInstance given = base("one");
    given.setPath(CIMObjectPath("//elsewhere/root/x:base.id=\"two\""));
    const CIMObjectPath path = schema.createInstance(NS, given);
    EXPECT_EQ(String("Base.Id=\"one\""), path.toString());
    given.getProperty(0).setValue(CIMValue(String("edited")));

    CIMInstance stored = schema.getInstance(NS, CIMObjectPath("//h/root/other:BASE.ID=\"one\""));
    EXPECT_TRUE(stored.getPath().identical(path));
    const CIMValue expected[] = {String("one"), Uint32(7), CIMValue(CIMTYPE_STRING, true)};
    ASSERT_EQ(3u, stored.getPropertyCount());
    for (Uint32 i = 0; i < 3; ++i) {
        EXPECT_EQ(expected[i], stored.getProperty(i).getValue());
    }
    stored.getProperty(1).setValue(CIMValue(Uint32(8)));  // of a copy
    EXPECT_EQ(expected[1], schema.getInstance(NS, path).getProperty(1).getValue());
    schema.modifyInstance(NS, stored);
    EXPECT_TRUE(schema.instances(NS, "Base")[0].identical(stored));
}

TEST_F(SchemaTest, InstancesKeepTheirOrder) {
    for (const char* id : {"c", "a", "b"}) {
        schema.createInstance(NS, base(id));
    }
    schema.deleteInstance(NS, CIMObjectPath("Base.Id=\"a\""));
    schema.createInstance(NS, base("a"));
    String ids;
    for (Uint32 i = 0; i < 3; ++i) {
        ids.append(schema.instances(NS, "BASE")[i].getProperty(0).getValue().toString());
    }
    EXPECT_EQ(String("cba"), ids);
}

TEST_F(SchemaTest, Errors) {
    const CIMObjectPath path = schema.createInstance(NS, base("x")), absent("Base.Id=\"y\"");
    const auto with = [&](const char* name, const CIMValue& value) {
        return base("y").addProperty(CIMProperty(CIMName(name), value));
    };
    CIMInstance renamed = base("y");
    renamed.setPath(path);
    schema.createInstance(NS, CIMInstance("Leaf"));
    const struct {
        std::function<void()> action;
        std::string error;
    } cases[] = {
        {[&] { schema.createClass("root/none", CIMClass("A")); }, "3 root/none"},
        {[&] { schema.createClass(NS, CIMClass("A", "B")); }, "10 B"},
        {[&] { schema.createClass(NS, CIMClass("leaf")); }, "11 leaf"},
        {[&] { schema.getClass(NS, "A"); }, "6 A"},
        {[&] { schema.deleteClass(NS, "Middle"); }, "8 Middle"},
        {[&] { schema.deleteClass(NS, "Leaf"); }, "9 Leaf"},
        {[&] { schema.subclassNames(NS, "A", true); }, "5 A"},
        {[&] { schema.createInstance(NS, CIMInstance("A")); }, "5 A"},
        {[&] { schema.createInstance(NS, base("x")); }, "11 Base.Id=\"x\""},
        {[&] { schema.createInstance(NS, with("No", true)); }, "4 Base.No: no such property"},
        {[&] { schema.createInstance(NS, with("count", true)); },
         "4 Base.count: wrong type boolean"},
        {[&] { schema.createInstance(NS, with("Notes", String())); },
         "4 Base.Notes: wrong type string"},
        {[&] { schema.getInstance(NS, absent); }, "6 Base.Id=\"y\""},
        {[&] { schema.modifyInstance(NS, renamed); }, "4 Base.Id=\"x\": keys cannot change"},
        {[&] { schema.deleteInstance(NS, absent); }, "6 Base.Id=\"y\""},
    };
    for (const auto& c : cases) {
        EXPECT_EQ(c.error, errorOf(c.action));
    }
    EXPECT_EQ(1u, schema.instances(NS, "Base").size());
    EXPECT_EQ(CIMValue(String("x")), schema.getInstance(NS, path).getProperty(0).getValue());
}

TEST_F(SchemaTest, ThreadsShareOneStore) {
    constexpr int threads = 4, rounds = 50;
    const CIMObjectPath common = schema.createInstance(NS, base("common"));
    std::vector<std::thread> workers;
    for (int t = 0; t < threads; ++t) {
        workers.emplace_back([this, t, &common] {
            for (int i = 0; i < rounds; ++i) {
                const std::string name = "T" + std::to_string(t) + "_" + std::to_string(i);
                schema.createClass(NS, CIMClass(CIMName(name.c_str()), "Base"));
                const CIMObjectPath path = schema.createInstance(NS, base(name.c_str()));
                CIMInstance instance = schema.getInstance(NS, path);
                instance.getProperty(1).setValue(CIMValue(Uint32(i)));
                schema.modifyInstance(NS, instance);
                schema.subclassNames(NS, CIMName(), true);
                schema.modifyInstance(NS, schema.getInstance(NS, common));
                if (i % 2) {
                    schema.deleteInstance(NS, path);
                }
            }
        });
    }
    for (std::thread& worker : workers) {
        worker.join();
    }
    EXPECT_EQ(Uint32(threads * rounds + 2), schema.subclassNames(NS, "Base", false).size());
    EXPECT_EQ(Uint32(threads * rounds / 2 + 1), schema.instances(NS, "Base").size());
}

}  // namespace
