// The example's providers without a server: made, driven and ended as a server does it, with
// handlers that record what is delivered.
#include <Common/Util.h>
#include <Pegasus/Common/Exception.h>
#include <Pegasus/Provider/CIMInstanceProvider.h>
#include <Pegasus/Provider/CIMMethodProvider.h>
#include <gtest/gtest.h>
#include <stdlib.h>
#include <unistd.h>

#include <atomic>
#include <filesystem>
#include <fstream>
#include <set>
#include <thread>
#include <vector>

#include "site/SiteModel.h"

using namespace Pegasus;

extern "C" CIMProvider* PegasusCreateProvider(const String& providerName);

namespace {

const char* const SITE = R"({"domains": [{"name": "D", "controlPoints": [], "systems": [
    {"type": "T", "model": "M", "serial": "S", "uuid": "00000000-0000-0000-0000-000000000001",
     "firmware": "F1", "packageTag": "P",
     "partitions": [{"id": 3, "name": "web", "state": "running"}]}]}]})";

class Instances : public InstanceResponseHandler {
 public:
    void processing() override {}
    void complete() override {}
    void deliver(const CIMInstance& instance) override { all.append(instance); }
    void deliver(const Array<CIMInstance>& instances) override { all.appendArray(instances); }
    Array<CIMInstance> all;
};

class Result : public MethodResultResponseHandler {
 public:
    void processing() override {}
    void complete() override {}
    void deliver(const CIMValue& returned) override { value = returned; }
    void deliverParamValue(const CIMParamValue& param) override { out.append(param); }
    void deliverParamValue(const Array<CIMParamValue>& params) override { out.appendArray(params); }
    CIMValue value;
    Array<CIMParamValue> out;
};

class SiteProviders : public testing::Test {
 protected:
    void SetUp() override {
        _file = (std::filesystem::temp_directory_path() /
                 ("site-providers-" + std::to_string(getpid()) + ".json"))
                    .string();
        setenv("VELMAR_SITE_FILE", _file.c_str(), 1);
        std::ofstream(_file) << SITE;
    }
    void TearDown() override {
        for (CIMProvider* provider : _providers) {
            provider->terminate();
        }
        std::filesystem::remove(_file);
    }

    template <class Interface>
    Interface& make(const char* name) {
        _providers.push_back(PegasusCreateProvider(name));
        CIMOMHandle handle;
        _providers.back()->initialize(handle);
        return dynamic_cast<Interface&>(*_providers.back());
    }

    static CIMInstance get(CIMInstanceProvider& provider, const CIMObjectPath& path) {
        Instances handler;
        provider.getInstance(OperationContext(), path, false, false, CIMPropertyList(), handler);
        return handler.all[0];
    }

    static Result request(CIMMethodProvider& provider, const CIMObjectPath& path, Uint16 state) {
        Array<CIMParamValue> in;
        in.append(CIMParamValue("RequestedState", CIMValue(state)));
        Result handler;
        provider.invokeMethod(OperationContext(), path, "RequestStateChange", in, handler);
        return handler;
    }

    static CIMValue value(const CIMInstance& instance, const char* name) {
        return velmar_remote::getValue(instance, name);
    }

    const CIMObjectPath _system = site::pathOf("QORP_CEC_CS", "Name", "T-M*S");
    const CIMObjectPath _partition = site::pathOf("QORP_LPAR_CS", "Name", "3*T-M*S");
    std::vector<CIMProvider*> _providers;
    std::string _file;
};

// Every change is made on the result of the one before it: taken together, the states that were
// left and the last one are those that were there at the start and those that were asked for. Under
// the thread sanitizer an edit of an instance that others are reading shows up as well.
TEST_F(SiteProviders, ChangesOnManyThreadsFollowOneAnother) {
    const std::vector<Uint16> wanted = {3, 6, 9, 32768, 32769};
    for (int round = 0; round < 50; round++) {
        auto& provider = make<CIMInstanceProvider>("SiteHostingSystems");
        auto& methods = dynamic_cast<CIMMethodProvider&>(*_providers.back());
        std::vector<std::thread> threads;
        std::vector<Uint16> left(wanted.size());
        std::atomic<size_t> waiting(wanted.size());
        for (size_t i = 0; i < wanted.size(); i++) {
            threads.emplace_back([&, i] {
                waiting--;
                while (waiting > 0) {
                    std::this_thread::yield();
                }
                const CIMInstance copy = get(provider, _system).clone();
                EXPECT_TRUE(value(copy, "FirmwareLevel") == CIMValue(String("F1")));
                const Result result = request(methods, _system, wanted[i]);
                velmar_remote::findParam(result.out, "PreviousState").get(left[i]);
            });
        }
        for (std::thread& thread : threads) {
            thread.join();
        }
        Uint16 last = 0;
        value(get(provider, _system), "EnabledState").get(last);
        std::multiset<Uint16> seen(left.begin(), left.end());
        seen.insert(last);
        EXPECT_EQ(seen, (std::multiset<Uint16>{2, 3, 6, 9, 32768, 32769}));
    }
}

TEST_F(SiteProviders, AnInstanceHandedOutKeepsItsState) {
    auto& provider = make<CIMInstanceProvider>("SitePartitions");
    auto& methods = dynamic_cast<CIMMethodProvider&>(*_providers.back());
    const CIMInstance before = get(provider, _partition);
    const Result result = request(methods, _partition, 3);
    EXPECT_TRUE(velmar_remote::findParam(result.out, "PreviousState") == CIMValue(Uint16(2)));
    EXPECT_TRUE(value(before, "EnabledState") == CIMValue(Uint16(2)));
    EXPECT_TRUE(value(get(provider, _partition), "EnabledState") == CIMValue(Uint16(3)));
    EXPECT_TRUE(request(methods, _partition, 4).value == CIMValue(Uint32(5)));
    EXPECT_THROW(request(methods, site::pathOf("QORP_LPAR_CS", "Name", "4*T-M*S"), 3),
                 CIMException);
}

// There is no server that the alert could reach: the state has changed all the same.
TEST_F(SiteProviders, AnAlertThatCannotBeSentIsReportedBesideTheChange) {
    auto& provider = make<CIMInstanceProvider>("SitePartitions");
    auto& methods = dynamic_cast<CIMMethodProvider&>(*_providers.back());
    const Uint16 failed = site::findState("failed")->value;
    const Result result = request(methods, _partition, failed);
    EXPECT_TRUE(result.value == CIMValue(Uint32(0)));
    EXPECT_FALSE(velmar_remote::findParam(result.out, "AlertProblem").isNull());
    EXPECT_TRUE(value(get(provider, _partition), "EnabledState") == CIMValue(failed));
    // Already failed: no second alert.
    EXPECT_TRUE(velmar_remote::findParam(request(methods, _partition, failed).out, "AlertProblem")
                    .isNull());
}

TEST_F(SiteProviders, ABrokenFileServesNothingUntilItIsRepaired) {
    std::ofstream(_file) << "{";
    CIMProvider* const broken = PegasusCreateProvider("SiteDomains");
    CIMOMHandle handle;
    try {
        broken->initialize(handle);
        ADD_FAILURE();
    } catch (const CIMException& error) {
        EXPECT_EQ(site::toStd(error.getMessage()).rfind(_file + ":1:2: ", 0), 0u);
    }
    broken->terminate();
    std::ofstream(_file) << SITE;
    EXPECT_TRUE(value(get(make<CIMInstanceProvider>("SiteDomains"),
                          site::pathOf("QOR_MAPAdminDomain", "Name", "D")),
                      "ElementName") == CIMValue(String("D")));
    EXPECT_EQ(PegasusCreateProvider("Unknown"), nullptr);
}

}  // namespace
