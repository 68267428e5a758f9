#include <Pegasus/Common/CIMObjectPath.h>
#include <Pegasus/Common/HashTable.h>

#include <gtest/gtest.h>

#include <memory>
#include <vector>

using namespace Pegasus;

namespace {

typedef HashTable<Uint32, String, EqualFunc<Uint32>, HashFunc<Uint32>> Numbers;

std::vector<Uint32> keys(const Numbers& table) {
    std::vector<Uint32> r;
    for (Numbers::Iterator i = table.start(); i; i++) {
        r.push_back(i.key());
        String value;
        EXPECT_TRUE(table.lookup(i.key(), value));
        EXPECT_TRUE(value == i.value());
    }
    return r;
}

typedef std::vector<Uint32> V;

TEST(HashTable, IteratesChainsInOrderOfInsertion) {
    Numbers table(4);
    EXPECT_EQ(V{}, keys(table));
    for (const Uint32 key : {7u, 2u, 3u, 6u, 11u, 0u})
        EXPECT_TRUE(table.insert(key, "v"));
    EXPECT_EQ((V{0, 2, 6, 7, 3, 11}), keys(table));
    EXPECT_TRUE(table.remove(3));
    EXPECT_FALSE(table.remove(3));
    EXPECT_TRUE(table.remove(11));
    EXPECT_TRUE(table.remove(2));
    EXPECT_TRUE(table.insert(3, "again"));
    EXPECT_EQ((V{0, 6, 7, 3}), keys(table));
    EXPECT_EQ(4u, table.size());
}

TEST(HashTable, KeepsTheFirstValue) {
    Numbers table;
    String value("unchanged");
    EXPECT_FALSE(table.lookup(1, value));
    EXPECT_TRUE(value == "unchanged");
    EXPECT_TRUE(table.insert(1, "one"));
    EXPECT_FALSE(table.insert(1, "other"));
    EXPECT_TRUE(table.contains(1));
    EXPECT_FALSE(table.contains(33));
    String* stored = nullptr;
    EXPECT_FALSE(table.lookupReference(33, stored));
    EXPECT_EQ(nullptr, stored);
    ASSERT_TRUE(table.lookupReference(1, stored));
    EXPECT_TRUE(*stored == "one");
    stored->append("!");
    EXPECT_TRUE(table.lookup(1, value));
    EXPECT_TRUE(value == "one!");
}

TEST(HashTable, CopiesAreSeparate) {
    Numbers table(2);
    for (const Uint32 key : {1u, 2u, 3u, 5u})
        table.insert(key, "v");
    Numbers copy(table), assigned;
    assigned = table;
    table.remove(3);
    copy.insert(9, "w");
    EXPECT_EQ((V{2, 1, 5}), keys(table));
    EXPECT_EQ((V{2, 1, 3, 5, 9}), keys(copy));
    EXPECT_EQ((V{2, 1, 3, 5}), keys(assigned));
    copy = copy;
    copy.clear();
    EXPECT_EQ(V{}, keys(copy));
    EXPECT_EQ(0u, copy.size());
}

TEST(HashTable, ReleasesItsValues) {
    typedef HashTable<Uint32, std::shared_ptr<int>, EqualFunc<Uint32>, HashFunc<Uint32>> Handles;
    const auto value = std::make_shared<int>(1);
    {
        Handles table(1);
        for (Uint32 i = 0; i < 100000; i += 20000)
            table.insert(i, value);
        EXPECT_EQ(6, value.use_count());
        table.remove(20000);
        EXPECT_EQ(5, value.use_count());
    }
    EXPECT_EQ(1, value.use_count());
}

// Keys are equal by E within the chain of their hash code, and nowhere else.
TEST(HashTable, ComparesTheChainOnly) {
    EXPECT_EQ(5u * (5 * 'a' + 'b') + 0xE9, HashFunc<String>::hash("ab\xc3\xa9"));
    typedef HashTable<String, int, EqualNoCaseFunc, HashFunc<String>> Texts;
    for (const Uint32 chains : {8u, 16u, 32u}) {
        Texts table(chains);
        table.insert("Name.Key=1", 1);
        EXPECT_TRUE(table.contains("nAME.kEY=1")) << chains;
    }
    Texts odd(31);
    odd.insert("A", 1);
    EXPECT_FALSE(odd.contains("a"));
    Texts one(0);  // still has a chain
    one.insert("A", 1);
    EXPECT_TRUE(one.contains("a"));
}

TEST(HashTable, ObjectPathKeys) {
    HashTable<CIMObjectPath, int, EqualFunc<CIMObjectPath>, HashFunc<CIMObjectPath>> table;
    table.insert(CIMObjectPath("A.k=1,l=\"x\""), 1);
    EXPECT_TRUE(table.contains(CIMObjectPath("a.L=\"x\",K=1")));
    EXPECT_FALSE(table.contains(CIMObjectPath("A.k=1,l=\"X\"")));
}

}  // namespace
