// SPDX-FileCopyrightText: The velmar_remote authors
// SPDX-License-Identifier: MIT
//
// The server's namespaces, as instances to be read.
#include <Pegasus/Common/System.h>
#include <Pegasus/Provider/CIMInstanceProvider.h>
#include <Pegasus/Provider/CIMOMHandle.h>

#include "interop/Interop.h"

using namespace Pegasus;

namespace velmar_embedded {

namespace {

class NamespaceProvider : public CIMInstanceProvider {
 public:
    explicit NamespaceProvider(const InteropServices& services) : _services(services) {}

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
        throw CIMException(CIM_ERR_NOT_SUPPORTED, "namespaces come with the schema");
    }

    std::vector<CIMInstance> instances(const CIMObjectPath& place) const {
        const Array<CIMNamespaceName> names = _services.repository.nameSpaces();
        std::vector<CIMInstance> result;
        for (Uint32 i = 0; i < names.size(); i++) {
            result.push_back(instanceOf(names[i], place));
        }
        return result;
    }

    // The keys as a real server fills them.
    static CIMInstance instanceOf(const CIMNamespaceName& name, const CIMObjectPath& place) {
        const struct {
            const char* key;
            String value;
        } keys[] = {{"SystemCreationClassName", "PG_ComputerSystem"},
                    {"SystemName", System::getHostName()},
                    {"ObjectManagerCreationClassName", "PG_ObjectManager"},
                    {"ObjectManagerName", "PG:127-0-0-1"},
                    {"CreationClassName", "PG_Namespace"},
                    {"Name", name.getString()}};
        CIMInstance instance(place.getClassName());
        Array<CIMKeyBinding> bindings;
        for (const auto& each : keys) {
            instance.addProperty(CIMProperty(each.key, CIMValue(each.value)));
            bindings.append(CIMKeyBinding(each.key, CIMValue(each.value)));
        }
        CIMObjectPath path = place;
        path.setKeyBindings(bindings);
        instance.setPath(path);
        return instance;
    }

    const InteropServices& _services;
};

}  // namespace

CIMProvider* newNamespaceProvider(const InteropServices& services) {
    return new NamespaceProvider(services);
}

}  // namespace velmar_embedded
