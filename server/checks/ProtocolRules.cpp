// SPDX-FileCopyrightText: The velmar_remote authors
// SPDX-License-Identifier: MIT

#include "checks/ProtocolRules.h"

#include <Pegasus/Common/Exception.h>

#include "client/Request.h"

using namespace Pegasus;

namespace velmar_checks {

namespace {}  // namespace

void Protocol::processing(const Reporter& report) {
    if (_processing++ == 1) {
        report.add("protocol.processing-again", _operation,
                   _operation + " called processing twice");
    }
}

void Protocol::delivered(const Reporter& report) {
    if (_completed > 0) {
        report.add("protocol.delivery-after-complete", _operation,
                   _operation + " delivered after complete");
    } else if (_processing == 0 && _deliveries == 0) {
        report.add("protocol.no-processing", _operation,
                   _operation + " delivered without processing");
    }
    if (_deliveries++ == 1 && _single) {
        report.add("protocol.too-many", _operation, _operation + " delivered a second object");
    }
}

void Protocol::emptyDelivery(const Reporter& report) {
    report.add("protocol.empty-delivery", _operation,
               _operation +
                   " delivered something without contents (an uninitialized object, a path "
                   "without class, a null return value)");
}

void Protocol::completed(const Reporter& report) {
    if (_completed == 0 && _processing == 0 && _deliveries == 0) {
        report.add("protocol.no-processing", _operation,
                   _operation + " completed without processing");
    }
    if (_completed == 0 && _deliveries == 0 && _single) {
        report.add("protocol.too-few", _operation, _operation + " completed without a delivery");
    }
    if (_completed++ == 1) {
        report.add("protocol.complete-again", _operation, _operation + " called complete twice");
    }
}

void Protocol::returned(const Reporter& report) {
    if (_completed == 0) {
        report.add("protocol.no-complete", _operation, _operation + " returned without complete");
    }
}

void Protocol::threw(const Reporter& report, const std::string& method) {
    try {
        throw;
    } catch (const CIMException&) {
        return;
    } catch (...) {
    }
    if (_completed == 0) {  // afterwards it belongs to work that the answer does not wait for
        report.add("protocol.exception", method.empty() ? _operation : method,
                   _operation + (method.empty() ? "" : " of " + method) + " ended with " +
                       velmar_embedded::describeCurrentException());
    }
}

}  // namespace velmar_checks
