// SPDX-FileCopyrightText: The velmar_remote authors
// SPDX-License-Identifier: MIT
//
// The server and its namespaces, as instances to be read.
#include <Pegasus/Common/System.h>
#include <Pegasus/Provider/CIMInstanceProvider.h>
#include <Pegasus/Provider/CIMOMHandle.h>

#include <utility>
#include <vector>

#include "interop/Interop.h"

using namespace Pegasus;

namespace velmar_embedded {

namespace {

const char* const objectManagerName = "PG:127-0-0-1";

class ServerProvider : public CIMInstanceProvider {
 public:
    explicit ServerProvider(const InteropServices& services) : _services(services) {}

    void initialize(CIMOMHandle& cimom) override { cimom.disallowProviderUnload(); }
    void terminate() override { delete this; }

    void getInstance(const OperationContext&, const CIMObjectPath& path, const Boolean,
                     const Boolean, const CIMPropertyList&,
                     InstanceResponseHandler& handler) override {
        for (const CIMInstance& instance : instances(path)) {
            if (instance.getPath() == path) {
                handler.processing();
                handler.deliver(instance);
                handler.complete();
                return;
            }
        }
        throw CIMException(CIM_ERR_NOT_FOUND, path.toString());
    }

    void enumerateInstances(const OperationContext&, const CIMObjectPath& path, const Boolean,
                            const Boolean, const CIMPropertyList&,
                            InstanceResponseHandler& handler) override {
        handler.processing();
        for (const CIMInstance& instance : instances(path)) {
            handler.deliver(instance);
        }
        handler.complete();
    }

    void enumerateInstanceNames(const OperationContext&, const CIMObjectPath& path,
                                ObjectPathResponseHandler& handler) override {
        handler.processing();
        for (const CIMInstance& instance : instances(path)) {
            handler.deliver(instance.getPath());
        }
        handler.complete();
    }

    void createInstance(const OperationContext&, const CIMObjectPath&, const CIMInstance&,
                        ObjectPathResponseHandler&) override {
        refuse();
    }
    void modifyInstance(const OperationContext&, const CIMObjectPath&, const CIMInstance&,
                        const Boolean, const CIMPropertyList&, ResponseHandler&) override {
        refuse();
    }
    void deleteInstance(const OperationContext&, const CIMObjectPath&, ResponseHandler&) override {
        refuse();
    }

 private:
    [[noreturn]] static void refuse() {
        throw CIMException(CIM_ERR_NOT_SUPPORTED, "the server and its namespaces can only be read");
    }

    std::vector<CIMInstance> instances(const CIMObjectPath& place) const {
        if (place.getClassName().equal(CIMName("PG_ObjectManager"))) {
            return {objectManager(place)};
        }
        const Array<CIMNamespaceName> names = _services.repository.nameSpaces();
        std::vector<CIMInstance> result;
        for (Uint32 i = 0; i < names.size(); i++) {
            result.push_back(nameSpace(names[i], place));
        }
        return result;
    }

    // The keys as a real server fills them.
    static CIMInstance nameSpace(const CIMNamespaceName& name, const CIMObjectPath& place) {
        return instanceOf(place, {{"SystemCreationClassName", "PG_ComputerSystem"},
                                  {"SystemName", System::getHostName()},
                                  {"ObjectManagerCreationClassName", "PG_ObjectManager"},
                                  {"ObjectManagerName", objectManagerName},
                                  {"CreationClassName", "PG_Namespace"},
                                  {"Name", name.getString()}});
    }

    // Clients look here for who the server is and what it can be asked.
    static CIMInstance objectManager(const CIMObjectPath& place) {
        CIMInstance instance = instanceOf(place, {{"SystemCreationClassName", "PG_ComputerSystem"},
                                                  {"SystemName", System::getHostName()},
                                                  {"CreationClassName", "PG_ObjectManager"},
                                                  {"Name", objectManagerName}});
        const Uint16 ok = 2;
        instance.addProperty(CIMProperty("ElementName", CIMValue(String("Pegasus"))));
        instance.addProperty(
            CIMProperty("Description", CIMValue(String("Pegasus OpenPegasus Version 2.14, as "
                                                       "the embedded server of velmar_remote"))));
        instance.addProperty(CIMProperty("Version", CIMValue(String("2.14"))));
        instance.addProperty(CIMProperty("OperationalStatus", CIMValue(Array<Uint16>(1, ok))));
        instance.addProperty(CIMProperty("Started", CIMValue(Boolean(true))));
        instance.addProperty(CIMProperty("GatherStatisticalData", CIMValue(Boolean(false))));
        return instance;
    }

    using Keys = std::vector<std::pair<const char*, String>>;

    static CIMInstance instanceOf(const CIMObjectPath& place, const Keys& keys) {
        CIMInstance instance(place.getClassName());
        Array<CIMKeyBinding> bindings;
        for (const auto& [key, value] : keys) {
            instance.addProperty(CIMProperty(key, CIMValue(value)));
            bindings.append(CIMKeyBinding(key, CIMValue(value)));
        }
        CIMObjectPath path = place;
        path.setKeyBindings(bindings);
        instance.setPath(path);
        return instance;
    }

    const InteropServices& _services;
};

}  // namespace

CIMProvider* newServerProvider(const InteropServices& services) {
    return new ServerProvider(services);
}

}  // namespace velmar_embedded
