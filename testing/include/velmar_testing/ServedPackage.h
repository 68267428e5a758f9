// SPDX-FileCopyrightText: The velmar_remote authors
// SPDX-License-Identifier: MIT
//
// A GoogleTest fixture that serves a provider package from the embedded CIM server: every finding
// of the server's checks is a failure of the test.
//
//     class Fans : public velmar_testing::ServedPackage {
//      protected:
//         Fans() : ServedPackage({{"Fans.mof"}, {"FansRegistration.mof"}, {MODULE_DIR}}) {}
//     };
//     TEST_F(Fans, HasTwo) { EXPECT_EQ(client.enumerateInstances(nameSpace, "ACME_Fan").size(), 2);
//     }
//
// The members may be used from the test's thread; other threads take clients of their own.
#ifndef VELMAR_TESTING_SERVEDPACKAGE_H
#define VELMAR_TESTING_SERVEDPACKAGE_H

#include <Pegasus/Client/CIMClient.h>
#include <velmar_embedded/Server.h>

#include <chrono>
#include <condition_variable>
#include <cstddef>
#include <mutex>
#include <set>
#include <string>
#include <vector>

#include "Printers.h"
#include "ThreadSanitizer.h"

/// The entry point of the package that is linked into the test; null where none is.
extern "C" Pegasus::CIMProvider* PegasusCreateProvider(const Pegasus::String& providerName)
    __attribute__((weak));

namespace velmar_testing {

/// What a package is made of.
struct PackageFiles {
    std::vector<std::string> schemas;              ///< MOF files of the classes, in this order
    std::vector<std::string> registrations;        ///< MOF files of the registrations
    std::vector<std::string> modules;              ///< folders of the provider libraries
    std::string nameSpace = "root/velmar_remote";  ///< where the schemas are compiled into
    std::vector<std::string> includes = {};        ///< folders of MOF files that others include
};

/// Every finding of the server so far becomes a failure of the running test, but for those whose id
/// is allowed.
inline void failOnFindings(const velmar_embedded::Server& server,
                           const std::set<std::string>& allowed = {}) {
    for (const velmar_checks::Finding& finding : server.findings()) {
        if (allowed.count(finding.id) == 0) {
            ADD_FAILURE() << velmar_checks::toLine(finding) << "\n"
                          << velmar_checks::helpFor(finding);
        }
    }
}

/// Subscribes for its lifetime to a class of indications and keeps what comes. Thread-safe.
class Subscriber {
 public:
    /// Throws CIMException if no provider serves the subscription.
    Subscriber(velmar_embedded::Server& server, const std::string& className,
               const std::string& nameSpace = "root/velmar_remote")
        : _server(server),
          _id(server.subscribe("SELECT * FROM " + className, {nameSpace},
                               [this](const Pegasus::CIMInstance& indication) {
                                   const std::lock_guard<std::mutex> guard(_lock);
                                   _received.push_back(indication);
                                   _came.notify_all();
                               })) {}
    /// Ends the subscription, unless the server has stopped.
    ~Subscriber() {
        try {
            _server.unsubscribe(_id);
        } catch (const Pegasus::Exception&) {
        }
    }
    Subscriber(const Subscriber&) = delete;
    Subscriber& operator=(const Subscriber&) = delete;

    /// Waits until that many have come, a minute at most, and returns what has.
    std::vector<Pegasus::CIMInstance> waitFor(std::size_t count) {
        std::unique_lock<std::mutex> guard(_lock);
        _came.wait_for(guard, std::chrono::minutes(1), [&] { return _received.size() >= count; });
        return _received;
    }
    /// What providers have delivered up to now.
    std::vector<Pegasus::CIMInstance> received() {
        _server.drain();
        const std::lock_guard<std::mutex> guard(_lock);
        return _received;
    }

 private:
    velmar_embedded::Server& _server;
    std::mutex _lock;
    std::condition_variable _came;
    std::vector<Pegasus::CIMInstance> _received;
    const std::string _id;
};

/// Serves a package while a test runs; `client` is connected to it.
class ServedPackage : public ::testing::Test {
 private:
    // Findings are failures at the end.
    struct Quiet : velmar_embedded::Observer {
        velmar_embedded::ServerOptions options() {
            velmar_embedded::ServerOptions result;
            result.observer = this;
            result.keepModules = true;
            return result;
        }
        void onFinding(const velmar_checks::Finding&) override {}
    };
    Quiet _observer;  // older than the server

 protected:
    /// PegasusCreateProvider of a package.
    using EntryPoint = Pegasus::CIMProvider* (*)(const Pegasus::String& providerName);

    /// Compiles the MOF files and starts the server. With the entry point of the package that is
    /// linked into the test no module is loaded, and the test sees the state that its providers
    /// have. Throws velmar_embedded::MofError.
    explicit ServedPackage(const PackageFiles& files, EntryPoint entryPoint = nullptr)
        : nameSpace(files.nameSpace.c_str()),
          server(_observer.options()),
          _isThereTwice(entryPoint == nullptr && !files.modules.empty() &&
                        PegasusCreateProvider != nullptr) {
        for (const std::string& schema : files.schemas) {
            server.compileMof(files.nameSpace, schema, files.includes);
        }
        for (const std::string& registration : files.registrations) {
            if (entryPoint == nullptr) {
                server.compileMof(velmar_embedded::interopNamespace, registration, files.includes);
            } else {
                server.registerProvider(registration, entryPoint);
            }
        }
        for (const std::string& directory : files.modules) {
            server.addProviderDirectory(directory);
        }
        server.start();
        client.connectLocal();
    }
    /// Stops the server; its findings are failures. An override calls it last.
    void TearDown() override {
        client.disconnect();
        server.stop();
        failOnFindings(server, _allowed);
        if (_isThereTwice && _allowed.count("kit.two-copies") == 0) {
            velmar_checks::Finding finding;
            finding.id = "kit.two-copies";
            finding.text = "the package is linked into the test and loaded as a module, too";
            ADD_FAILURE() << velmar_checks::toLine(finding) << "\n"
                          << velmar_checks::helpFor(finding);
        }
    }
    /// Findings of this id ("instance.null-key") do not fail the test.
    void allow(const std::string& id) { _allowed.insert(id); }

    const Pegasus::CIMNamespaceName nameSpace;  ///< of the package's classes
    velmar_embedded::Server server;             ///< started
    Pegasus::CIMClient client;                  ///< connected; for the test's own thread

 private:
    std::set<std::string> _allowed;
    const bool _isThereTwice;
};

}  // namespace velmar_testing

#endif
