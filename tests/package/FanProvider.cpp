// SPDX-FileCopyrightText: The velmar_remote authors
// SPDX-License-Identifier: MIT

#include <Common/CachedInstanceProvider.h>
#include <Pegasus/Common/CIMProperty.h>
#include <Pegasus/Common/System.h>

using namespace Pegasus;

class FanProvider : public velmar_remote::CachedInstanceProvider {
 public:
    FanProvider() : CachedInstanceProvider("ACME_Fan") {}

    void initialize(CIMOMHandle& cimom) override {
        CachedInstanceProvider::initialize(cimom);
        for (const char* name : {"front", "rear"}) {
            CIMInstance fan(CIMName("ACME_Fan"));
            fan.addProperty(CIMProperty(CIMName("Name"), CIMValue(String(name))));
            fan.addProperty(CIMProperty(CIMName("Speed"), CIMValue(Uint32(1200))));
            Array<CIMKeyBinding> keys;
            keys.append(CIMKeyBinding(CIMName("Name"), CIMValue(String(name))));
            CIMObjectPath path(String(), "root/velmar_remote", "ACME_Fan", keys);
            path.setHost(System::getHostName());
            fan.setPath(path);
            _cache.insert(fan);
        }
    }
};

extern "C" PEGASUS_EXPORT CIMProvider* PegasusCreateProvider(const String& name) {
    return name == "FanProvider" ? new FanProvider : nullptr;
}
