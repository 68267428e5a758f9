// SPDX-FileCopyrightText: The velmar_remote authors
// SPDX-License-Identifier: MIT

#include "Common/CachedInstanceProvider.h"

#include <Pegasus/Common/Exception.h>
#include <gtest/gtest.h>

#include <velmar_testing/RecordingHandlers.h>
#include "support/FakeServer.h"
#include "support/ScriptedServer.h"

using namespace Pegasus;
using namespace support;
using velmar_testing::InstanceRecorder;
using velmar_testing::ObjectPathRecorder;
using velmar_testing::PlainRecorder;

namespace {

typedef Open<velmar_remote::CachedInstanceProvider> Cached;

/// A provider that caches the thing a, and whose hook notes what it is asked for.
class CachedInstanceProvider : public ::testing::Test {
 protected:
    CachedInstanceProvider() {
        provider._cache.setIsAP();  // removal without a server
        provider._cache.insert(makeThing("a"));
        provider.fill = [this](const OperationContext& from, Array<CIMInstance>& instances,
                               const CIMPropertyList& list) {
            fills += std::to_string(instances.size()) + " " + asked(from, list) + " after " +
                     handler.calls + ";";
            velmar_remote::addNullValue(instances[0], "Filled", CIMTYPE_STRING, false);
        };
    }
    CIMInstance get(const std::string& p, const char* wanted = "Size") {
        handler = InstanceRecorder();
        const Array<CIMName> names(1, wanted);
        const std::string result = outcome([&] {
            provider.getInstance(context, path(p), false, false, CIMPropertyList(names), handler);
        });
        calls = handler.calls + " " + result;
        return handler.delivered.empty() ? CIMInstance() : handler.delivered[0];
    }

    const OperationContext context = callersContext();
    Cached provider{"T_Thing"};
    InstanceRecorder handler;
    std::string fills, calls;
};

TEST_F(CachedInstanceProvider, GetsTheCachedHandleAfterFilling) {
    CIMInstance first = get("//else/root/other:t_thing.NAME=\"a\"");
    EXPECT_EQ(calls, "processing deliver complete ok");
    EXPECT_EQ(text(first.getPath()), full(thing("a")));
    add(first, "Mine", "");
    EXPECT_EQ(propertyNames(get(thing("a"), "Note")), "Name,Filled,Mine");
    EXPECT_EQ(fills, "1 caller {Size} after processing;1 caller {Note} after processing;");
    get(thing("b"));
    EXPECT_EQ(calls, "processing 6 ");
}

TEST_F(CachedInstanceProvider, EnumeratesEverythingWhateverTheClass) {
    provider._cache.insert(makeThing("b", "T_Part"));
    for (const char* expected : {"processing deliver[2] complete", "processing complete"}) {
        handler = InstanceRecorder();
        ObjectPathRecorder names;
        provider.enumerateInstances(context, path("T_Other"), false, false,
                                    CIMPropertyList(Array<CIMName>(1, "Size")), handler);
        provider.enumerateInstanceNames(context, path("T_Other"), names);
        EXPECT_EQ(handler.calls, expected);
        EXPECT_EQ(names.calls, expected);
        EXPECT_EQ(fills, "2 caller {Size} after processing;")
            << "nothing is filled when there is nothing";
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
    ObjectPathRecorder paths;
    EXPECT_EQ(outcome([&] {
                  provider.modifyInstance(context, path(thing("a")), makeThing("a"), false,
                                          CIMPropertyList(), paths);
              }),
              "7 CachedInstanceProvider::modifyInstance");
    EXPECT_EQ(paths.calls, "");
    EXPECT_THROW(provider.createInstance(context, path("T_Thing"), makeThing("b"), paths),
                 CannotConnectException);
    EXPECT_EQ(paths.calls, "processing");
    EXPECT_FALSE(provider._cache.contains(path(thing("b"))));
    Cached unnamed;
    InstanceRecorder instances;
    EXPECT_THROW(
        unnamed.getInstance(context, path(thing("a")), false, false, CIMPropertyList(), instances),
        InvalidNameException);
}

TEST_F(CachedInstanceProvider, KeepsItsHandleAndDeletesItself) {
    FakeServer server;
    const auto held = std::make_shared<int>();
    auto* const own = new Cached("T_Thing");
    own->fill = [held](const OperationContext&, Array<CIMInstance>&, const CIMPropertyList&) {};
    own->initialize(server.handle);
    EXPECT_EQ(server.kept, 1);
    own->_cimom.deleteInstance(context, NAMESPACE, path(thing("a")));
    EXPECT_EQ(server.taken(), "deleteInstance " + thing("a") + "\n");
    own->terminate();
    EXPECT_EQ(held.use_count(), 1) << "destroyed";
}

TEST_F(CachedInstanceProvider, CreatesACopyUnderThePathOfItsClassesKeys) {
    FakeServer server;
    CIMInstance mine("T_Part");
    add(mine, "Name", "x");
    mine.setPath(path("root/elsewhere:T_Part.Name=\"y\""));
    for (const char* size : {"1", "2"}) {
        add(mine, "Size", size);
        ObjectPathRecorder created;
        provider.createInstance(context, path("T_Thing"), mine, created);
        EXPECT_EQ(created.calls, "processing deliver complete");
        EXPECT_EQ(text(created.delivered.at(0)), full(thing("x", "T_Part")));
        EXPECT_EQ(server.taken(), "getClass T_Part qualifiers\n");
        velmar_remote::deleteProp(mine, "Size");
    }
    const CIMInstance cached = get(thing("x", "T_Part"));
    EXPECT_EQ(text(cached.getPath()), full(thing("x", "T_Part")));
    EXPECT_EQ(property(cached, "Size"), "1");
    EXPECT_EQ(fills, "1 caller {Size} after processing;") << "creating fills nothing";
    ObjectPathRecorder created;
    EXPECT_EQ(outcome([&] {
                  provider.createInstance(context, path("T_Thing"), CIMInstance("T_Unknown"),
                                          created);
              }),
              "6 CIM_ERR_NOT_FOUND: T_Unknown");
}

}  // namespace
