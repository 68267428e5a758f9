// SPDX-FileCopyrightText: The velmar_remote authors
// SPDX-License-Identifier: MIT
//
// What the library makes of a server that fails it half-way.
#include <gtest/gtest.h>

#include "support/LinkServer.h"

using namespace Pegasus;
using namespace support;

namespace {

struct Failing {
    std::string fault, operation, outcome;
    std::string left;  ///< things and links, afterwards
};

// T_Thing a is linked to b and to c.
TEST(Failures, EndAnOperationAndNoMore) {
    const std::string all = "abc 2", withoutA = "bc 2";
    const std::vector<Failing> rows = {
        {"", "delete", "ok", "bc 0"},
        {"connect from=Things fail", "delete", "1 CIM_ERR_FAILED: FAULT", withoutA},
        {"request referenceNames from=Things fail=CIM_ERR_NOT_SUPPORTED", "delete",
         "7 CIM_ERR_NOT_SUPPORTED: FAULT", withoutA},
        {"request deleteInstance from=Things nth=2 fail=CIM_ERR_ACCESS_DENIED", "delete",
         "2 CIM_ERR_ACCESS_DENIED: FAULT", "bc 1"},
        {"request deleteInstance from=Things nth=1 disconnect", "delete",
         "1 CIM_ERR_FAILED: Connection to the local CIM server was lost: FAULT", withoutA},
        {"", "associators", "2", all},
        {"request enumerateInstances from=Links nth=2 fail=CIM_ERR_ACCESS_DENIED", "associators",
         "2 CIM_ERR_ACCESS_DENIED: FAULT", all},
        {"connect from=Links fail", "associators", "1 CIM_ERR_FAILED: FAULT", all},
        {"connect from=Links fail", "associatorNames", "2", all},
        {"call associatorNames fail", "associatorNames", "1 CIM_ERR_FAILED: FAULT", all}};
    for (const Failing& row : rows) {
        SCOPED_TRACE(row.operation + ": " + row.fault);
        LinkServer served;
        Client client;
        const CIMPropertyList everything;
        client.enumerateInstanceNames(NAMESPACE, "T_Thing");
        client.enumerateInstanceNames(NAMESPACE, "T_Link");
        for (const char* name : {"a", "b", "c"}) {
            served.things->_cache.insert(makeThing(name));
        }
        for (const char* name : {"b", "c"}) {
            served.links->_cache.insert(makeLink(full(thing("a")), full(thing(name))));
        }
        if (!row.fault.empty()) {
            served.server.faults().add(row.fault);
        }
        std::string answered = "ok";
        const std::string failed = outcome([&] {
            const CIMObjectPath a = path(thing("a"));
            if (row.operation == "delete") {
                client.deleteInstance(NAMESPACE, a);
            } else if (row.operation == "associators") {
                answered = std::to_string(client.associators(NAMESPACE, a, "T_Link").size());
            } else {
                answered = std::to_string(client.associatorNames(NAMESPACE, a, "T_Link").size());
            }
        });
        std::string wanted = row.outcome;
        const size_t at = wanted.find("FAULT");
        if (at != std::string::npos) {
            wanted.replace(at, 5, "fault \"" + row.fault + "\"");
        }
        EXPECT_EQ(failed == "ok" ? answered : failed, wanted);
        served.server.faults().clear();
        std::string left;
        for (const char* name : {"a", "b", "c"}) {
            left += served.things->_cache.contains(path(full(thing(name)))) ? name : "";
        }
        const Array<CIMObjectPath> links = client.enumerateInstanceNames(NAMESPACE, "T_Link");
        EXPECT_EQ(left + " " + std::to_string(links.size()), row.left);
    }
}

}  // namespace
