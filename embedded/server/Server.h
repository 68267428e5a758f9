// The embedded CIM server: a development and test server in the process of its user. It compiles
// MOF, loads provider libraries by their registration, and answers CIMClient and CIMOMHandle.
//
// One server per process is started at a time. CIMClient::connectLocal reaches the started one.
// Thread-safe after start; set-up (compileMof, addProviderDirectory, registerProvider) may also be
// done while it runs.
#ifndef VELMAR_EMBEDDED_SERVER_H
#define VELMAR_EMBEDDED_SERVER_H

#include <Pegasus/Common/CIMName.h>
#include <Pegasus/Common/CIMObjectPath.h>
#include <Pegasus/Provider/CIMProvider.h>

#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "server/Mof.h"

namespace velmar_embedded {

/// Provider types, with the numbers of PG_ProviderCapabilities.ProviderType.
enum class ProviderType { Instance = 2, Association = 3, Indication = 4, Method = 5 };

/// What a provider serves: one PG_ProviderCapabilities instance.
struct Capabilities {
    std::string className;
    std::vector<std::string> nameSpaces;
    std::vector<ProviderType> types;
    std::vector<std::string> supportedMethods;  ///< empty: all methods
};

/// One call that the server makes on a provider, as an observer sees it before the call.
struct ProviderCall {
    std::string operation;         ///< "getInstance", "associators", "invokeMethod", ...
    std::string provider;          ///< the registered provider name
    Pegasus::CIMObjectPath path;   ///< the path given to the provider
    bool fromHandle;               ///< an upcall through a CIMOMHandle, not a client's request
};

/// One request as it arrives, before it is routed, whoever serves it (classes included).
struct Arrival {
    std::string operation;        ///< "getClass", "enumerateClasses", "getInstance", ...
    Pegasus::CIMObjectPath path;  ///< class or instance, as the caller gave it
    bool fromHandle;
};

class Server {
 public:
    /// Knows the namespaces root and root/PG_InterOp, the latter with the PG_ registration classes.
    Server();
    /// Stops the server.
    ~Server();
    Server(const Server&) = delete;
    Server& operator=(const Server&) = delete;

    /// Compiles a MOF file into a namespace, which is created if need be. Instances of the PG_
    /// registration classes in root/PG_InterOp register providers. Throws MofError.
    void compileMof(const std::string& nameSpace, const std::string& file);
    /// The same for text; `name` stands for the file in errors.
    void compileMofText(const std::string& nameSpace, const std::string& text,
                        const std::string& name = "<text>");

    /// Folder in which provider modules (lib<Location>.so) are searched, after those added before.
    void addProviderDirectory(const std::string& directory);
    /// Registers an object made in this process. The server owns it from here on and drives it
    /// like a loaded one: initialize before its first call, terminate (which deletes it) at stop.
    void registerProvider(const std::string& name, Pegasus::CIMProvider* provider,
                          const std::vector<Capabilities>& capabilities);
    /// The same with a factory, called at the first request and after a failed initialize.
    void registerProvider(const std::string& name, std::function<Pegasus::CIMProvider*()> create,
                          const std::vector<Capabilities>& capabilities);

    /// Makes this server the one that connectLocal reaches. Throws std::logic_error while another
    /// one is started, or when this one was stopped before: a server is started once.
    void start();
    /// Refuses new requests, waits for running operations, disables indications, terminates the
    /// providers and closes their libraries. Quiet when not started.
    void stop();

    Schema& schema();

    /// Called on the worker thread before every provider call; set before start.
    void observeCalls(std::function<void(const ProviderCall&)> observer);
    /// Called on the caller's thread for every request that arrives; set before start.
    void observeArrivals(std::function<void(const Arrival&)> observer);

 private:
    struct Impl;
    std::unique_ptr<Impl> _impl;
};

}  // namespace velmar_embedded

#endif
