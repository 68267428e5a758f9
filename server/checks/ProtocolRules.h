// SPDX-FileCopyrightText: The velmar_remote authors
// SPDX-License-Identifier: MIT
//
// The order in which a provider must drive its response handler: processing, deliveries, complete.
//
// One object watches one call; not thread-safe.
#ifndef VELMAR_CHECKS_PROTOCOLRULES_H
#define VELMAR_CHECKS_PROTOCOLRULES_H

#include <string>

#include "checks/Findings.h"

namespace velmar_checks {

class Protocol {
 public:
    /// With `single` exactly one object must be delivered.
    Protocol(const char* operation, bool single) : _operation(operation), _single(single) {}

    void processing(const Reporter& report);
    void delivered(const Reporter& report);
    /// A delivery of something without contents, which the server refuses.
    void emptyDelivery(const Reporter& report);
    void completed(const Reporter& report);
    /// The operation has returned normally.
    void returned(const Reporter& report);
    /// It has ended with the exception that is being handled, a CIMException or not. `method` is
    /// that of invokeMethod, else empty.
    void threw(const Reporter& report, const std::string& method);

 private:
    const std::string _operation;
    const bool _single;
    unsigned _processing = 0, _deliveries = 0, _completed = 0;
};

}  // namespace velmar_checks

#endif
