// SPDX-FileCopyrightText: The velmar_remote authors
// SPDX-License-Identifier: MIT
//
// Reads arbitrary text as an object path, a date-time, a name and a query. What is accepted must be
// written so that it is read as the same again.
#include <Pegasus/Common/CIMDateTime.h>
#include <Pegasus/Common/CIMInstance.h>
#include <Pegasus/Common/CIMObjectPath.h>
#include <Pegasus/Common/Exception.h>

#include <cstdint>
#include <cstdlib>
#include <string>

#include "requests/Query.h"

using namespace Pegasus;

namespace {

void require(bool condition) {
    if (!condition) {
        abort();
    }
}

template <class Read>
void tryTo(Read read) {
    try {
        read();
    } catch (const Exception&) {
        // Refused in the one way that there is.
    }
}

CIMInstance alert() {
    CIMInstance instance("A");
    instance.addProperty(CIMProperty("S", String("text")));
    instance.addProperty(CIMProperty("N", Uint32(7)));
    instance.addProperty(CIMProperty("B", Boolean(true)));
    instance.addProperty(CIMProperty("D", CIMDateTime("20240101000000.000000+000")));
    instance.addProperty(CIMProperty("Null", CIMValue(CIMTYPE_STRING, false)));
    return instance;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    const std::string plain(reinterpret_cast<const char*>(data), size);
    tryTo([&] {
        const String text(plain.data(), Uint32(plain.size()));
        tryTo([&] {
            const CIMObjectPath path(text);
            const CIMObjectPath again(path.toString());
            require(again == path && again.makeHashCode() == path.makeHashCode());
        });
        tryTo([&] {
            const CIMDateTime time(text);
            require(time.toString() == CIMDateTime(time.toString()).toString());
        });
        tryTo([&] { require(CIMName(text).getString() == text); });
    });
    const auto isA = [](const CIMName& name, const CIMName& of) { return name == of; };
    CIMInstance instance = alert();
    tryTo([&] { velmar_embedded::Query::ofCondition(plain).matches(instance, isA); });
    tryTo([&] {
        const velmar_embedded::Query query(plain);
        query.matches(instance, isA);
        query.project(instance);
    });
    return 0;
}
