// SPDX-FileCopyrightText: The velmar_remote authors
// SPDX-License-Identifier: MIT
//
// Registers provider libraries by the instances of the PG_ classes in root/PG_InterOp.
//
// Thread-safe.
#ifndef VELMAR_EMBEDDED_PROVIDERS_REGISTRATIONREADER_H
#define VELMAR_EMBEDDED_PROVIDERS_REGISTRATIONREADER_H

#include <chrono>
#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <set>
#include <string>
#include <utility>
#include <vector>

#include <velmar_embedded/schema/Repository.h>
#include "providers/Module.h"
#include "providers/Registry.h"

namespace velmar_embedded {

/// A registered module, and whether its library is where libraries are searched.
struct RegisteredModule {
    std::string name;
    std::string location;
    std::vector<std::string> providers;  ///< names of those that are in it
    std::vector<std::string> folders;    ///< that are searched
    bool isFound;
};

class RegistrationReader {
 public:
    using MakeChannel = std::function<std::shared_ptr<Channel>(const std::string& providerName)>;

    /// Declares the namespaces root and root/PG_InterOp, the latter with the registration classes
    /// and those above them. Registrations that are of no use here are reported.
    RegistrationReader(Repository& repository, Registry& registry, Notices& notices,
                       MakeChannel makeChannel);

    /// Libraries are searched in the directories in the order of these calls.
    void addDirectory(const std::string& directory);
    /// Notes where an instance of a registration class was declared; others are of no interest.
    void note(const Pegasus::CIMNamespaceName& nameSpace, const Pegasus::CIMObjectPath& path,
              const std::string& file, unsigned line);
    /// Registers what is new in the repository. With an entry point, its providers come from that,
    /// and no library is searched. An instance that cannot be is removed from it and
    /// named in the MofError, with its place.
    void readInstances(Module::EntryPoint entryPoint);
    std::vector<RegisteredModule> modules() const;
    /// Closes the libraries; their providers must have gone from the registry. Those with threads
    /// that do not leave them within `patience` stay open: gives the locations of these.
    /// `keepsOpen`: all stay open.
    std::vector<std::string> closeModules(std::chrono::milliseconds patience, bool keepsOpen);

 private:
    class Reader;
    struct Place {
        std::string file = "<no file>";
        unsigned line = 0;
    };
    void readClass(const char* className, void (RegistrationReader::*read)(const Reader&));
    void readModule(const Reader& instance);
    void readProvider(const Reader& instance);
    void readCapabilities(const Reader& instance);
    std::vector<std::string> directories() const;

    Repository& _repository;
    Registry& _registry;
    Notices& _notices;
    const MakeChannel _makeChannel;
    mutable std::mutex _lock;
    std::set<std::string> _known;              // paths of the instances that were read
    std::map<std::string, Place> _places;      // of those that were not yet, by path
    Module::EntryPoint _entryPoint = nullptr;  // of what is being read
    std::map<std::string, std::shared_ptr<Module>> _modules;
    std::map<std::pair<std::string, std::string>, std::shared_ptr<LoadedProvider>> _providers;
    mutable std::mutex _directoriesLock;
    std::vector<std::string> _directories;
};

}  // namespace velmar_embedded

#endif
