// SPDX-FileCopyrightText: The velmar_remote authors
// SPDX-License-Identifier: MIT

#include "check/Driver.h"

#include <Pegasus/Common/Exception.h>

#include <exception>
#include <functional>
#include <memory>
#include <mutex>
#include <optional>

using velmar_embedded::ProviderType;

namespace velmar_driver {

namespace {

void driveClass(Session& session, velmar_embedded::Server& server, const RegisteredClass& one,
                const std::vector<RegisteredClass>& classes, const DriveOptions& options) {
    const bool isAssociation = one.definition.isAssociation();
    if (one.serves(ProviderType::Instance)) {
        driveInstances(session, options);
    }
    if (one.serves(ProviderType::Association) && isAssociation) {
        driveAssociation(session, options);
    }
    if (one.serves(ProviderType::Indication)) {
        driveIndication(session, server, classes, options);
    }
    if (options.write && one.serves(ProviderType::Instance) && !isAssociation) {
        driveWrites(session, classes);
    }
}

// Subscribes to all alerts, so that the server's checks look at those that methods, threads of
// providers and clients at once bring about.
class Listening {
 public:
    Listening(velmar_embedded::Server& server, const std::vector<RegisteredClass>& classes)
        : _server(server) {
        for (const RegisteredClass& one : classes) {
            if (!one.definition.isUninitialized() && one.serves(ProviderType::Indication)) {
                try {
                    _ids.push_back(server.subscribe("SELECT * FROM " + one.text(),
                                                    {utf8(one.nameSpace.getString())},
                                                    [](const Pegasus::CIMInstance&) {}));
                } catch (const Pegasus::Exception&) {  // driveIndication has said it
                }
            }
        }
    }
    void end() {
        _server.drain();
        for (const std::string& id : _ids) {
            _server.unsubscribe(id);
        }
    }

 private:
    velmar_embedded::Server& _server;
    std::vector<std::string> _ids;
};

}  // namespace

std::vector<ClassReport> drive(velmar_embedded::Server& server, const DriveOptions& options,
                               velmar_checks::Findings& findings) {
    return drive(server, registeredClasses(server), options, findings);
}

std::vector<ClassReport> drive(velmar_embedded::Server& server,
                               const std::vector<RegisteredClass>& classes,
                               const DriveOptions& options, velmar_checks::Findings& findings) {
    bool answers = true;
    std::vector<std::unique_ptr<Session>> sessions;
    // False where no more is asked of the class.
    const auto guarded = [&](Session& session, const std::function<void()>& work) {
        std::string end;
        try {
            work();
            return true;
        } catch (const NoAnswer& e) {
            answers = false;
            end = e.what();
        } catch (const std::exception& e) {
            end = e.what();
        } catch (const Pegasus::Exception& e) {
            end = utf8(e.getMessage());
        }
        session.find("driver.stopped", "", end + ", so no more is asked");
        return false;
    };
    std::vector<Session*> withMethods;
    size_t done = 0;
    for (const RegisteredClass& one : classes) {
        if (options.progress) {
            options.progress(done++, classes.size(), one.text());
        }
        if (one.definition.isUninitialized()) {
            continue;  // said already, when the registration was read
        }
        sessions.push_back(std::make_unique<Session>(one, findings, options.tries));
        Session& session = *sessions.back();
        if (guarded(session, [&] { driveClass(session, server, one, classes, options); }) &&
            options.call && one.serves(ProviderType::Method)) {
            withMethods.push_back(&session);
        }
    }
    std::optional<Listening> listening;
    if (answers && (!withMethods.empty() || options.clients > 0)) {
        listening.emplace(server, classes);
    }
    for (Session* const session : withMethods) {
        guarded(*session, [&] { driveMethods(*session); });
    }
    std::vector<ClassReport> result;
    for (const std::unique_ptr<Session>& session : sessions) {
        result.push_back(std::move(session->result));
    }
    if (options.clients > 0 && answers) {
        driveLoad(classes, options, findings, result);
    }
    if (listening && answers) {
        listening->end();
    }
    return result;
}

}  // namespace velmar_driver
