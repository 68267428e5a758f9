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
using velmar_remote::InstanceCache;

// The allocation of this thread that fails, counted down; 0 for none.
static thread_local int failingAllocation = 0;

__attribute__((noinline)) void* operator new(size_t size) {
    void* const memory = failingAllocation > 0 && --failingAllocation == 0 ? nullptr : malloc(size);
    if (memory == nullptr) {
        throw std::bad_alloc();
    }
    return memory;
}
// The address sanitizer has one of its own for this, which does not go with the `free` below.
void* operator new(size_t size, const std::nothrow_t&) noexcept { return malloc(size); }
__attribute__((noinline)) void operator delete(void* memory) noexcept { free(memory); }
__attribute__((noinline)) void operator delete(void* memory, size_t) noexcept { free(memory); }

namespace {

CIMInstance marked(const std::string& objectPath, const char* mark) {
    CIMInstance instance = instanceAt(objectPath);
    add(instance, "Mark", mark);
    return instance;
}

class Cache : public ::testing::Test {
 protected:
    Cache() { cache.setIsAP(); }  // removal without a server

    /// The mark of the instance there.
    std::string at(const std::string& objectPath) {
        CIMInstance found;
        return cache.lookup(path(objectPath), found) ? property(found, "Mark") : "(absent)";
    }
    std::string keys() {
        Array<CIMObjectPath> all;
        return cache.getPaths(all) ? paths(all) : "";
    }
    InstanceCache cache;
};

TEST_F(Cache, KeysLackHostAndNamespaceInstancesKeepTheirPath) {
    cache.insert(marked("//h/root/x:A.k=1", "one"));
    EXPECT_TRUE(cache.contains(path("//other/root/y:A.k=1")));
    EXPECT_EQ(keys(), "A.k=1 ");
    Array<CIMInstance> instances;
    ASSERT_TRUE(cache.getInstances(instances));
    EXPECT_EQ(paths(instances), "//h/root/x:A.k=1 ");
    // The letter case of names does not matter, although their texts hash differently.
    cache.insert(marked("Abc_Def.Name=\"x\",other=2", "two"));
    EXPECT_EQ(at("aBC_dEF.nAME=\"x\",OTHER=2"), "two");
    EXPECT_EQ(at("Abc_Def.Name=\"X\",other=2"), "(absent)");
}

TEST_F(Cache, FirstInsertWinsReplaceSwapsRemoveForgets) {
    cache.replace(marked("A.k=1", "early"));
    EXPECT_EQ(at("A.k=1"), "(absent)");
    CIMInstance first = marked("A.k=1", "first");
    Array<CIMInstance> given(1, first);
    given.append(marked("A.k=1", "second"));
    given.append(marked("A.k=3", "three"));
    cache.insert(given);
    EXPECT_EQ(at("A.k=1"), "first");
    velmar_remote::replaceProp(first, "Mark", CIMValue(String("edited")));
    EXPECT_EQ(at("A.k=1"), "edited") << "handles share their contents";
    given[0] = marked("A.k=2", "unknown");
    given[1] = marked("//h/root/x:A.k=1", "third");
    cache.replace(given);
    EXPECT_EQ(at("A.k=1"), "third");
    EXPECT_EQ(keys(), "A.k=1 A.k=3 ");
    cache.replace(marked("//h/root/x:a.K=1", "spelled"));
    EXPECT_EQ(keys(), "A.k=3 a.K=1 ") << "the key is that of the new instance";
    Array<CIMObjectPath> removed(1, path("root/other:A.k=1"));
    removed.append(path("A.k=3"));
    cache.remove(removed);
    EXPECT_EQ(keys(), "");
    EXPECT_THROW(cache.insert(CIMInstance()), UninitializedObjectException);
}

TEST_F(Cache, EmptyCacheLeavesOutputsAlone) {
    Array<CIMInstance> instances(1, instanceAt("A.k=1"));
    Array<CIMObjectPath> all(1, path("A.k=1"));
    CIMInstance instance = instanceAt("A.k=9");
    EXPECT_FALSE(cache.getInstances(instances) || cache.getPaths(all) ||
                 cache.lookup(path("A.k=1"), instance));
    EXPECT_EQ(paths(instances) + paths(all) + text(instance.getPath()), "A.k=1 A.k=1 A.k=9");
    cache.insert(marked("A.k=2", "two"));
    EXPECT_TRUE(cache.getInstances(instances) && cache.getPaths(all));
    EXPECT_EQ(paths(instances) + paths(all), "A.k=2 A.k=2 ");  // replaced, not appended to
}

TEST_F(Cache, HoldsThousandsWithoutRegardToLetterCaseOrSpelling) {
    for (int i = 0; i < 3000; i++) {
        const std::string n = std::to_string(i);
        cache.insert(marked("T_Thing.Name=\"n" + n + "\",Number=" + n, n.c_str()));
        cache.insert(marked("t_thing.NUMBER=" + n + ",NAME=\"n" + n + "\"", "other"));
    }
    Array<CIMObjectPath> all;
    ASSERT_TRUE(cache.getPaths(all));
    EXPECT_EQ(all.size(), 3000u);
    for (const int i : {0, 31, 32, 33, 1024, 2999}) {
        const std::string n = std::to_string(i);
        EXPECT_EQ(at("T_THING.name=\"n" + n + "\",number=" + n), n);
        EXPECT_EQ(at("T_Thing.Name=\"N" + n + "\",Number=" + n), "(absent)");
    }
    EXPECT_EQ(at("T_Thing.Name=\"n16\",Number=0x10"), "16") << "equal numbers";
    cache.remove(path("T_thing.nAME=\"n2999\",nUMBER=2999"));
    EXPECT_EQ(at("T_Thing.Name=\"n2999\",Number=2999"), "(absent)");
}

// A record is written before its change is made: what fails for want of memory has changed nothing.
TEST_F(Cache, WhatFailsHasNotBeenStored) {
    TraceFile trace;
    const CIMInstance newer = marked("A.k=1", "new"), other = marked("A.k=2", "other");
    for (const bool replacing : {true, false}) {
        for (int n = 1; at("A.k=1") != "new" && at("A.k=2") != "other"; n++) {
            cache.insert(marked("A.k=1", "old"));
            failingAllocation = n;
            try {
                replacing ? cache.replace(newer) : cache.insert(other);
                failingAllocation = 0;
            } catch (const std::bad_alloc&) {
                ASSERT_TRUE(at("A.k=1") != "new" && at("A.k=2") == "(absent)") << n;
            }
        }
        EXPECT_EQ(at("A.k=1") + at("A.k=2"), replacing ? "new(absent)" : "oldother");
        cache.clear();
    }
}

TEST_F(Cache, EightThreads) {
    inThreads(8, [&](int t) {
        const CIMInstance mine = marked("A.k=" + std::to_string(t), "mine");
        for (int round = 0; round < 1000; round++) {
            Array<CIMInstance> instances;
            Array<CIMObjectPath> all;
            cache.insert(mine);
            cache.replace(mine);
            ASSERT_TRUE(cache.contains(mine.getPath()) && cache.getInstances(instances) &&
                        cache.getPaths(all) && at(text(mine.getPath())) == "mine");
            cache.remove(mine.getPath());
        }
    });
    EXPECT_EQ(keys(), "");
}

class Cascade : public Cache {
 protected:
    InstanceCache things;
    Cascade() {
        for (const char* name : {"a", "b", "c"}) {
            things.insert(makeThing(name));
        }
    }
};

TEST_F(Cascade, WithoutServerFailsAfterTheEntryIsGone) {
    things.remove(path(thing("z")));  // not cached: no connection is tried
    EXPECT_THROW(things.remove(path(thing("b"))), CannotConnectException);
    EXPECT_FALSE(things.contains(path(thing("b"))));
    EXPECT_THROW(things.clear(), CannotConnectException);
    EXPECT_NE(things.contains(path(thing("a"))), things.contains(path(thing("c"))))
        << "the paths after the failing one stay";
}

TEST_F(Cascade, AsksWithTheCallersPathAndDeletesInOrder) {
    FakeServer server;
    server.answer = [&](const Request&, Answer& answer) {
        // Would never return under the lock.
        std::thread([&] { EXPECT_FALSE(things.contains(path(thing("a")))); }).join();
        for (const char* name : {"3", "1", "2"}) {
            answer.paths.append(path(thing(name, "T_Link")));
        }
    };
    const std::string deleting = "deleteInstance T_Link.Name=";
    things.remove(path("//else/root/y:T_Thing.Name=\"a\""));
    EXPECT_EQ(server.taken(), "referenceNames //else/root/y:T_Thing.Name=\"a\"\n" + deleting +
                                  "\"3\"\n" + deleting + "\"1\"\n" + deleting + "\"2\"\n");
    things.insert(makeThing("a"));
    Array<CIMObjectPath> both(1, path(thing("a")));
    both.append(path(thing("c")));
    things.remove(both);
    EXPECT_EQ(server.log.at(0) + server.log.at(4),
              "referenceNames " + thing("a") + "referenceNames " + thing("c"));
    server.log.clear();
    things.insert(makeThing("c"));
    things.clear();
    EXPECT_EQ(server.log.size(), 8u);
}

}  // namespace
