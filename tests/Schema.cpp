#include "server/Schema.h"

#include <Pegasus/Common/CIMMethod.h>
#include <Pegasus/Common/CIMProperty.h>
#include <Pegasus/Common/CIMQualifier.h>
#include <Pegasus/Common/Exception.h>
#include <gtest/gtest.h>

#include <functional>
#include <thread>
#include <vector>

using namespace Pegasus;
using velmar_embedded::Schema;

namespace {

const CIMNamespaceName NS("root/test");

CIMQualifier key() { return CIMQualifier(CIMName("Key"), CIMValue(Boolean(true))); }

CIMQualifier text(const char* name, const char* value, const CIMFlavor& flavor) {
    return CIMQualifier(CIMName(name), CIMValue(String(value)), flavor);
}

std::string joined(const Array<CIMName>& names) {
    std::string result;
    for (Uint32 i = 0; i < names.size(); ++i)
        result += std::string(i ? " " : "") + std::string(names[i].getString().getCString());
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

// Base (Id key, Count = 7, Note; Run) <- Middle (Id again, Extra) <- Leaf; Base <- Other.
class SchemaTest : public testing::Test {
 protected:
    void SetUp() override {
        schema.createNamespace(NS);
        CIMClass base(CIMName("Base"));
        base.addQualifier(text("Stays", "b", CIMFlavor::RESTRICTED));
        base.addQualifier(text("Goes", "b", CIMFlavor::TOSUBCLASS));
        CIMProperty id(CIMName("Id"), CIMValue(CIMTYPE_STRING, false));
        base.addProperty(
            id.addQualifier(key()).addQualifier(text("Goes", "id", CIMFlavor::TOSUBCLASS)));
        CIMProperty count(CIMName("Count"), CIMValue(Uint32(7)));
        base.addProperty(count.addQualifier(text("Stays", "count", CIMFlavor::RESTRICTED)));
        base.addProperty(CIMProperty(CIMName("Notes"), CIMValue(CIMTYPE_STRING, true)));
        base.addMethod(CIMMethod(CIMName("Run"), CIMTYPE_UINT32)
                           .addParameter(CIMParameter(CIMName("How"), CIMTYPE_SINT8)));
        schema.createClass(NS, base);

        CIMClass middle(CIMName("Middle"), CIMName("base"));
        CIMProperty again(CIMName("ID"), CIMValue(String("default")));
        middle.addProperty(CIMProperty(CIMName("Extra"), CIMValue(Boolean(true))));
        middle.addProperty(again.addQualifier(text("Goes", "mine", CIMFlavor::TOSUBCLASS)));
        schema.createClass(NS, middle);
        schema.createClass(NS, CIMClass(CIMName("Leaf"), CIMName("Middle")));
        schema.createClass(NS, CIMClass(CIMName("Other"), CIMName("Base")));
    }

    CIMInstance base(const char* id) {
        CIMInstance result(CIMName("base"));
        result.addProperty(CIMProperty(CIMName("id"), CIMValue(String(id))));
        return result;
    }

    Schema schema;
};

TEST_F(SchemaTest, SubclassInheritsFeaturesBeforeItsOwn) {
    const CIMClass leaf = schema.getClass(CIMNamespaceName("ROOT/Test"), CIMName("LEAF"));
    EXPECT_EQ(String("Middle"), leaf.getSuperClassName().getString());
    const struct {
        const char* name;
        const char* origin;
    } expected[] = {{"ID", "Middle"}, {"Count", "Base"}, {"Notes", "Base"}, {"Extra", "Middle"}};
    ASSERT_EQ(4u, leaf.getPropertyCount());
    for (Uint32 i = 0; i < 4; ++i) {
        const CIMConstProperty property = leaf.getProperty(i);
        EXPECT_EQ(String(expected[i].name), property.getName().getString());
        EXPECT_EQ(String(expected[i].origin), property.getClassOrigin().getString());
        EXPECT_TRUE(property.getPropagated());
    }
    ASSERT_EQ(1u, leaf.getMethodCount());
    EXPECT_EQ(1u, leaf.getMethod(0).getParameterCount());
    EXPECT_EQ(CIMName("Base"), leaf.getMethod(0).getClassOrigin());
    EXPECT_FALSE(schema.getClass(NS, CIMName("Middle")).getProperty(3).getPropagated());
}

TEST_F(SchemaTest, SubclassInheritsAValueThatDoesNotFitItsArray) {
    CIMClass upper(CIMName("Upper"));
    CIMProperty pair(CIMName("Pair"), CIMValue(Array<Uint8>(2, 1)), 2);
    pair.setValue(CIMValue(Array<Uint8>(3, 1)));
    upper.addProperty(pair.addQualifier(text("Stays", "pair", CIMFlavor::RESTRICTED)));
    schema.createClass(NS, upper);
    schema.createClass(NS, CIMClass(CIMName("Lower"), CIMName("Upper")));
    const CIMClass lower = schema.getClass(NS, CIMName("Lower"));
    const CIMConstProperty inherited = lower.getProperty(0);
    EXPECT_EQ(2u, inherited.getArraySize());
    EXPECT_EQ(3u, inherited.getValue().getArraySize());
    EXPECT_TRUE(inherited.getPropagated());
    EXPECT_EQ(0u, inherited.getQualifierCount());
}

TEST_F(SchemaTest, QualifiersFollowTheirFlavor) {
    const CIMClass leaf = schema.getClass(NS, CIMName("Leaf"));
    EXPECT_EQ(PEG_NOT_FOUND, leaf.findQualifier(CIMName("Stays")));
    ASSERT_EQ(0u, leaf.findQualifier(CIMName("Goes")));
    const CIMConstProperty id = leaf.getProperty(0);
    EXPECT_EQ(CIMValue(String("mine")),
              id.getQualifier(id.findQualifier(CIMName("Goes"))).getValue());
    EXPECT_EQ(PEG_NOT_FOUND, leaf.getProperty(1).findQualifier(CIMName("Stays")));
    Array<CIMName> keys;
    leaf.getKeyNames(keys);
    EXPECT_EQ("ID", joined(keys));  // although Middle redefines it without the qualifier
}

TEST_F(SchemaTest, DeclarationDecidesForQualifiersWithoutFlavor) {
    schema.declareQualifier(
        NS, {CIMName("Abstract"), CIMValue(Boolean(false)), CIMFlavor(CIMFlavor::RESTRICTED)});
    CIMClass upper(CIMName("Upper"));
    upper.addQualifier(CIMQualifier(CIMName("abstract"), CIMValue(Boolean(true))));
    schema.createClass(NS, upper);
    schema.createClass(NS, CIMClass(CIMName("Lower"), CIMName("Upper")));
    EXPECT_TRUE(schema.getClass(NS, CIMName("Upper")).isAbstract());
    EXPECT_FALSE(schema.getClass(NS, CIMName("Lower")).isAbstract());
}

TEST_F(SchemaTest, NamesAndLineage) {
    schema.createClass(NS, CIMClass(CIMName("Late"), CIMName("LEAF")));
    EXPECT_EQ("Base", joined(schema.subclassNames(NS, CIMName(), false)));
    EXPECT_EQ("Middle Other", joined(schema.subclassNames(NS, CIMName("base"), false)));
    EXPECT_EQ("Middle Other Leaf Late", joined(schema.subclassNames(NS, CIMName("Base"), true)));
    EXPECT_EQ("Late Leaf Middle Base", joined(schema.lineage(NS, CIMName("late"))));
    schema.deleteClass(NS, CIMName("Other"));
    EXPECT_EQ("Middle", joined(schema.subclassNames(NS, CIMName("Base"), false)));
    EXPECT_FALSE(schema.hasClass(NS, CIMName("Other")));
    EXPECT_FALSE(schema.hasClass(CIMNamespaceName("root/no"), CIMName("Base")));
}

TEST_F(SchemaTest, InstanceGetsDefaultsNullsAndItsPath) {
    CIMInstance given = base("one");
    given.setPath(CIMObjectPath("//elsewhere/root/x:base.id=\"two\""));
    const CIMObjectPath path = schema.createInstance(NS, given);
    EXPECT_EQ(String("Base.Id=\"one\""), path.toString());
    given.getProperty(0).setValue(CIMValue(String("edited")));

    CIMInstance stored = schema.getInstance(NS, CIMObjectPath("//h/root/other:BASE.ID=\"one\""));
    EXPECT_TRUE(stored.getPath().identical(path));
    ASSERT_EQ(3u, stored.getPropertyCount());
    EXPECT_EQ(CIMValue(String("one")), stored.getProperty(0).getValue());
    EXPECT_EQ(CIMValue(Uint32(7)), stored.getProperty(1).getValue());
    EXPECT_EQ(CIMValue(CIMTYPE_STRING, true), stored.getProperty(2).getValue());

    stored.getProperty(1).setValue(CIMValue(Uint32(8)));  // of a copy
    EXPECT_EQ(CIMValue(Uint32(7)), schema.getInstance(NS, path).getProperty(1).getValue());
    schema.modifyInstance(NS, stored);
    EXPECT_EQ(CIMValue(Uint32(8)),
              schema.instances(NS, CIMName("Base"))[0].getProperty(1).getValue());
}

TEST_F(SchemaTest, InstancesKeepTheirOrder) {
    for (const char* id : {"c", "a", "b"})
        schema.createInstance(NS, base(id));
    schema.deleteInstance(NS, CIMObjectPath("Base.Id=\"a\""));
    schema.createInstance(NS, base("a"));
    String ids;
    const Array<CIMInstance> all = schema.instances(NS, CIMName("BASE"));
    for (Uint32 i = 0; i < all.size(); ++i)
        ids.append(all[i].getProperty(0).getValue().toString());
    EXPECT_EQ(String("cba"), ids);
    EXPECT_EQ(0u, schema.instances(NS, CIMName("Middle")).size());
}

TEST_F(SchemaTest, Errors) {
    const CIMNamespaceName none("root/none");
    const CIMObjectPath path = schema.createInstance(NS, base("x"));
    CIMInstance unknown = base("y");
    unknown.addProperty(CIMProperty(CIMName("Nope"), CIMValue(Uint32(1))));
    CIMInstance wrong = base("y");
    wrong.addProperty(CIMProperty(CIMName("count"), CIMValue(Sint32(1))));
    CIMInstance single = base("y");
    single.addProperty(CIMProperty(CIMName("Notes"), CIMValue(String("one"))));
    CIMInstance renamed = base("y");
    renamed.setPath(path);
    const CIMObjectPath absent("Base.Id=\"y\"");
    const struct {
        std::function<void()> action;
        std::string error;
    } cases[] = {
        {[&] { schema.createClass(none, CIMClass(CIMName("A"))); }, "3 root/none"},
        {[&] { schema.createClass(NS, CIMClass(CIMName("A"), CIMName("B"))); }, "10 B"},
        {[&] { schema.createClass(NS, CIMClass(CIMName("leaf"))); }, "11 leaf"},
        {[&] { schema.getClass(NS, CIMName("A")); }, "6 A"},
        {[&] { schema.getClass(none, CIMName("Base")); }, "3 root/none"},
        {[&] { schema.deleteClass(NS, CIMName("A")); }, "6 A"},
        {[&] { schema.deleteClass(NS, CIMName("Middle")); }, "8 Middle"},
        {[&] {
             CIMInstance leaf(CIMName("Leaf"));
             schema.createInstance(NS, leaf);
             schema.deleteClass(NS, CIMName("Leaf"));
         },
         "9 Leaf"},
        {[&] { schema.subclassNames(NS, CIMName("A"), true); }, "5 A"},
        {[&] { schema.lineage(NS, CIMName("A")); }, "5 A"},
        {[&] { schema.lineage(none, CIMName("Base")); }, "3 root/none"},
        {[&] { schema.createInstance(NS, CIMInstance(CIMName("A"))); }, "5 A"},
        {[&] { schema.createInstance(NS, base("x")); }, "11 Base.Id=\"x\""},
        {[&] { schema.createInstance(NS, unknown); }, "4 Base.Nope: no such property"},
        {[&] { schema.createInstance(NS, wrong); }, "4 Base.count: wrong type sint32"},
        {[&] { schema.createInstance(NS, single); }, "4 Base.Notes: wrong type string"},
        {[&] { schema.getInstance(NS, absent); }, "6 Base.Id=\"y\""},
        {[&] { schema.getInstance(NS, CIMObjectPath("A.Id=\"y\"")); }, "5 A"},
        {[&] { schema.instances(NS, CIMName("A")); }, "5 A"},
        {[&] { schema.modifyInstance(NS, renamed); }, "4 Base.Id=\"x\": keys cannot change"},
        {[&] { schema.deleteInstance(NS, absent); }, "6 Base.Id=\"y\""},
    };
    for (const auto& c : cases)
        EXPECT_EQ(c.error, errorOf(c.action));
    EXPECT_EQ(1u, schema.instances(NS, CIMName("Base")).size());
    EXPECT_EQ(CIMValue(String("x")), schema.getInstance(NS, path).getProperty(0).getValue());
}

TEST_F(SchemaTest, ThreadsShareOneStore) {
    constexpr int threads = 4, rounds = 50;
    std::vector<std::thread> workers;
    for (int t = 0; t < threads; ++t)
        workers.emplace_back([this, t] {
            for (int i = 0; i < rounds; ++i) {
                const std::string name = "T" + std::to_string(t) + "_" + std::to_string(i);
                schema.createClass(NS, CIMClass(CIMName(name.c_str()), CIMName("Base")));
                const CIMObjectPath path = schema.createInstance(NS, base(name.c_str()));
                CIMInstance instance = schema.getInstance(NS, path);
                instance.getProperty(1).setValue(CIMValue(Uint32(i)));
                schema.modifyInstance(NS, instance);
                schema.subclassNames(NS, CIMName(), true);
                if (i % 2)
                    schema.deleteInstance(NS, path);
            }
        });
    for (std::thread& worker : workers)
        worker.join();
    EXPECT_EQ(Uint32(threads * rounds + 2),
              schema.subclassNames(NS, CIMName("Base"), false).size());
    EXPECT_EQ(Uint32(threads * rounds / 2), schema.instances(NS, CIMName("Base")).size());
}

}  // namespace
