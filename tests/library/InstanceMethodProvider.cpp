// SPDX-FileCopyrightText: The velmar_remote authors
// SPDX-License-Identifier: MIT

#include "Common/InstanceMethodProvider.h"

#include <Pegasus/Common/Exception.h>
#include <gtest/gtest.h>

#include <velmar_kit/RecordingHandlers.h>
#include "support/LinkServer.h"

using namespace Pegasus;
using namespace support;
using velmar_kit::MethodResultRecorder;

namespace {

class Touchable : public Things {
 public:
    using Things::Things;
    CIMValue result;           // what callMethod returns
    Array<CIMParamValue> out;  // what it fills in
    std::string seen;          // the instance that it was given
    bool refuse = false;

 protected:
    CIMValue callMethod(const OperationContext& context, const CIMInstance& inst,
                        const CIMName& methodName, const Array<CIMParamValue>& inParameters,
                        Array<CIMParamValue>& outParameters) override {
        seen = text(inst.getPath()) + " [" + propertyNames(inst) + "] " + text(methodName) + "/" +
               std::to_string(inParameters.size()) + "/" + std::to_string(outParameters.size());
        if (refuse) {
            return Things::callMethod(context, inst, methodName, inParameters, outParameters);
        }
        outParameters = out;
        return result;
    }
};

}  // namespace

class InstanceMethodProviderTest : public ::testing::Test {
 protected:
    InstanceMethodProviderTest() : provider("T_Thing") {
        provider._cache.setIsAP();
        provider._cache.insert(makeThing("a"));
        provider.fill = [](Array<CIMInstance>& instances, const CIMPropertyList& list) {
            EXPECT_TRUE(list.isNull());
            velmar_remote::replaceProp(instances[0], "Filled", CIMValue(true));
        };
        parameters.append(CIMParamValue("X", CIMValue(Uint8(1))));
    }
    void call(const std::string& p) {
        provider.invokeMethod(OperationContext(), path(p), "Touch", parameters, handler);
    }
    Touchable provider;
    Array<CIMParamValue> parameters;
    MethodResultRecorder handler;
};

TEST_F(InstanceMethodProviderTest, CachedInstanceFilledThenResultThenParameters) {
    provider.result = CIMValue(Uint32(4));
    provider.out.append(CIMParamValue("Y", CIMValue(Uint8(2))));
    provider.out.append(CIMParamValue("Z", CIMValue(Uint8(3))));
    call(thing("a"));
    EXPECT_EQ(provider.seen, full(thing("a")) + " [Name,Filled] Touch/1/0");
    EXPECT_EQ(handler.calls, "processing deliver param[2] complete");
    EXPECT_EQ(text(handler.outParameters[1].getParameterName()), "Z");
}

TEST_F(InstanceMethodProviderTest, UncachedPathGetsAPlaceholder) {
    for (const std::string& p : {full(thing("b")), full("T_Thing")}) {
        call(p);
        EXPECT_EQ(provider.seen, p + " [] Touch/1/0");
    }
    EXPECT_EQ(handler.calls, "processing complete processing complete");  // a null result
    EXPECT_THROW(call(thing("b", "T_Part")), TypeMismatchException);
}

TEST_F(InstanceMethodProviderTest, CachedInstanceOfASubclassIsCalled) {
    provider._cache.insert(makeThing("b", "T_Part"));
    call(thing("b", "T_Part"));
    EXPECT_EQ(provider.seen, full(thing("b", "T_Part")) + " [Name,Filled] Touch/1/0");
}

TEST_F(InstanceMethodProviderTest, RefusesByDefault) {
    provider.refuse = true;
    try {
        call(thing("a"));
        FAIL() << "no exception";
    } catch (const CIMException& e) {
        EXPECT_EQ(e.getCode(), CIM_ERR_NOT_SUPPORTED);
        EXPECT_EQ(text(e.getMessage()), "");
    }
    EXPECT_EQ(handler.calls, "processing");
    Touchable unnamed;
    EXPECT_THROW(
        unnamed.invokeMethod(OperationContext(), path(thing("a")), "Touch", parameters, handler),
        InvalidNameException);
}

TEST(InstanceMethodProviderServed, ResultAndParametersReachTheClient) {
    Touchable* const provider = new Touchable("T_Tool");
    velmar_embedded::Server server;
    server.compileMofText(NAMESPACE, std::string(LINK_MOF) + "class T_Tool : T_Thing {};");
    server.registerProvider(
        "Tools", provider,
        {{"T_Tool",
          {NAMESPACE},
          {velmar_embedded::ProviderType::Instance, velmar_embedded::ProviderType::Method},
          {}}});
    server.start();
    provider->_cache.insert(makeThing("a", "T_Tool"));
    provider->result = CIMValue(Uint32(7));
    provider->out.append(CIMParamValue("Sum", CIMValue(Uint32(8))));
    Client client;
    Array<CIMParamValue> out;
    CIMValue value = client.invokeMethod(NAMESPACE, path(thing("a", "T_Tool")), "Touch",
                                         Array<CIMParamValue>(), out);
    EXPECT_EQ(text(value.toString()), "7");
    ASSERT_EQ(out.size(), 1u);
    EXPECT_EQ(text(out[0].getParameterName()) + text(out[0].getValue().toString()), "Sum8");
    provider->refuse = true;
    EXPECT_THROW(client.invokeMethod(NAMESPACE, path(thing("a", "T_Tool")), "Touch",
                                     Array<CIMParamValue>(), out),
                 CIMException);
}
