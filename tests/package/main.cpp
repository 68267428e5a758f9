// SPDX-FileCopyrightText: The velmar_remote authors
// SPDX-License-Identifier: MIT
//
// Loads the Fans module into the embedded server by its registration and counts the fans.
// Usage: consumer MODULE_DIRECTORY
#include <Pegasus/Client/CIMClient.h>
#include <Pegasus/Common/CIMProperty.h>
#include <velmar_embedded/Server.h>
#include <velmar_remote/Common/Util.h>  // the other way to include

#include <iostream>

static int run(const char* modules) {
    velmar_embedded::Server server;
    server.compileMofText("root/velmar_remote", R"(
        Qualifier Key : boolean = false, Scope(property), Flavor(DisableOverride, ToSubclass);
        class ACME_Fan { [Key] string Name; uint32 Speed; };)");
    server.compileMofText("root/PG_InterOp", R"(
        instance of PG_ProviderModule { Name = "Fans"; Vendor = "ACME"; Version = "1";
            InterfaceType = "C++Default"; InterfaceVersion = "2.6.0"; Location = "Fans"; };
        instance of PG_Provider { ProviderModuleName = "Fans"; Name = "FanProvider"; };
        instance of PG_ProviderCapabilities { ProviderModuleName = "Fans";
            ProviderName = "FanProvider"; CapabilityID = "1"; ClassName = "ACME_Fan";
            Namespaces = { "root/velmar_remote" }; ProviderType = { 2 }; };)");
    server.addProviderDirectory(modules);
    server.start();
    Pegasus::CIMClient client;
    client.connectLocal();
    const Pegasus::Uint32 fans =
        client.enumerateInstances("root/velmar_remote", Pegasus::CIMName("ACME_Fan")).size();
    // The provider asks the server for the class: the module and this program must share one.
    Pegasus::CIMInstance fan(Pegasus::CIMName("ACME_Fan"));
    fan.addProperty(Pegasus::CIMProperty(Pegasus::CIMName("Name"),
                                         Pegasus::CIMValue(Pegasus::String("spare"))));
    client.createInstance("root/velmar_remote", fan);
    client.getInstance("root/velmar_remote",
                       Pegasus::CIMObjectPath(Pegasus::String("ACME_Fan.Name=\"spare\"")));
    std::cout << fans << " fans, " << velmar_remote::splitString("a:b", ':').size() << " pieces\n";
    return fans == 2 ? 0 : 1;
}

int main(int, char** argv) {
    try {
        return run(argv[1]);
    } catch (const Pegasus::Exception& e) {
        std::cerr << e.getMessage().getCString() << "\n";
        return 1;
    }
}
