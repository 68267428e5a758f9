// SPDX-FileCopyrightText: The velmar_remote authors
// SPDX-License-Identifier: MIT

#include "Common/InstanceMethodProvider.h"

#include <Pegasus/Common/Exception.h>
#include <gtest/gtest.h>

#include <velmar_testing/RecordingHandlers.h>
#include "support/FakeServer.h"
#include "support/ScriptedServer.h"

using namespace Pegasus;
using namespace support;
using velmar_testing::MethodResultRecorder;

namespace {

class Touchable : public Things {
 public:
    using Things::Things;
    CIMValue result;           // what callMethod returns
    Array<CIMParamValue> out;  // what it fills in
    std::string seen;          // what it was given
    bool refuses = false;

 protected:
    CIMValue callMethod(const OperationContext& context, const CIMInstance& inst,
                        const CIMName& methodName, const Array<CIMParamValue>& inParameters,
                        Array<CIMParamValue>& outParameters) override {
        seen = text(inst.getPath()) + " [" + propertyNames(inst) + "] " + text(methodName) + "/" +
               std::to_string(inParameters.size()) + "/" + std::to_string(outParameters.size()) +
               " for " + asked(context, CIMPropertyList());
        if (refuses) {
            return Things::callMethod(context, inst, methodName, inParameters, outParameters);
        }
        outParameters = out;
        return result;
    }
};

class InstanceMethodProvider : public ::testing::Test {
 protected:
    InstanceMethodProvider() {
        provider._cache.insert(makeThing("a"));
        provider._cache.insert(makeThing("p", "T_Part"));
        provider.fill = [](const OperationContext& from, Array<CIMInstance>& instances,
                           const CIMPropertyList& list) {
            EXPECT_EQ(asked(from, list), "caller");
            velmar_remote::replaceProp(instances[0], "Filled", CIMValue(true));
        };
    }
    std::string call(const std::string& p, Touchable& on) {
        handler = MethodResultRecorder();
        const Array<CIMParamValue> in(1, CIMParamValue("X", CIMValue(Uint8(1))));
        return outcome([&] { on.invokeMethod(callersContext(), path(p), "Touch", in, handler); });
    }
    Touchable provider{"T_Thing"};
    MethodResultRecorder handler;
};

TEST_F(InstanceMethodProvider, CachedInstanceFilledThenResultThenParameters) {
    provider.result = CIMValue(Uint32(4));
    provider.out.append(CIMParamValue("Y", CIMValue(Uint8(2))));
    provider.out.append(CIMParamValue("Z", CIMValue(Uint8(3))));
    for (const std::string& cached : {thing("a"), thing("p", "T_Part")}) {
        EXPECT_EQ(call(cached, provider), "ok") << cached;
        EXPECT_EQ(provider.seen, full(cached) + " [Name,Filled] Touch/1/0 for caller");
        EXPECT_EQ(handler.calls, "processing deliver param[2] complete");
        EXPECT_EQ(text(handler.outParameters[1].getParameterName()), "Z");
        EXPECT_EQ(text(handler.returnValue.toString()), "4");
    }
}

TEST_F(InstanceMethodProvider, UncachedPathGetsAPlaceholder) {
    for (const std::string& p : {full(thing("b")), full("T_Thing")}) {
        EXPECT_EQ(call(p, provider), "ok");
        EXPECT_EQ(provider.seen, p + " [] Touch/1/0 for caller");
        EXPECT_EQ(handler.calls, "processing complete");  // a null result
    }
}

TEST_F(InstanceMethodProvider, Refusals) {
    provider.refuses = true;
    EXPECT_EQ(call(thing("a"), provider), "7 ");
    EXPECT_EQ(handler.calls, "processing");
    provider.seen.clear();
    EXPECT_THROW(provider.invokeMethod(OperationContext(), path(thing("p", "T_Other")), "Touch",
                                       Array<CIMParamValue>(), handler),
                 TypeMismatchException);
    Touchable unnamed;
    EXPECT_THROW(unnamed.invokeMethod(OperationContext(), path(thing("a")), "Touch",
                                      Array<CIMParamValue>(), handler),
                 InvalidNameException);
    EXPECT_EQ(provider.seen + unnamed.seen, "");
}

}  // namespace
