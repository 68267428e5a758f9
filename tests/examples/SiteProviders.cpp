// SPDX-FileCopyrightText: The velmar_remote authors
// SPDX-License-Identifier: MIT
//
// The example's providers without a server: made, driven and ended as a server does it, with
// handlers that record what is delivered.
#include <Common/Util.h>
#include <Pegasus/Common/Exception.h>
#include <gtest/gtest.h>
#include <stdlib.h>
#include <unistd.h>

#include <filesystem>
#include <fstream>
#include <set>

#include <velmar_testing/RecordingHandlers.h>
#include "QORP_CEC_CS.h"
#include "QORP_LPAR_CS.h"
#include "QOR_MAPAdminDomain.h"
#include "site/SiteFile.h"
#include "support/ScriptedServer.h"

using namespace Pegasus;
using namespace support;

extern "C" CIMProvider* PegasusCreateProvider(const String& providerName);

namespace {

const char* const SITE = R"({"domains": [{"name": "D", "controlPoints": [
    {"uuid": "00000000-0000-0000-0000-000000000002", "name": "c", "networkAddress": "::1"}], "systems": [
    {"type": "T", "model": "M", "serial": "S", "uuid": "00000000-0000-0000-0000-000000000001",
     "firmware": "F1", "packageTag": "P",
     "partitions": [{"id": 3, "name": "web", "state": "running"}]}]}]})";

class SiteProviders : public testing::Test {
 protected:
    SiteProviders() {
        setenv("VELMAR_SITE_FILE", _file.c_str(), 1);
        std::ofstream(_file) << SITE;
    }
    ~SiteProviders() override {
        for (CIMProvider* provider : _providers) {
            provider->terminate();
        }
        std::filesystem::remove(_file);
    }

    CIMInstanceProvider& make(const char* name) {
        _providers.push_back(PegasusCreateProvider(name));
        CIMOMHandle handle;
        _providers.back()->initialize(handle);
        return dynamic_cast<CIMInstanceProvider&>(*_providers.back());
    }
    // These ask the last provider that was made.
    CIMInstance get(const CIMObjectPath& path) {
        velmar_testing::InstanceRecorder handler;
        dynamic_cast<CIMInstanceProvider&>(*_providers.back())
            .getInstance(OperationContext(), path, false, false, CIMPropertyList(), handler);
        return handler.delivered.at(0);
    }
    std::string value(const CIMObjectPath& path, const char* name) {
        return property(get(path), name);
    }
    velmar_testing::MethodResultRecorder request(const CIMObjectPath& path, Uint16 state) {
        const Array<CIMParamValue> in(1, CIMParamValue("RequestedState", CIMValue(state)));
        velmar_testing::MethodResultRecorder handler;
        dynamic_cast<CIMMethodProvider&>(*_providers.back())
            .invokeMethod(OperationContext(), path, "RequestStateChange", in, handler);
        return handler;
    }
    CIMValue out(const CIMObjectPath& path, Uint16 state, const char* parameter) {
        return velmar_remote::findParam(request(path, state).outParameters, parameter);
    }

    const CIMObjectPath _system = site::QORP_CEC_CS("T-M*S").path();
    const CIMObjectPath _partition = site::QORP_LPAR_CS("3*T-M*S").path();
    std::vector<CIMProvider*> _providers;
    const std::string _file = testing::TempDir() + "site-" + std::to_string(getpid()) + ".json";
};

// Every change is made on the result of the one before it: taken together, the states that were
// left and the last one are those that were there at the start and those that were asked for. Under
// the thread sanitizer an edit of an instance that others are reading shows up as well.
TEST_F(SiteProviders, ChangesOnManyThreadsFollowOneAnother) {
    const std::vector<Uint16> wanted = {3, 6, 9, 32768, 32769};
    for (int round = 0; round < 20; round++) {
        make("SiteHostingSystems");
        std::vector<Uint16> left(wanted.size() + 1);
        inThreads(static_cast<int>(wanted.size()), [&](int i) {
            EXPECT_EQ(property(get(_system).clone(), "FirmwareLevel"), "F1");
            out(_system, wanted[i], "PreviousState").get(left[i]);
        });
        velmar_remote::getValue(get(_system), "EnabledState").get(left.back());
        EXPECT_EQ(std::multiset<Uint16>(left.begin(), left.end()),
                  (std::multiset<Uint16>{2, 3, 6, 9, 32768, 32769}));
    }
}

// There is no server that the alert could reach: the state has changed all the same. An instance
// that was handed out keeps its state.
TEST_F(SiteProviders, ChangesOfAPartitionAndAnAlertThatCannotBeSent) {
    make("SitePartitions");
    const CIMInstance before = get(_partition);
    EXPECT_TRUE(out(_partition, 3, "PreviousState") == CIMValue(Uint16(2)));
    EXPECT_EQ(property(before, "EnabledState"), "2");
    EXPECT_EQ(value(_partition, "EnabledState"), "3");
    EXPECT_TRUE(request(_partition, 4).returnValue == CIMValue(Uint32(5)));
    EXPECT_THROW(request(site::QORP_LPAR_CS("4*T-M*S").path(), 3), CIMException);

    const Uint16 failed = site::findState("failed")->value;
    const auto result = request(_partition, failed);
    EXPECT_TRUE(result.returnValue == CIMValue(Uint32(0)));
    EXPECT_FALSE(velmar_remote::findParam(result.outParameters, "AlertProblem").isNull());
    EXPECT_EQ(value(_partition, "EnabledState"), std::to_string(failed));
    EXPECT_TRUE(out(_partition, failed, "AlertProblem").isNull()) << "already failed";
}

// Whichever of its upcalls fails, an alert is not sent with half of what belongs into it.
TEST_F(SiteProviders, EveryUpcallOfAnAlertMayFail) {
    velmar_embedded::Server server;
    server.compileMof("root/velmar_remote", SITE_SCHEMA);
    server.registerProvider(SITE_REGISTRATION, PegasusCreateProvider);
    server.start();
    unsigned alerts = 0;
    server.subscribe("SELECT * FROM QOR_SiteAlert", {"root/velmar_remote"},
                     [&](const CIMInstance&) { alerts++; });
    CIMClient client;
    client.connectLocal();
    const auto change = [&](const char* state) {
        const Array<CIMParamValue> in(
            1, CIMParamValue("RequestedState", CIMValue(site::findState(state)->value)));
        Array<CIMParamValue> out;
        client.invokeMethod("root/velmar_remote", _partition, "RequestStateChange", in, out);
        return velmar_remote::findParam(out, "AlertProblem").isNull();
    };
    unsigned upcalls = 0;
    for (bool isSent = false; !isSent && upcalls < 100; upcalls += !isSent) {
        ASSERT_TRUE(change("running"));
        server.faults().add("upcall from=SiteAlerts nth=" + std::to_string(upcalls + 1) + " fail");
        isSent = change("failed");
        server.drain();
        EXPECT_EQ(alerts, isSent ? 1u : 0u) << upcalls;
        server.faults().clear();
    }
    EXPECT_GE(upcalls, 8u);
    client.disconnect();
    server.stop();
}

TEST_F(SiteProviders, ABrokenFileServesNothingUntilItIsRepaired) {
    std::ofstream(_file) << "{";
    const std::string error = outcome([&] { make("SiteDomains"); });
    EXPECT_NE(error.find(_file + ":1:2: "), std::string::npos) << error;
    std::ofstream(_file) << SITE;
    make("SiteDomains");
    EXPECT_EQ(value(site::QOR_MAPAdminDomain("D").path(), "ElementName"), "D");
    EXPECT_EQ(PegasusCreateProvider("Unknown"), nullptr);
}

}  // namespace
