// SPDX-FileCopyrightText: The velmar_remote authors
// SPDX-License-Identifier: MIT

#include "checks/ProtocolRules.h"

#include <Pegasus/Common/Exception.h>

#include "exchange/Request.h"

using namespace Pegasus;

namespace velmar_checks {

namespace {

const Rule noProcessing{
    "protocol.no-processing", Severity::Warning,
    "An operation delivered or completed without having called processing on its handler.",
    "Call handler.processing() first."};
const Rule lateProcessing{"protocol.processing-again", Severity::Warning,
                          "An operation called processing a second time.",
                          "Call handler.processing() once, first."};
const Rule noComplete{
    "protocol.no-complete", Severity::Error,
    "An operation returned without having called complete on its handler: the answer is empty, and "
    "malformed for getInstance.",
    "Call handler.complete() last, on every way out but an exception."};
const Rule completeTwice{"protocol.complete-again", Severity::Warning,
                         "An operation called complete a second time.",
                         "Call handler.complete() once, last."};
const Rule afterComplete{"protocol.delivery-after-complete", Severity::Error,
                         "An operation delivered after it had called complete.",
                         "Call handler.complete() after the last delivery."};
const Rule tooMany{"protocol.too-many", Severity::Error,
                   "An operation that answers with one object delivered a second one; the client "
                   "gets CIM_ERR_FAILED, \"Too many objects delivered.\".",
                   "Deliver the one object that was asked for."};
const Rule tooFew{"protocol.too-few", Severity::Error,
                  "An operation that answers with one object completed without a delivery; the "
                  "client gets CIM_ERR_FAILED, \"Too few objects delivered.\".",
                  "Deliver the object, or throw CIMException(CIM_ERR_NOT_FOUND)."};
const Rule emptyObject{
    "protocol.empty-delivery", Severity::Error,
    "An operation delivered an uninitialized object, a path without class name "
    "or a null return value; the client gets CIM_ERR_FAILED, \"The object is not "
    "initialized.\".",
    "Deliver only what has contents; deliver nothing for a null return value."};
const Rule strayException{
    "protocol.exception", Severity::Warning,
    "An operation ended with an exception other than CIMException: the client gets CIM_ERR_FAILED "
    "with its bare text.",
    "Throw a CIMException with a status and a message, or avoid the exception. A "
    "TypeMismatchException before the first delivery of invokeMethod also means that the class "
    "name given to InstanceMethodProvider's constructor is not the one that was asked for."};

}  // namespace

RuleList protocolRules() {
    return {&noProcessing, &lateProcessing, &noComplete,  &completeTwice, &afterComplete,
            &tooMany,      &tooFew,         &emptyObject, &strayException};
}

void Protocol::processing(const Report& report) {
    if (_processing++ == 1) {
        report.add(lateProcessing, _operation,
                   _operation + " called processing twice; call it once, first");
    }
}

void Protocol::delivered(const Report& report) {
    if (_completed > 0) {
        report.add(afterComplete, _operation,
                   _operation + " delivered after complete; call complete after the last delivery");
    } else if (_processing == 0 && _deliveries == 0) {
        report.add(noProcessing, _operation,
                   _operation + " delivered without processing; call handler.processing() first");
    }
    if (_deliveries++ == 1 && _single) {
        report.add(tooMany, _operation,
                   _operation + " delivered a second object; deliver the one that was asked for");
    }
}

void Protocol::emptyDelivery(const Report& report) {
    report.add(emptyObject, _operation,
               _operation +
                   " delivered something without contents (an uninitialized object, a path "
                   "without class, a null return value); deliver only what is there");
}

void Protocol::completed(const Report& report) {
    if (_completed == 0 && _processing == 0 && _deliveries == 0) {
        report.add(noProcessing, _operation,
                   _operation + " completed without processing; call handler.processing() first");
    }
    if (_completed == 0 && _deliveries == 0 && _single) {
        report.add(tooFew, _operation,
                   _operation +
                       " completed without a delivery; deliver the object, or throw "
                       "CIMException(CIM_ERR_NOT_FOUND)");
    }
    if (_completed++ == 1) {
        report.add(completeTwice, _operation,
                   _operation + " called complete twice; call it once, last");
    }
}

void Protocol::returned(const Report& report) {
    if (_completed == 0) {
        report.add(noComplete, _operation,
                   _operation +
                       " returned without complete, so that the answer is empty; call "
                       "handler.complete() last");
    }
}

void Protocol::threw(const Report& report, const std::string& method) {
    try {
        throw;
    } catch (const CIMException&) {
        return;
    } catch (...) {
    }
    if (_completed == 0) {  // afterwards it belongs to work that the answer does not wait for
        report.add(strayException, method.empty() ? _operation : method,
                   _operation + (method.empty() ? "" : " of " + method) + " ended with " +
                       velmar_embedded::describeCurrentException() +
                       "; clients hear only that it failed, throw a CIMException that says why" +
                       (_operation == "invokeMethod" && _deliveries == 0
                            ? " (a type mismatch here also means that InstanceMethodProvider was "
                              "constructed with another class name)"
                            : ""));
    }
}

}  // namespace velmar_checks
