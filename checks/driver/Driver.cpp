// SPDX-FileCopyrightText: The velmar_remote authors
// SPDX-License-Identifier: MIT

#include "checks/driver/Driver.h"

#include <Pegasus/Common/Exception.h>

#include <exception>
#include <mutex>

#include "checks/driver/DriverRules.h"

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
    if (options.call && one.serves(ProviderType::Method)) {
        driveMethods(session);
    }
    if (options.write && one.serves(ProviderType::Instance) && !isAssociation) {
        driveWrites(session, classes);
    }
}

}  // namespace

std::vector<ClassReport> drive(velmar_embedded::Server& server, const DriveOptions& options,
                               const Report& report) {
    return drive(server, registeredClasses(server), options, report);
}

std::vector<ClassReport> drive(velmar_embedded::Server& server,
                               const std::vector<RegisteredClass>& classes,
                               const DriveOptions& options, const Report& report) {
    std::vector<ClassReport> result;
    bool answers = true;
    for (const RegisteredClass& one : classes) {
        if (one.definition.isUninitialized()) {
            continue;  // said already, when the registration was read
        }
        Session session(one, report, options.tries);
        try {
            driveClass(session, server, one, classes, options);
        } catch (const NoAnswer& e) {
            session.find(rules::stopped, "", std::string(e.what()) + ", so no more is asked");
            answers = false;
        } catch (const std::exception& e) {
            session.find(rules::stopped, "", std::string(e.what()) + ", so no more is asked");
        } catch (const Pegasus::Exception& e) {
            session.find(rules::stopped, "", text(e.getMessage()) + ", so no more is asked");
        }
        result.push_back(std::move(session.result));
    }
    if (options.clients > 0 && answers) {
        std::mutex lock;
        driveLoad(
            classes, options,
            [&](velmar_checks::Finding finding) {
                std::lock_guard<std::mutex> guard(lock);
                report(std::move(finding));
            },
            result);
    }
    return result;
}

}  // namespace velmar_driver
