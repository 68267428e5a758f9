// SPDX-FileCopyrightText: The velmar_remote authors
// SPDX-License-Identifier: MIT

#include "checks/driver/Driver.h"

#include <mutex>

using velmar_embedded::ProviderType;

namespace velmar_driver {

std::vector<ClassReport> drive(velmar_embedded::Server& server, const DriveOptions& options,
                               const Report& report) {
    return drive(server, registeredClasses(server), options, report);
}

std::vector<ClassReport> drive(velmar_embedded::Server& server,
                               const std::vector<RegisteredClass>& classes,
                               const DriveOptions& options, const Report& report) {
    std::vector<ClassReport> result;
    for (const RegisteredClass& one : classes) {
        if (one.definition.isUninitialized()) {
            continue;  // said already, when the registration was read
        }
        Session session(one, report);
        const bool isAssociation = one.definition.isAssociation();
        if (one.serves(ProviderType::Instance)) {
            driveInstances(session, options);
        }
        if (one.serves(ProviderType::Association) && isAssociation) {
            driveAssociation(session, options);
        }
        if (one.serves(ProviderType::Indication)) {
            driveIndication(session, server);
        }
        if (options.call && one.serves(ProviderType::Method)) {
            driveMethods(session);
        }
        if (options.write && one.serves(ProviderType::Instance) && !isAssociation) {
            driveWrites(session, classes);
        }
        result.push_back(std::move(session.result));
    }
    if (options.clients > 0) {
        std::mutex lock;
        driveLoad(classes, options, [&](velmar_checks::Finding finding) {
            std::lock_guard<std::mutex> guard(lock);
            report(std::move(finding));
        });
    }
    return result;
}

}  // namespace velmar_driver
