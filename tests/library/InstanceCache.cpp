// SPDX-FileCopyrightText: The velmar_remote authors
// SPDX-License-Identifier: MIT

#include "Common/InstanceCache.h"

#include <Pegasus/Common/Exception.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <future>
#include <thread>
#include <vector>

#include "support/LinkServer.h"
#include "support/TraceFile.h"

using namespace Pegasus;
using namespace support;
using velmar_remote::InstanceCache;

namespace {

std::vector<std::string> sortedPaths(InstanceCache& cache) {
    Array<CIMObjectPath> paths;
    cache.getPaths(paths);
    std::vector<std::string> texts;
    for (Uint32 i = 0; i < paths.size(); i++) {
        texts.push_back(text(paths[i]));
    }
    std::sort(texts.begin(), texts.end());
    return texts;
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

}  // namespace

class InstanceCacheTest : public ::testing::Test {
 protected:
    InstanceCacheTest() { cache.setIsAP(); }  // removal without a server
    InstanceCache cache;
};

TEST_F(InstanceCacheTest, KeysLackHostAndNamespaceInstancesKeepTheirPath) {
    cache.insert(marked("//h/root/x:A.k=1", "one"));
    for (const char* same : {"A.k=1", "//other/root/y:A.k=1", "root/z:a.K=0x1"}) {
        // A number written otherwise is equal but hashes elsewhere.
        EXPECT_EQ(cache.contains(path(same)), std::string(same).find("0x") == std::string::npos)
            << same;
    }
    EXPECT_EQ(sortedPaths(cache), std::vector<std::string>{"A.k=1"});
    Array<CIMInstance> instances;
    ASSERT_TRUE(cache.getInstances(instances));
    EXPECT_EQ(text(instances[0].getPath()), "//h/root/x:A.k=1");
}

TEST_F(InstanceCacheTest, LetterCaseOfNamesDoesNotMatter) {
    // Found in tables of 32 chains only: the texts hash differently.
    cache.insert(marked("Abc_Def.Name=\"x\",other=2", "one"));
    EXPECT_EQ(markAt(cache, "aBC_dEF.nAME=\"x\",OTHER=2"), "one");
    EXPECT_EQ(markAt(cache, "Abc_Def.Name=\"X\",other=2"), "(absent)");
}

TEST_F(InstanceCacheTest, FirstInsertWinsReplaceSwapsRemoveForgets) {
    cache.replace(marked("A.k=1", "early"));
    EXPECT_EQ(markAt(cache, "A.k=1"), "(absent)");
    cache.insert(marked("A.k=1", "first"));
    cache.insert(marked("A.k=1", "second"));
    EXPECT_EQ(markAt(cache, "A.k=1"), "first");
    Array<CIMInstance> newer;
    newer.append(marked("//h/root/x:A.k=1", "third"));
    newer.append(marked("A.k=2", "unknown"));
    cache.replace(newer);
    EXPECT_EQ(markAt(cache, "A.k=1"), "third");
    EXPECT_EQ(sortedPaths(cache), std::vector<std::string>{"A.k=1"});
    cache.remove(path("root/other:A.k=1"));
    EXPECT_FALSE(cache.contains(path("A.k=1")));
    EXPECT_THROW(cache.insert(CIMInstance()), UninitializedObjectException);
}

TEST_F(InstanceCacheTest, EmptyCacheLeavesOutputsAlone) {
    Array<CIMInstance> instances(1, instanceAt("A.k=1"));
    Array<CIMObjectPath> paths(1, path("A.k=1"));
    CIMInstance instance = instanceAt("A.k=9");
    EXPECT_FALSE(cache.getInstances(instances));
    EXPECT_FALSE(cache.getPaths(paths));
    EXPECT_FALSE(cache.lookup(path("A.k=1"), instance));
    EXPECT_EQ(instances.size(), 1u);
    EXPECT_EQ(paths.size(), 1u);
    EXPECT_EQ(text(instance.getPath()), "A.k=9");

    cache.insert(marked("A.k=2", "two"));
    EXPECT_TRUE(cache.getInstances(instances));
    EXPECT_TRUE(cache.getPaths(paths));
    EXPECT_EQ(instances.size(), 1u);  // replaced, not appended to
    EXPECT_EQ(text(paths[0]), "A.k=2");
}

TEST_F(InstanceCacheTest, HandlesAreShared) {
    CIMInstance mine = marked("A.k=1", "one");
    cache.insert(mine);
    add(mine, "Later", "seen");
    CIMInstance found;
    ASSERT_TRUE(cache.lookup(path("A.k=1"), found));
    EXPECT_EQ(property(found, "Later"), "seen");
}

TEST_F(InstanceCacheTest, ClearRemovesEverything) {
    for (int i = 0; i < 100; i++) {
        cache.insert(instanceAt("A.k=" + std::to_string(i)));
    }
    cache.clear();
    EXPECT_TRUE(sortedPaths(cache).empty());
    cache.clear();
}

TEST_F(InstanceCacheTest, WritesTraceRecords) {
    TraceFile trace;
    cache.insert(instanceAt("//h/root/x:A.k=\"50%s\""));
    cache.insert(instanceAt("A.k=\"50%s\""));
    CIMInstance found;
    cache.lookup(path("A.k=\"50%s\""), found);
    cache.replace(instanceAt("A.k=\"50%s\""));
    cache.remove(path("root/y:A.k=\"50%s\""));
    EXPECT_EQ(trace.texts(),
              (std::vector<std::string>{
                  "Entering method InstanceCache::insert",
                  "Inserting into cache: A.k=\"50%s\"",
                  "Exiting method InstanceCache::insert",
                  "Entering method InstanceCache::insert",  // the key is there: no detail
                  "Exiting method InstanceCache::insert",
                  "Entering method InstanceCache::lookup",
                  "Found in cache: //h/root/x:A.k=\"50%s\"",
                  "Exiting method InstanceCache::lookup",
                  "Entering method InstanceCache::replace",
                  "Replacing in cache: A.k=\"50%s\"",
                  "Exiting method InstanceCache::replace",
                  "Entering method InstanceCache::remove",
                  "Removing from cache: A.k=\"50%s\"",
                  "Exiting method InstanceCache::remove",
              }));
}

// Every thread owns some keys, which it inserts, replaces and removes, and reads everything: what
// it owns must be there, and a thread's view of its own keys must never be another's.
TEST_F(InstanceCacheTest, EightThreads) {
    std::atomic<int> wrong{0};
    std::vector<std::thread> threads;
    for (int t = 0; t < 8; t++) {
        threads.emplace_back([&, t] {
            const std::string key = "A.r=\"root/x:B.t=" + std::to_string(t) + "\",k=";
            for (int round = 0; round < 200; round++) {
                const std::string mine = key + std::to_string(round % 5);
                cache.insert(marked(mine, "inserted"));
                wrong += markAt(cache, mine) != "inserted";
                cache.replace(marked(mine, "replaced"));
                wrong += markAt(cache, mine) != "replaced";
                Array<CIMInstance> all;
                cache.getInstances(all);
                Array<CIMObjectPath> paths;
                cache.getPaths(paths);
                for (Uint32 i = 0; i < paths.size(); i++) {
                    CIMInstance found;
                    cache.lookup(paths[i], found);
                }
                cache.remove(path(mine));
                wrong += cache.contains(path(mine));
            }
        });
    }
    for (auto& thread : threads) {
        thread.join();
    }
    EXPECT_EQ(wrong, 0);
    EXPECT_TRUE(sortedPaths(cache).empty());
}

TEST(InstanceCacheAlone, RemovalWithoutServerFailsAfterTheEntryIsGone) {
    InstanceCache cache;
    cache.remove(path("A.k=1"));  // not cached: no connection is tried
    for (const char* p : {"A.k=1", "A.k=2", "A.k=3"}) {
        cache.insert(instanceAt(p));
    }
    TraceFile trace;
    EXPECT_THROW(cache.remove(path("A.k=2")), CannotConnectException);
    EXPECT_EQ(trace.texts(), (std::vector<std::string>{"Entering method InstanceCache::remove",
                                                       "Removing from cache: A.k=2"}));
    EXPECT_EQ(sortedPaths(cache), (std::vector<std::string>{"A.k=1", "A.k=3"}));
    EXPECT_THROW(cache.clear(), CannotConnectException);
    EXPECT_EQ(sortedPaths(cache).size(), 1u);  // the paths after the failing one stay
}

// ---- The cascade -----------------------------------------------------------------------------

class InstanceCacheCascade : public ::testing::Test {
 protected:
    InstanceCacheCascade() {
        for (const char* name : {"a", "b", "c"}) {
            cache().insert(makeThing(name));
        }
        for (const char* pair : {"ab", "ac", "bc"}) {
            links().insert(makeLink(full(thing(std::string(1, pair[0]))),
                                    full(thing(std::string(1, pair[1])))));
        }
    }
    InstanceCache& cache() { return server.things->_cache; }
    InstanceCache& links() { return server.links->_cache; }
    LinkServer server;
};

TEST_F(InstanceCacheCascade, DeletesWhatRefersToTheRemovedInstance) {
    cache().remove(path(full(thing("a"))));
    EXPECT_EQ(server.arrived("referenceNames"), 1);
    EXPECT_EQ(server.arrived("deleteInstance"), 2);  // and none of them cascades again
    EXPECT_EQ(sortedPaths(links()).size(), 1u);
    EXPECT_TRUE(links().contains(makeLink(full(thing("b")), full(thing("c"))).getPath()));

    server.forget();
    cache().remove(path(thing("a")));
    EXPECT_EQ(server.arrived("referenceNames"), 0);
}

TEST_F(InstanceCacheCascade, ClearCascadesOncePerInstance) {
    cache().clear();
    EXPECT_EQ(server.arrived("referenceNames"), 3);
    EXPECT_EQ(server.arrived("deleteInstance"), 3);
    EXPECT_TRUE(sortedPaths(links()).empty());
}

TEST_F(InstanceCacheCascade, FailureHalfWayKeepsWhatWasDone) {
    std::atomic<int> deletions{0};
    server.links->beforeDelete = [&] {
        if (++deletions == 2) {
            throw CIMException(CIM_ERR_ACCESS_DENIED, "not this one");
        }
    };
    try {
        cache().remove(path(full(thing("a"))));
        FAIL() << "no exception";
    } catch (const CIMException& e) {
        EXPECT_EQ(e.getCode(), CIM_ERR_ACCESS_DENIED);
    }
    EXPECT_FALSE(cache().contains(path(thing("a"))));
    EXPECT_EQ(sortedPaths(links()).size(), 2u);
}

TEST_F(InstanceCacheCascade, LockIsFreeWhileTheServerWorks) {
    std::promise<void> deleting;
    std::promise<void> goOn;
    std::shared_future<void> released = goOn.get_future().share();
    std::once_flag once;
    server.links->beforeDelete = [&] {
        std::call_once(once, [&] { deleting.set_value(); });
        released.wait();
    };
    std::thread remover([&] { cache().remove(path(full(thing("a")))); });
    deleting.get_future().wait();
    // Would never return if the removing thread held the lock.
    EXPECT_TRUE(cache().contains(path(thing("b"))));
    cache().insert(makeThing("d"));
    EXPECT_FALSE(cache().contains(path(thing("a"))));
    goOn.set_value();
    remover.join();
}

TEST(InstanceCache, ManyChainsWantTheStoredLetterCase) {
    for (const Uint32 chains : {0u, 1u, 32u, 1000u, 4096u}) {
        InstanceCache cache(chains);
        cache.setIsAP();
        for (int i = 0; i < 200; i++) {
            cache.insert(makeThing(std::to_string(i)));
        }
        CIMInstance found;
        EXPECT_TRUE(cache.lookup(path(thing("77")), found)) << chains;
        EXPECT_EQ(cache.contains(path("t_thing.NAME=\"77\"")), chains <= 32) << chains;
    }
}
