// SPDX-FileCopyrightText: The velmar_remote authors
// SPDX-License-Identifier: MIT
//
// What a provider's own tests use, on the example package.
#include <Common/Util.h>
#include <stdlib.h>
#include <velmar_testing/ServedPackage.h>

#include <gtest/gtest-spi.h>

#include "support/TestObserver.h"

using namespace Pegasus;

namespace {

class Site : public velmar_testing::ServedPackage {
 protected:
    Site()
        : ServedPackage(
              {{SITE "/mof/SiteSchema.mof"}, {SITE "/mof/SiteRegistration.mof"}, {SITE_MODULES}}) {}
    static void SetUpTestSuite() { setenv("VELMAR_SITE_FILE", SITE "/site.json", 1); }
};

TEST_F(Site, AlertReachesASubscriberOnce) {
    velmar_testing::Subscriber subscriber(server, "QOR_SiteAlert");
    const Array<CIMObjectPath> points = client.enumerateInstanceNames(nameSpace, "QOR_HWCtrlPoint");
    Array<CIMParamValue> parameters;
    CIMOMHandle unused;
    velmar_remote::sendIndication(unused, OperationContext(), points[0], "QOR_SiteAlert",
                                  parameters);
    ASSERT_EQ(subscriber.received().size(), 1u);
    EXPECT_EQ(subscriber.received()[0].getClassName(), CIMName("QOR_SiteAlert"));
}

TEST(Findings, AreFailures) {
    support::TestObserver observer;
    velmar_embedded::Server server(observer.with());
    server.compileMofText("root/test", "class Unserved { string Name; };");
    velmar_embedded::Capabilities served{"Missing", {"root/test"}, {}, {}};
    served.types.push_back(velmar_embedded::ProviderType::Instance);
    server.registerProvider("P", [] { return static_cast<CIMProvider*>(nullptr); }, {served});
    server.start();
    EXPECT_NONFATAL_FAILURE(velmar_testing::failOnFindings(server), "[registration.unknown-class]");
    velmar_testing::failOnFindings(server, {"registration.unknown-class"});
}

TEST(Printers, SayWhatIsThere) {
    CIMInstance instance(CIMName("A"));
    Array<String> names(2, String("n"));
    instance.addProperty(CIMProperty(CIMName("p"), CIMValue(Uint32(3))));
    instance.addProperty(CIMProperty(CIMName("q"), CIMValue(CIMTYPE_DATETIME, false)));
    instance.addProperty(CIMProperty(CIMName("r"), CIMValue(String("\xC3\xA9"))));
    EXPECT_EQ(::testing::PrintToString(instance),
              "A { p = 3 (uint32), q = null (datetime), r = \"\xC3\xA9\" (string) }");
    EXPECT_EQ(::testing::PrintToString(CIMInstance()), "uninitialized");
    EXPECT_EQ(::testing::PrintToString(names), "{ \"n\", \"n\" }");
    try {
        throw CIMException(CIM_ERR_NOT_FOUND, "x");
    } catch (...) {
        EXPECT_EQ(velmar_testing::describeException(),
                  "Pegasus::CIMException CIM_ERR_NOT_FOUND (6): \"x\"");
    }
}

}  // namespace
