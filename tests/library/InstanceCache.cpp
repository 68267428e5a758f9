// SPDX-FileCopyrightText: The velmar_remote authors
// SPDX-License-Identifier: MIT

#include "Common/InstanceCache.h"

#include <Pegasus/Common/Exception.h>
#include <gtest/gtest.h>
#include <stdlib.h>

#include <algorithm>
#include <new>
#include <vector>

#include "support/FakeServer.h"
#include "support/ScriptedServer.h"
#include "support/TraceFile.h"

using namespace Pegasus;
using namespace support;
using velmar_embedded::Operation;
using velmar_remote::InstanceCache;

namespace {

// The allocation of this thread that fails, counted down; 0 for none.
thread_local int failingAllocation = 0;

}  // namespace

void* operator new(size_t size) {
    if (failingAllocation > 0 && --failingAllocation == 0) {
        throw std::bad_alloc();
    }
    void* const memory = malloc(size);
    if (memory == nullptr) {
        throw std::bad_alloc();
    }
    return memory;
}
void operator delete(void* memory) noexcept { free(memory); }
void operator delete(void* memory, size_t) noexcept { free(memory); }

namespace {

std::string sortedPaths(InstanceCache& cache) {
    Array<CIMObjectPath> keys;
    cache.getPaths(keys);
    return paths(keys);
}

CIMInstance marked(const std::string& objectPath, const char* mark) {
    CIMInstance instance = instanceAt(objectPath);
    add(instance, "Mark", mark);
    return instance;
}

std::string markAt(InstanceCache& cache, const std::string& objectPath) {
    CIMInstance found;
    return cache.lookup(path(objectPath), found) ? property(found, "Mark") : "(absent)";
}

class Cache : public ::testing::Test {
 protected:
    Cache() { cache.setIsAP(); }  // removal without a server
    InstanceCache cache;
};

TEST_F(Cache, KeysLackHostAndNamespaceInstancesKeepTheirPath) {
    cache.insert(marked("//h/root/x:A.k=1", "one"));
    EXPECT_TRUE(cache.contains(path("A.k=1")));
    EXPECT_TRUE(cache.contains(path("//other/root/y:A.k=1")));
    // A number written otherwise is equal but hashes elsewhere.
    EXPECT_FALSE(cache.contains(path("A.k=0x1")));
    EXPECT_EQ(sortedPaths(cache), "A.k=1 ");
    Array<CIMInstance> instances;
    ASSERT_TRUE(cache.getInstances(instances));
    EXPECT_EQ(paths(instances), "//h/root/x:A.k=1 ");
    // Letter case of names does not matter, whose texts hash differently.
    cache.insert(marked("Abc_Def.Name=\"x\",other=2", "two"));
    EXPECT_EQ(markAt(cache, "aBC_dEF.nAME=\"x\",OTHER=2"), "two");
    EXPECT_EQ(markAt(cache, "Abc_Def.Name=\"X\",other=2"), "(absent)");
}

TEST_F(Cache, FirstInsertWinsReplaceSwapsRemoveForgets) {
    cache.replace(marked("A.k=1", "early"));
    EXPECT_EQ(markAt(cache, "A.k=1"), "(absent)");
    CIMInstance first = marked("A.k=1", "first");
    Array<CIMInstance> given(1, first);
    given.append(marked("A.k=1", "second"));
    given.append(marked("A.k=3", "three"));
    cache.insert(given);
    add(first, "Later", "");
    CIMInstance found;
    cache.lookup(path("A.k=1"), found);
    EXPECT_EQ(propertyNames(found), "Mark,Later") << "handles share their contents";
    EXPECT_EQ(markAt(cache, "A.k=1"), "first");
    given[0] = marked("A.k=2", "unknown");
    given[1] = marked("//h/root/x:A.k=1", "third");
    given.remove(2);
    cache.replace(given);
    EXPECT_EQ(markAt(cache, "A.k=1"), "third");
    EXPECT_EQ(sortedPaths(cache), "A.k=1 A.k=3 ");
    Array<CIMObjectPath> removed(1, path("root/other:A.k=1"));
    removed.append(path("A.k=3"));
    cache.remove(removed);
    EXPECT_EQ(sortedPaths(cache), "");
    EXPECT_THROW(cache.insert(CIMInstance()), UninitializedObjectException);
}

TEST_F(Cache, EmptyCacheLeavesOutputsAlone) {
    Array<CIMInstance> instances(1, instanceAt("A.k=1"));
    Array<CIMObjectPath> keys(1, path("A.k=1"));
    CIMInstance instance = instanceAt("A.k=9");
    EXPECT_FALSE(cache.getInstances(instances));
    EXPECT_FALSE(cache.getPaths(keys));
    EXPECT_FALSE(cache.lookup(path("A.k=1"), instance));
    EXPECT_EQ(paths(instances) + paths(keys) + text(instance.getPath()), "A.k=1 A.k=1 A.k=9");
    cache.insert(marked("A.k=2", "two"));
    EXPECT_TRUE(cache.getInstances(instances));
    EXPECT_TRUE(cache.getPaths(keys));
    EXPECT_EQ(paths(instances) + paths(keys), "A.k=2 A.k=2 ");  // replaced, not appended to
}

// Which chain an entry is in shows in the order of the keys, chain by chain.
TEST(Chains, AsManyAsAskedForInPowersOfTwo) {
    const auto expectChains = [](InstanceCache&& of, Uint32 chains) {
        for (int i = 0; i < 300; i++) {
            of.insert(instanceAt("A.k=\"" + std::to_string(i) + "\""));
        }
        Array<CIMObjectPath> keys;
        of.getPaths(keys);
        std::vector<Uint32> used;
        for (Uint32 i = 0; i < keys.size(); i++) {
            used.push_back(velmar_remote::PathHashFunc::hash(keys[i]) % chains);
        }
        EXPECT_TRUE(std::is_sorted(used.begin(), used.end())) << chains;
    };
    expectChains(InstanceCache(), 32);
    expectChains(InstanceCache(0), 32);
    expectChains(InstanceCache(33), 64);
    expectChains(InstanceCache(1000), 1024);
    expectChains(Open<velmar_remote::CachedInstanceProvider>("T_Thing", 1000)._cache, 1024);
    expectChains(Things("T_Thing", 1000)._cache, 1024);
    expectChains(Links("T_Link", "Left", "T_Thing", "Right", "T_Thing", 1000)._cache, 1024);
}

// A record is written before its change is made: what fails for want of memory has changed nothing.
TEST_F(Cache, WhatFailsHasNotBeenStored) {
    TraceFile trace;
    const CIMInstance newer = marked("A.k=1", "new"), other = marked("A.k=2", "other");
    int failures = 0;
    for (const bool replacing : {true, false}) {
        bool done = false;
        for (int n = 1; !done; n++) {
            cache.insert(marked("A.k=1", "old"));
            try {
                failingAllocation = n;
                replacing ? cache.replace(newer) : cache.insert(other);
                failingAllocation = 0;
                done = true;
            } catch (const std::bad_alloc&) {
                failures++;
                ASSERT_NE(markAt(cache, "A.k=1"), "new") << n;
                ASSERT_EQ(markAt(cache, "A.k=2"), "(absent)") << n;
            }
        }
        EXPECT_EQ(markAt(cache, replacing ? "A.k=1" : "A.k=2"), replacing ? "new" : "other");
        cache.clear();
    }
    EXPECT_GT(failures, 10);
}

// Every thread owns some keys, which it inserts, replaces and removes, and now and then reads
// everything: what it owns must be there, and its own keys must never be another's.
TEST_F(Cache, EightThreads) {
    inThreads(8, [&](int t) {
        const std::string key = "A.r=\"root/x:B.t=" + std::to_string(t) + "\",k=";
        std::vector<CIMInstance> older, newer;
        for (int k = 0; k < 20; k++) {
            older.push_back(marked(key + std::to_string(k), "inserted"));
            newer.push_back(marked(key + std::to_string(k), "replaced"));
        }
        int wrong = 0;
        for (int round = 0; round < 1000; round++) {
            const CIMObjectPath& mine = older[round % 20].getPath();
            CIMInstance found;
            cache.insert(older[round % 20]);
            wrong += !cache.lookup(mine, found) || property(found, "Mark") != "inserted";
            cache.replace(newer[round % 20]);
            wrong += !cache.lookup(mine, found) || property(found, "Mark") != "replaced";
            Array<CIMInstance> all;
            Array<CIMObjectPath> keys;
            if (round % 10 == 0) {
                wrong += !cache.getInstances(all) || !cache.getPaths(keys);
            }
            cache.remove(mine);
            wrong += cache.contains(mine);
        }
        EXPECT_EQ(wrong, 0);
    });
    EXPECT_EQ(sortedPaths(cache), "");
}

// ---- The cascade -------------------------------------------------------------------------------

class Cascade : public ::testing::Test {
 protected:
    Cascade() {
        for (const char* name : {"a", "b", "c"}) {
            cache.insert(makeThing(name));
        }
    }
    InstanceCache cache;
};

TEST_F(Cascade, WithoutServerFailsAfterTheEntryIsGone) {
    cache.remove(path(thing("z")));  // not cached: no connection is tried
    EXPECT_THROW(cache.remove(path(thing("b"))), CannotConnectException);
    EXPECT_EQ(sortedPaths(cache), thing("a") + " " + thing("c") + " ");
    EXPECT_THROW(cache.clear(), CannotConnectException);
    EXPECT_TRUE(cache.contains(path(thing("a"))) != cache.contains(path(thing("c"))))
        << "the paths after the failing one stay";
}

TEST_F(Cascade, AsksWithTheCallersPathAndDeletesInOrderUpToAFailure) {
    FakeServer server;
    std::string failing = "none";
    server.answer = [&](const Request& request, Answer& answer) {
        // Would never return under the lock.
        std::thread([&] { EXPECT_FALSE(cache.contains(path(thing("a")))); }).join();
        if (request.operation == Operation::DeleteInstance && text(request.path) == failing) {
            throw CIMException(CIM_ERR_ACCESS_DENIED, "");
        }
        for (const char* name : {"3", "1", "2"}) {
            answer.paths.append(path(full(thing(name, "T_Link"))));
        }
    };
    cache.remove(path("//else/root/y:T_Thing.Name=\"a\""));
    const auto deleting = [](const char* name) {
        return "deleteInstance " + full(thing(name, "T_Link")) + "\n";
    };
    EXPECT_EQ(server.taken(), "referenceNames //else/root/y:T_Thing.Name=\"a\"\n" + deleting("3") +
                                  deleting("1") + deleting("2"));
    failing = full(thing("1", "T_Link"));
    EXPECT_EQ(outcome([&] { cache.remove(path(thing("b"))); }), "2 CIM_ERR_ACCESS_DENIED");
    EXPECT_EQ(server.taken(),
              "referenceNames " + thing("b") + "\n" + deleting("3") + deleting("1"));
    failing.clear();
    cache.insert(makeThing("b"));
    cache.clear();
    EXPECT_EQ(sortedPaths(cache), "");
    EXPECT_EQ(server.log.size(), 2u * 4);
}

}  // namespace
