// SPDX-FileCopyrightText: The velmar_remote authors
// SPDX-License-Identifier: MIT
//
// What the sources of this folder share and users never see (not installed): the CIM namespace,
// the trace component and the guard that writes method entry and exit records.
#ifndef VELMAR_REMOTE_COMMON_INTERNAL_H
#define VELMAR_REMOTE_COMMON_INTERNAL_H

#include <Pegasus/Common/CIMName.h>
#include <Pegasus/Common/Tracer.h>

#include <exception>

#include "Config.h"

#pragma GCC visibility push(hidden)

namespace velmar_remote {

/// The CIM namespace of every upcall. Never destroyed: requests may run while the process ends.
inline const Pegasus::CIMNamespaceName& cimNamespace() {
    static const auto* const name = new Pegasus::CIMNamespaceName("root/velmar_remote");
    return *name;
}

/// The server's name for this component number belongs to another subsystem; the number is what
/// administrators configure.
constexpr Pegasus::TraceComponentId TRACE_COMPONENT = Pegasus::TraceComponentId(36);

/// Writes the method-entry record when it is made and the method-exit record when the scope is left
/// normally; none while an exception leaves. Costs next to nothing while tracing is off.
class TraceScope {
 public:
    /// `file` and `method` are kept as pointers: pass literals.
    TraceScope(const char* file, Uint32 line, const char* method)
        : _file(file), _line(line), _exceptions(std::uncaught_exceptions()) {
        Pegasus::Tracer::traceEnter(_token, file, line, TRACE_COMPONENT, method);
    }
    ~TraceScope() {
        // Compared, not tested for zero: an operation may run inside a destructor that an
        // exception elsewhere has started.
        if (std::uncaught_exceptions() != _exceptions) {
            return;
        }
        try {
            Pegasus::Tracer::traceExit(_token, _file, _line);
        } catch (...) {
            // A record lost for want of memory must not end the server.
        }
    }
    TraceScope(const TraceScope&) = delete;
    TraceScope& operator=(const TraceScope&) = delete;

 private:
    Pegasus::TracerToken _token;
    const char* _file;
    Uint32 _line;
    int _exceptions;
};

}  // namespace velmar_remote

#pragma GCC visibility pop

#endif
