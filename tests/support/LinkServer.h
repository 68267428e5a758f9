// SPDX-FileCopyrightText: The velmar_remote authors
// SPDX-License-Identifier: MIT
//
// An embedded server with one cached class (T_Thing) and one association class between things
// (T_Link), whose providers live in the test process.
#ifndef VELMAR_TESTS_SUPPORT_LINKSERVER_H
#define VELMAR_TESTS_SUPPORT_LINKSERVER_H

#include <Pegasus/Client/CIMClient.h>
#include <Pegasus/Common/System.h>

#include <functional>
#include <string>

#include <velmar_embedded/Server.h>
#include "Common/InstanceAssociationProvider.h"
#include "Common/InstanceMethodProvider.h"
#include "support/Objects.h"

namespace support {

const char NAMESPACE[] = "root/velmar_remote";

const char LINK_MOF[] = R"(
Qualifier Key : boolean = false, Scope(property, reference), Flavor(DisableOverride, ToSubclass);
Qualifier Association : boolean = false, Scope(association), Flavor(DisableOverride, ToSubclass);
class T_Thing { [Key] string Name; uint32 Size; uint32 Touch(); };
[Association] class T_Link { [Key] T_Thing REF Left; [Key] T_Thing REF Right; string Note; };
)";

/// "//H/root/velmar_remote:" before a local path: what a request's object looks like to a provider.
inline std::string full(const std::string& localPath) {
    return "//" + text(Pegasus::System::getHostName()) + "/" + NAMESPACE + ":" + localPath;
}

inline std::string thing(const std::string& name, const char* cimClass = "T_Thing") {
    return std::string(cimClass) + ".Name=\"" + name + "\"";
}

/// An instance of T_Thing or a subclass, cached under its full path.
inline Pegasus::CIMInstance makeThing(const std::string& name, const char* cimClass = "T_Thing") {
    Pegasus::CIMInstance instance = instanceAt(full(thing(name, cimClass)));
    add(instance, "Name", name.c_str());
    return instance;
}

/// A T_Link between two ends, given as paths with or without keys, host and namespace.
inline Pegasus::CIMInstance makeLink(const std::string& left, const std::string& right) {
    Pegasus::Array<Pegasus::CIMKeyBinding> keys;
    keys.append(Pegasus::CIMKeyBinding("Left", Pegasus::CIMValue(path(left))));
    keys.append(Pegasus::CIMKeyBinding("Right", Pegasus::CIMValue(path(right))));
    Pegasus::CIMInstance link(Pegasus::CIMName("T_Link"));
    link.setPath(Pegasus::CIMObjectPath("", NAMESPACE, "T_Link", keys));
    add(link, "Left", Pegasus::CIMValue(path(left)));
    add(link, "Right", Pegasus::CIMValue(path(right)));
    return link;
}

/// A cached provider whose cache and hooks a test reaches.
template <class Base>
class Open : public Base {
 public:
    using Base::_cache;
    using Base::_cimom;
    using Base::Base;

    /// The hook, given all that the base class gives it.
    std::function<void(const Pegasus::OperationContext&, Pegasus::Array<Pegasus::CIMInstance>&,
                       const Pegasus::CIMPropertyList&)>
        fill;

    using Base::fillProperties;

 protected:
    void fillProperties(const Pegasus::OperationContext& context,
                        Pegasus::Array<Pegasus::CIMInstance>& instances,
                        const Pegasus::CIMPropertyList& propertyList) override {
        Base::fillProperties(context, instances, propertyList);
        if (fill) {
            fill(context, instances, propertyList);
        }
    }
};

typedef Open<velmar_remote::InstanceMethodProvider> Things;
typedef Open<velmar_remote::InstanceAssociationProvider> Links;

class LinkServer {
 public:
    LinkServer()
        : things(new Things("T_Thing")),
          links(new Links("T_Link", "Left", "T_Thing", "Right", "T_Thing")) {
        using velmar_embedded::ProviderType;
        server.compileMofText(NAMESPACE, LINK_MOF);
        server.registerProvider(
            "Things", things,
            {{"T_Thing", {NAMESPACE}, {ProviderType::Instance, ProviderType::Method}, {}}});
        server.registerProvider(
            "Links", links,
            {{"T_Link", {NAMESPACE}, {ProviderType::Instance, ProviderType::Association}, {}}});
        server.start();
    }
    ~LinkServer() { server.stop(); }

    velmar_embedded::Server server;
    Things* things;  ///< the server's
    Links* links;    ///< the server's
};

/// A connected client.
class Client : public Pegasus::CIMClient {
 public:
    Client() { connectLocal(); }
};

}  // namespace support

#endif
