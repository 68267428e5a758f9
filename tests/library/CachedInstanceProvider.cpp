// SPDX-FileCopyrightText: The velmar_remote authors
// SPDX-License-Identifier: MIT

#include "Common/CachedInstanceProvider.h"

#include <Pegasus/Common/Exception.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <mutex>
#include <thread>
#include <vector>

#include <velmar_kit/RecordingHandlers.h>
#include "support/LinkServer.h"
#include "support/TraceFile.h"

using namespace Pegasus;
using namespace support;
using velmar_kit::InstanceRecorder;
using velmar_kit::ObjectPathRecorder;
using velmar_kit::PlainRecorder;
using velmar_remote::CachedInstanceProvider;

namespace {

typedef Open<CachedInstanceProvider> Cached;

template <class F>
std::string codeAndMessage(F call) {
    try {
        call();
    } catch (const CIMException& e) {
        return std::to_string(e.getCode()) + " " + text(e.getMessage());
    }
    return "no exception";
}

}  // namespace

// ---- Against recording handlers, without a server -------------------------------------------

class CachedInstanceProviderTest : public ::testing::Test {
 protected:
    CachedInstanceProviderTest() : provider("T_Thing") {
        provider._cache.setIsAP();  // removal without a server
        provider._cache.insert(makeThing("a"));
    }
    void get(const std::string& p, InstanceRecorder& handler) {
        provider.getInstance(context, path(p), false, false, wanted, handler);
    }
    void enumerate(InstanceRecorder& handler) {
        provider.enumerateInstances(context, path("Whatever_Class"), false, false, wanted, handler);
    }

    OperationContext context;
    CIMPropertyList wanted;
    Cached provider;
};

TEST_F(CachedInstanceProviderTest, GetDeliversTheCachedHandleAfterFilling) {
    int fills = 0;
    Array<CIMName> names;
    names.append("Size");
    wanted = CIMPropertyList(names);
    provider.fill = [&](Array<CIMInstance>& instances, const CIMPropertyList& list) {
        fills++;
        EXPECT_EQ(list.size(), 1u);
        ASSERT_EQ(instances.size(), 1u);
        if (instances[0].findProperty(CIMName("Filled")) == PEG_NOT_FOUND) {
            add(instances[0], "Filled", std::to_string(fills).c_str());
        }
    };
    InstanceRecorder first, second;
    get("//else/root/other:T_Thing.Name=\"a\"", first);
    get(thing("a"), second);
    EXPECT_EQ(first.calls, "processing deliver complete");
    EXPECT_EQ(text(first.delivered.at(0).getPath()), full(thing("a")));
    EXPECT_EQ(property(second.delivered.at(0), "Filled"), "1");  // kept in the cache
    EXPECT_EQ(fills, 2);
}

TEST_F(CachedInstanceProviderTest, GetOfWhatIsNotCached) {
    InstanceRecorder handler;
    EXPECT_EQ(codeAndMessage([&] { get(thing("b"), handler); }), "6 ");
    EXPECT_EQ(handler.calls, "processing");

    Cached unnamed;
    unnamed._cache.setIsAP();
    unnamed._cache.insert(makeThing("a"));
    EXPECT_THROW(unnamed.getInstance(context, path(thing("a")), false, false, wanted, handler),
                 InvalidNameException);
}

TEST_F(CachedInstanceProviderTest, EnumerateDeliversEverythingWhateverTheClass) {
    provider._cache.insert(makeThing("b", "T_Part"));
    size_t filled = 0;
    provider.fill = [&](Array<CIMInstance>& instances, const CIMPropertyList&) {
        filled = instances.size();
    };
    InstanceRecorder instances;
    enumerate(instances);
    EXPECT_EQ(instances.calls, "processing deliver[2] complete");
    EXPECT_EQ(filled, 2u);

    ObjectPathRecorder names;
    provider.enumerateInstanceNames(context, path("Whatever_Class"), names);
    EXPECT_EQ(names.calls, "processing deliver[2] complete");
    std::vector<std::string> texts{text(names.delivered[0]), text(names.delivered[1])};
    std::sort(texts.begin(), texts.end());
    EXPECT_EQ(texts, (std::vector<std::string>{thing("b", "T_Part"), thing("a")}));
}

TEST_F(CachedInstanceProviderTest, EmptyCacheDeliversNothing) {
    PlainRecorder deleted;
    provider.deleteInstance(context, path(thing("a")), deleted);
    provider.deleteInstance(context, path(thing("never cached")), deleted);
    EXPECT_EQ(deleted.calls, "processing complete processing complete");
    bool filled = false;
    provider.fill = [&](Array<CIMInstance>&, const CIMPropertyList&) { filled = true; };
    InstanceRecorder instances;
    ObjectPathRecorder names;
    enumerate(instances);
    provider.enumerateInstanceNames(context, path("T_Thing"), names);
    EXPECT_EQ(instances.calls, "processing complete");
    EXPECT_EQ(names.calls, "processing complete");
    EXPECT_FALSE(filled);
}

TEST_F(CachedInstanceProviderTest, ModifyIsRefusedUntouched) {
    PlainRecorder handler;
    EXPECT_EQ(codeAndMessage([&] {
                  provider.modifyInstance(context, path(thing("a")), makeThing("a"), false, wanted,
                                          handler);
              }),
              "7 CachedInstanceProvider::modifyInstance");
    EXPECT_EQ(handler.calls, "");
}

TEST_F(CachedInstanceProviderTest, CreateWithoutServerCachesNothing) {
    ObjectPathRecorder handler;
    EXPECT_THROW(provider.createInstance(context, path("T_Thing"), makeThing("b"), handler),
                 CannotConnectException);
    EXPECT_EQ(handler.calls, "processing");
    EXPECT_FALSE(provider._cache.contains(path(thing("b"))));
}

TEST_F(CachedInstanceProviderTest, TerminateDeletesAfterItsRecord) {
    bool destroyed = false;
    Cached* const own = new Cached("T_Thing");
    own->onDestroy = [&] { destroyed = true; };
    TraceFile trace;
    CIMOMHandle cimom;
    own->initialize(cimom);
    own->terminate();
    EXPECT_TRUE(destroyed);
    EXPECT_EQ(trace.texts(),
              (std::vector<std::string>{"Entering method CachedInstanceProvider::initialize",
                                        "Exiting method CachedInstanceProvider::initialize",
                                        "Entering method CachedInstanceProvider::terminate",
                                        "Exiting method CachedInstanceProvider::terminate"}));
}

TEST_F(CachedInstanceProviderTest, TracesBothHooksAndNoExitOnFailure) {
    TraceFile trace;
    InstanceRecorder handler;
    get(thing("a"), handler);
    const std::vector<std::string> texts = trace.texts();
    EXPECT_EQ(std::count(texts.begin(), texts.end(),
                         "Entering method CachedInstanceProvider::fillProperties"),
              2);
    EXPECT_EQ(texts.front(), "Entering method CachedInstanceProvider::getInstance");
    EXPECT_EQ(texts.back(), "Exiting method CachedInstanceProvider::getInstance");
    EXPECT_THROW(get(thing("b"), handler), CIMException);
    EXPECT_EQ(trace.texts().back(), "Exiting method InstanceCache::lookup");
}

// ---- Through the server ----------------------------------------------------------------------

class CachedInstanceProviderServed : public ::testing::Test {
 protected:
    CachedInstanceProviderServed() { cache().insert(makeThing("a")); }
    velmar_remote::InstanceCache& cache() { return server.things->_cache; }
    CIMInstance newThing(const char* name) {
        CIMInstance instance(CIMName("T_Thing"));
        add(instance, "Name", name);
        return instance;
    }
    LinkServer server;
    Client client;
};

TEST_F(CachedInstanceProviderServed, CreateGetDelete) {
    CIMInstance mine = newThing("new");
    add(mine, "Size", CIMValue(Uint32(1)));
    EXPECT_EQ(text(client.createInstance(NAMESPACE, mine)), thing("new"));
    mine.removeProperty(mine.findProperty(CIMName("Size")));  // the cache has its own copy
    CIMInstance cached;
    ASSERT_TRUE(cache().lookup(path(thing("new")), cached));
    EXPECT_EQ(text(cached.getPath()), full(thing("new")));
    EXPECT_EQ(property(client.getInstance(NAMESPACE, path(thing("new"))), "Size"), "1");

    CIMInstance again = newThing("new");
    add(again, "Size", CIMValue(Uint32(2)));
    EXPECT_EQ(text(client.createInstance(NAMESPACE, again)), thing("new"));
    EXPECT_EQ(property(client.getInstance(NAMESPACE, path(thing("new"))), "Size"), "1");

    client.deleteInstance(NAMESPACE, path(thing("new")));
    EXPECT_EQ(codeAndMessage([&] { client.getInstance(NAMESPACE, path(thing("new"))); }),
              "6 CIM_ERR_NOT_FOUND");
    EXPECT_EQ(
        codeAndMessage([&] { client.modifyInstance(NAMESPACE, makeThing("a")); }).substr(0, 2),
        "7 ");
}

TEST_F(CachedInstanceProviderServed, CreateDeliversHostAndNamespaceToTheServer) {
    ObjectPathRecorder handler;
    CIMInstance mine = newThing("x");
    mine.setPath(path("root/elsewhere:T_Thing.Name=\"y\""));  // keys come from the properties
    server.things->createInstance(OperationContext(), path("T_Thing"), mine, handler);
    EXPECT_EQ(handler.calls, "processing deliver complete");
    EXPECT_EQ(text(handler.delivered.at(0)), full(thing("x")));
    add(mine, "Later", "mine only");
    CIMInstance cached;
    ASSERT_TRUE(cache().lookup(path(thing("x")), cached));
    EXPECT_EQ(propertyNames(cached), "Name");

    CIMInstance unknown(CIMName("T_Unknown"));
    EXPECT_EQ(codeAndMessage([&] {
                  server.things->createInstance(OperationContext(), path("T_Thing"), unknown,
                                                handler);
              }).substr(0, 2),
              "6 ");
}

// The way to complete instances that the header recommends: once, under a mutex. Under the thread
// sanitizer this also shows that what a client is given shares nothing with the cache.
TEST_F(CachedInstanceProviderServed, FourClientsWhileInstancesComeAndGo) {
    std::mutex filling;
    server.things->fill = [&](Array<CIMInstance>& instances, const CIMPropertyList&) {
        const std::lock_guard<std::mutex> lock(filling);
        for (Uint32 i = 0; i < instances.size(); i++) {
            if (instances[i].findProperty(CIMName("Note")) == PEG_NOT_FOUND) {
                CIMInstance edited = instances[i].clone();
                add(edited, "Note", "filled");
                cache().replace(edited);
            }
        }
    };
    std::atomic<int> wrong{0};
    std::vector<std::thread> clients;
    for (int t = 0; t < 4; t++) {
        clients.emplace_back([&, t] {
            Client own;
            for (int round = 0; round < 25; round++) {
                const std::string name = "t" + std::to_string(t) + "r" + std::to_string(round % 3);
                own.createInstance(NAMESPACE, newThing(name.c_str()));
                CIMInstance got = own.getInstance(NAMESPACE, path(thing(name)));
                wrong += property(got, "Name") != name;
                add(got, "Mine", "edited");  // a client edits what it got
                own.enumerateInstances(NAMESPACE, "T_Thing");
                wrong += own.enumerateInstanceNames(NAMESPACE, "T_Thing").size() < 2;
                own.deleteInstance(NAMESPACE, path(thing(name)));
            }
        });
    }
    for (auto& thread : clients) {
        thread.join();
    }
    EXPECT_EQ(wrong, 0);
    EXPECT_EQ(client.enumerateInstanceNames(NAMESPACE, "T_Thing").size(), 1u);
}
