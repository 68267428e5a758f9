// SPDX-FileCopyrightText: The velmar_remote authors
// SPDX-License-Identifier: MIT

#include "check/Driver.h"

#include <Pegasus/Common/Exception.h>

#include <algorithm>
#include <exception>
#include <functional>
#include <memory>
#include <mutex>
#include <optional>
#include <stdexcept>

#include "checks/Wording.h"

using velmar_embedded::ProviderType;

namespace velmar_driver {

namespace {

void driveClass(Session& session, const RegisteredClass& one,
                const std::vector<RegisteredClass>& classes, const DriveOptions& options) {
    const bool isAssociation = one.definition.isAssociation();
    if (one.serves(ProviderType::Instance)) {
        driveInstances(session, options);
    }
    if (one.serves(ProviderType::Association) && isAssociation) {
        driveAssociation(session, options);
    }
    if (one.serves(ProviderType::Indication) && session.access.hearsAlerts()) {
        driveIndication(session, classes, options);
    }
    if (options.write && one.serves(ProviderType::Instance) && !isAssociation) {
        driveWrites(session, classes);
    }
}

// Subscribes to all alerts, so that the server's checks look at those that methods, threads of
// providers and clients at once bring about.
class Listening {
 public:
    Listening(Access& access, const std::vector<RegisteredClass>& classes) : _access(access) {
        for (const RegisteredClass& one : classes) {
            if (!one.definition.isUninitialized() && one.serves(ProviderType::Indication)) {
                try {
                    _ids.push_back(access.subscribe(one));
                } catch (const Pegasus::Exception&) {  // driveIndication has said it
                }
            }
        }
    }
    void end() {
        _access.drain(false);
        for (const std::string& id : _ids) {
            _access.unsubscribe(id);
        }
    }

 private:
    Access& _access;
    std::vector<std::string> _ids;
};

}  // namespace

bool DriveOptions::isAsked(const std::string& className) const {
    return only.empty() || std::any_of(only.begin(), only.end(), [&](const std::string& name) {
               return velmar_embedded::lowerCase(name) == velmar_embedded::lowerCase(className);
           });
}

void requireClasses(const std::vector<RegisteredClass>& classes, const DriveOptions& options) {
    std::vector<std::string> names;
    for (const RegisteredClass& one : classes) {
        names.push_back(one.text());
    }
    for (const std::string& wanted : options.only) {
        DriveOptions one;
        one.only = {wanted};
        if (std::none_of(classes.begin(), classes.end(),
                         [&](const RegisteredClass& each) { return one.isAsked(each.text()); })) {
            throw std::invalid_argument("class " + wanted + ": no provider is registered for it" +
                                        velmar_checks::didYouMean(wanted, names));
        }
    }
}

std::string EmbeddedAccess::subscribe(const RegisteredClass& alerts) {
    return _server.subscribe("SELECT * FROM " + alerts.text(), {utf8(alerts.nameSpace.getString())},
                             [](const Pegasus::CIMInstance&) {});
}

std::vector<ClassReport> drive(Access& access, const std::vector<RegisteredClass>& classes,
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
        if (one.definition.isUninitialized() || !options.isAsked(one.text())) {
            continue;  // an unknown class was told of when its registration was read
        }
        sessions.push_back(std::make_unique<Session>(access, one, findings, options.tries));
        Session& session = *sessions.back();
        if (guarded(session, [&] { driveClass(session, one, classes, options); }) && options.call &&
            one.serves(ProviderType::Method)) {
            withMethods.push_back(&session);
        }
    }
    std::optional<Listening> listening;
    if (answers && access.hearsAlerts() && (!withMethods.empty() || options.clients > 0)) {
        listening.emplace(access, classes);
    }
    for (Session* const session : withMethods) {
        guarded(*session, [&] { driveMethods(*session); });
    }
    std::vector<ClassReport> result;
    for (const std::unique_ptr<Session>& session : sessions) {
        result.push_back(std::move(session->result));
    }
    if (options.clients > 0 && answers) {
        driveLoad(access, classes, options, findings, result);
    }
    if (listening && answers) {
        listening->end();
    }
    return result;
}

}  // namespace velmar_driver
