// SPDX-FileCopyrightText: The velmar_remote authors
// SPDX-License-Identifier: MIT
//
// Answers the HTTP requests that carry CIM operations (DSP0200).
//
// Thread-safe.
#ifndef VELMAR_WIRE_CIMHANDLER_H
#define VELMAR_WIRE_CIMHANDLER_H

#include "HttpMessage.h"

namespace velmar_wire {

/// What can be said of a request before its body is there; nothing is wrong for status 200.
HttpResponse checkHead(const HttpRequest& request);

/// The answer of the server that is started in this process. Throws nothing.
HttpResponse answerTo(const HttpRequest& request);

}  // namespace velmar_wire

#endif
