// SPDX-FileCopyrightText: The velmar_remote authors
// SPDX-License-Identifier: MIT

#include "Common/CachedInstanceProvider.h"

#include <Pegasus/Common/Exception.h>
#include <gtest/gtest.h>

#include <mutex>
#include <vector>

#include <velmar_kit/RecordingHandlers.h>
#include "support/FakeServer.h"
#include "support/ScriptedServer.h"

using namespace Pegasus;
using namespace support;
using velmar_kit::InstanceRecorder;
using velmar_kit::ObjectPathRecorder;
using velmar_kit::PlainRecorder;

namespace {

typedef Open<velmar_remote::CachedInstanceProvider> Cached;

// ---- Without a server --------------------------------------------------------------------------

/// A provider that caches the thing a, and whose hook notes what it is asked for.
class CachedInstanceProvider : public ::testing::Test {
 protected:
    CachedInstanceProvider() {
        provider._cache.setIsAP();  // removal without a server
        provider._cache.insert(makeThing("a"));
        provider.fill = [this](const OperationContext& from, Array<CIMInstance>& instances,
                               const CIMPropertyList& list) {
            fills += std::to_string(instances.size()) + " " + asked(from, list) + ";";
            velmar_remote::addNullValue(instances[0], "Filled", CIMTYPE_STRING, false);
        };
    }
    CIMInstance get(const std::string& p, const char* wanted = "Size") {
        InstanceRecorder handler;
        const Array<CIMName> names(1, wanted);
        const std::string result = outcome([&] {
            provider.getInstance(context, path(p), false, false, CIMPropertyList(names), handler);
        });
        calls = handler.calls + " " + result;
        return handler.delivered.empty() ? CIMInstance() : handler.delivered[0];
    }

    const OperationContext context = callersContext();
    Cached provider{"T_Thing"};
    std::string fills, calls;
};

TEST_F(CachedInstanceProvider, GetsTheCachedHandleAfterFilling) {
    CIMInstance first = get("//else/root/other:t_thing.NAME=\"a\"");
    EXPECT_EQ(calls, "processing deliver complete ok");
    EXPECT_EQ(text(first.getPath()), full(thing("a")));
    add(first, "Mine", "");
    EXPECT_EQ(propertyNames(get(thing("a"), "Note")), "Name,Filled,Mine");
    EXPECT_EQ(fills, "1 caller {Size};1 caller {Note};");
    get(thing("b"));
    EXPECT_EQ(calls, "processing 6 ");
}

TEST_F(CachedInstanceProvider, EnumeratesEverythingWhateverTheClass) {
    provider._cache.insert(makeThing("b", "T_Part"));
    for (const char* expected : {"processing deliver[2] complete", "processing complete"}) {
        InstanceRecorder instances;
        ObjectPathRecorder names;
        provider.enumerateInstances(context, path("T_Other"), false, false,
                                    CIMPropertyList(Array<CIMName>(1, "Size")), instances);
        provider.enumerateInstanceNames(context, path("T_Other"), names);
        EXPECT_EQ(instances.calls, expected);
        EXPECT_EQ(names.calls, expected);
        EXPECT_EQ(fills, "2 caller {Size};") << "nothing is filled when there is nothing";
        for (const CIMObjectPath& name : names.delivered) {
            PlainRecorder deleted;
            EXPECT_EQ(text(name.getHost()) + text(name.getNameSpace().getString()), "");
            provider.deleteInstance(context, name, deleted);
            provider.deleteInstance(context, name, deleted);  // no error
            EXPECT_EQ(deleted.calls, "processing complete processing complete");
        }
    }
}

TEST_F(CachedInstanceProvider, RefusesWhatItCannotDo) {
    ObjectPathRecorder handler;
    EXPECT_EQ(outcome([&] {
                  provider.modifyInstance(context, path(thing("a")), makeThing("a"), false,
                                          CIMPropertyList(), handler);
              }),
              "7 CachedInstanceProvider::modifyInstance");
    EXPECT_EQ(handler.calls, "");
    EXPECT_THROW(provider.createInstance(context, path("T_Thing"), makeThing("b"), handler),
                 CannotConnectException);
    EXPECT_EQ(handler.calls, "processing");
    EXPECT_FALSE(provider._cache.contains(path(thing("b"))));
    Cached unnamed;
    InstanceRecorder instances;
    EXPECT_THROW(
        unnamed.getInstance(context, path(thing("a")), false, false, CIMPropertyList(), instances),
        InvalidNameException);
}

TEST_F(CachedInstanceProvider, TerminateDeletesIt) {
    bool destroyed = false;
    auto* const own = new Cached("T_Thing");
    own->onDestroy = [&] { destroyed = true; };
    own->terminate();
    EXPECT_TRUE(destroyed);
}

TEST_F(CachedInstanceProvider, CreatesACopyUnderThePathOfItsClassesKeys) {
    FakeServer server;
    CIMInstance mine("T_Part");
    add(mine, "Name", "x");
    mine.setPath(path("root/elsewhere:T_Part.Name=\"y\""));
    for (const char* size : {"1", "2"}) {
        add(mine, "Size", size);
        ObjectPathRecorder handler;
        provider.createInstance(context, path("T_Thing"), mine, handler);
        EXPECT_EQ(handler.calls, "processing deliver complete");
        EXPECT_EQ(text(handler.delivered.at(0)), full(thing("x", "T_Part")));
        EXPECT_EQ(server.taken(), "getClass T_Part qualifiers\n");
        velmar_remote::deleteProp(mine, "Size");
    }
    const CIMInstance cached = get(thing("x", "T_Part"));
    EXPECT_EQ(text(cached.getPath()), full(thing("x", "T_Part")));
    EXPECT_EQ(property(cached, "Size"), "1");
    EXPECT_EQ(fills, "1 caller {Size};") << "creating fills nothing";
    ObjectPathRecorder handler;
    EXPECT_EQ(outcome([&] {
                  provider.createInstance(context, path("T_Thing"), CIMInstance("T_Unknown"),
                                          handler);
              }),
              "6 CIM_ERR_NOT_FOUND: T_Unknown");
}

// ---- Through the server ------------------------------------------------------------------------

// The way to complete instances that the header recommends: once, under a mutex. Under the thread
// sanitizer this also shows that what a client is given shares nothing with the cache.
TEST(CachedInstanceProviderServed, ClientsWhileInstancesComeAndGo) {
    LinkServer server;
    std::mutex filling;
    velmar_remote::InstanceCache& cache = server.things->_cache;
    cache.insert(makeThing("a"));
    server.things->fill = [&](const OperationContext&, Array<CIMInstance>& instances,
                              const CIMPropertyList&) {
        const std::lock_guard<std::mutex> lock(filling);
        for (Uint32 i = 0; i < instances.size(); i++) {
            if (instances[i].findProperty(CIMName("Note")) == PEG_NOT_FOUND) {
                CIMInstance edited = instances[i].clone();
                add(edited, "Note", "filled");
                cache.replace(edited);
            }
        }
    };
    inThreads(4, [&](int t) {
        Client own;
        for (int round = 0; round < 20; round++) {
            const std::string name = "t" + std::to_string(t) + "r" + std::to_string(round % 3);
            CIMInstance mine("T_Thing");
            add(mine, "Name", name.c_str());
            EXPECT_EQ(text(own.createInstance(NAMESPACE, mine)), thing(name));
            CIMInstance got = own.getInstance(NAMESPACE, path(thing(name)));
            EXPECT_EQ(property(got, "Name"), name);
            add(got, "Mine", "edited");  // a client edits what it got
            own.enumerateInstances(NAMESPACE, "T_Thing");
            EXPECT_GE(own.enumerateInstanceNames(NAMESPACE, "T_Thing").size(), 2u);
            own.deleteInstance(NAMESPACE, path(thing(name)));
        }
    });
    Client client;
    EXPECT_EQ(paths(client.enumerateInstances(NAMESPACE, "T_Thing")), thing("a") + " ");
}

}  // namespace
