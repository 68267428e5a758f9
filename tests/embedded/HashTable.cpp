// SPDX-FileCopyrightText: The velmar_remote authors
// SPDX-License-Identifier: MIT

#include <Pegasus/Common/CIMObjectPath.h>
#include <Pegasus/Common/HashTable.h>

#include <gtest/gtest.h>

#include <memory>
#include <vector>

using namespace Pegasus;

namespace {

typedef HashTable<Uint32, String, EqualFunc<Uint32>, HashFunc<Uint32>> Numbers;
typedef std::vector<Uint32> V;

V keys(const Numbers& table) {
    V r;
    for (Numbers::Iterator i = table.start(); i; i++) {
        r.push_back(i.key());
        String value;
        EXPECT_TRUE(table.lookup(i.key(), value));
        EXPECT_TRUE(value == i.value());
    }
    EXPECT_EQ(r.size(), table.size());
    return r;
}

TEST(HashTable, IteratesChainsInOrderOfInsertion) {
    Numbers table(4);
    for (const Uint32 key : {7u, 2u, 3u, 6u, 11u, 0u}) {
        EXPECT_TRUE(table.insert(key, "v"));
    }
    EXPECT_EQ((V{0, 2, 6, 7, 3, 11}), keys(table));
    Numbers copy(table), assigned;
    assigned = table;
    EXPECT_TRUE(table.remove(3));
    EXPECT_FALSE(table.remove(3));
    EXPECT_TRUE(table.remove(11));
    EXPECT_TRUE(table.remove(2));
    EXPECT_TRUE(table.insert(3, "again"));
    EXPECT_EQ((V{0, 6, 7, 3}), keys(table));
    copy.insert(9, "w");
    EXPECT_EQ((V{0, 9, 2, 6, 7, 3, 11}), keys(copy));
    EXPECT_EQ((V{0, 2, 6, 7, 3, 11}), keys(assigned));
}

TEST(HashTable, KeepsTheFirstValueUntilItsRemoval) {
    const auto value = std::make_shared<int>(1);
    auto found = std::make_shared<int>(2), *stored = &found;
    {
        HashTable<Uint32, std::shared_ptr<int>, EqualFunc<Uint32>, HashFunc<Uint32>> table(1);
        for (Uint32 i = 0; i < 5; i++) {
            EXPECT_TRUE(table.insert(i, value));
        }
        EXPECT_FALSE(table.insert(1, nullptr));
        EXPECT_FALSE(table.lookup(7, found) || table.lookupReference(7, stored));
        EXPECT_EQ(2, **stored);
        EXPECT_EQ(6, value.use_count());
        table.remove(2);
        EXPECT_EQ(5, value.use_count());
        ASSERT_TRUE(table.lookupReference(3, stored));
        stored->reset();
        EXPECT_TRUE(table.lookup(3, found));
        EXPECT_EQ(nullptr, found);
    }
    EXPECT_EQ(1, value.use_count());
}

// Keys are equal by E within the chain of their hash code, and nowhere else.
TEST(HashTable, ComparesTheChainOnly) {
    EXPECT_EQ(5u * (5 * 'a' + 'b') + 0xE9, HashFunc<String>::hash("ab\xc3\xa9"));
    typedef HashTable<String, int, EqualNoCaseFunc, HashFunc<String>> Texts;
    Texts even, odd(31), one(0);  // the last still has a chain
    for (Texts* table : {&even, &odd, &one}) {
        table->insert("A", 1);
    }
    EXPECT_TRUE(even.contains("a") && one.contains("a"));
    EXPECT_FALSE(odd.contains("a"));

    HashTable<CIMObjectPath, int, EqualFunc<CIMObjectPath>, HashFunc<CIMObjectPath>> paths;
    paths.insert(CIMObjectPath("A.k=1,l=\"x\""), 1);
    EXPECT_TRUE(paths.contains(CIMObjectPath("a.L=\"x\",K=1")));
    EXPECT_FALSE(paths.contains(CIMObjectPath("A.k=1,l=\"X\"")));
}

}  // namespace
