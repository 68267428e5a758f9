// SPDX-FileCopyrightText: The velmar_remote authors
// SPDX-License-Identifier: MIT
//
// The trace: records of what a component does, written to a file for those who look for a fault.
//
// Thread-safe. Off until components and a level are set; a call then costs two relaxed loads.
#ifndef Pegasus_Tracer_h
#define Pegasus_Tracer_h

#include <Pegasus/Common/Config.h>
#include <Pegasus/Common/String.h>

#include <atomic>

namespace Pegasus {

enum TraceComponentId {
    TRC_XML,
    TRC_XML_IO,
    TRC_HTTP,
    TRC_REPOSITORY,
    TRC_DISPATCHER,
    TRC_OS_ABSTRACTION,
    TRC_CONFIG,
    TRC_IND_HANDLER,
    TRC_AUTHENTICATION,
    TRC_AUTHORIZATION,
    TRC_USER_MANAGER,
    TRC_SHUTDOWN,
    TRC_SERVER,
    TRC_INDICATION_SERVICE,
    TRC_MESSAGEQUEUESERVICE,
    TRC_PROVIDERMANAGER,
    TRC_OBJECTRESOLUTION,
    TRC_WQL,
    TRC_CQL,
    TRC_THREAD,
    TRC_EXP_REQUEST_DISP,
    TRC_SSL,
    TRC_CIMOM_HANDLE,
    TRC_L10N,
    TRC_EXPORT_CLIENT,
    TRC_LISTENER,
    TRC_DISCARDED_DATA,
    TRC_PROVIDERAGENT,
    TRC_IND_FORMATTER,
    TRC_STATISTICAL_DATA,
    TRC_CMPIPROVIDER,
    TRC_INDICATION_GENERATION,
    TRC_INDICATION_RECEIPT,
    TRC_SUBSCRIPTION,
    TRC_MOF,
    TRC_CMPIPROVIDERINTERFACE,
    TRC_WSMSERVER,
    TRC_RSSERVER,
    TRC_CLIENT,
    TRC_CONTROLPROVIDER
};

/// Carries a method from its entry record to its exit record.
struct TracerToken {
    TraceComponentId component;
    const char* method;  ///< not owned
};

class PEGASUS_EXPORT Tracer {
 public:
    /// Names by component number.
    static char const* TRACE_COMPONENT_LIST[];
    static inline const Uint32 LEVEL1 = 1 << 0;
    static inline const Uint32 LEVEL2 = 1 << 1;
    static inline const Uint32 LEVEL3 = 1 << 2;
    static inline const Uint32 LEVEL4 = 1 << 3;

    /// Fills `token`, which keeps the pointer `method` until exit; writes at level 5 only.
    static void traceEnter(TracerToken& token, const char* file, size_t line,
                           TraceComponentId component, const char* method) {
        token.component = component;
        token.method = method;
        if (isTraceEnabled(component, LEVEL5)) {
            writeMethod("Entering method ", token, file, line);
        }
    }
    static void traceExit(TracerToken& token, const char* file, size_t line) {
        if (isTraceEnabled(token.component, LEVEL5)) {
            writeMethod("Exiting method ", token, file, line);
        }
    }
    /// Writes whatever the level is; a percent sign has no meaning.
    static void traceCString(const char* fileName, const Uint32 lineNum,
                             const TraceComponentId component, const char* cstring);

    // The Uint32 results are 0 for success and 1 for a refused argument.
    /// Opens the file for appending.
    static Uint32 setTraceFile(const char* traceFile);
    /// 0 (off), 1, 2, 4, 8 or 16, each with all lower levels. Anything else: off, result 1.
    static Uint32 setTraceLevel(const Uint32 level);
    /// Replaces the former ones; case is ignored, "ALL" is all of them, unknown names are none.
    static void setTraceComponents(const String& commaSeparatedNames);
    /// "File" or "Log" (the system log). "Memory" is refused: it could not be read.
    static Uint32 setTraceFacility(const String& facility);
    /// The file is renamed to FILE.1 (FILE.1 to FILE.2 and so on) before a record when it is
    /// larger than that; default 0.
    static void setMaxTraceFileSize(const String& kilobytes);
    /// How many renamed files stay; default 3.
    static void setMaxTraceFileNumber(const String& number);
    static Boolean isValidComponents(const String& commaSeparatedNames);

    static Boolean isTraceOn() {
        return _levels.load(std::memory_order_relaxed) != 0 &&
               _components.load(std::memory_order_relaxed) != 0;
    }
    static Boolean isTraceEnabled(const TraceComponentId component, const Uint32 level) {
        return (_levels.load(std::memory_order_relaxed) & level) != 0 && Uint32(component) < 64 &&
               (_components.load(std::memory_order_relaxed) >> Uint32(component) & 1) != 0;
    }

 private:
    static inline const Uint32 LEVEL5 = 1 << 4;
    static void writeMethod(const char* what, const TracerToken& token, const char* file,
                            size_t line);

    static std::atomic<Uint32> _levels;      // one bit per level
    static std::atomic<Uint64> _components;  // one bit per component
};

class PEGASUS_EXPORT TraceCallFrame {
 public:
    const char* file;
    Uint32 line;
    TraceCallFrame(const char* fileName, Uint32 lineNumber) : file(fileName), line(lineNumber) {}
    /// Formats as printf does and writes if the level is on for the component.
    void invoke(const TraceComponentId component, const Uint32 level, const char* format, ...)
        PEGASUS_FORMAT(4, 5);
};

}  // namespace Pegasus

#define PEG_METHOD_ENTER(component, methodText) \
    ::Pegasus::TracerToken peg_method_token_;   \
    ::Pegasus::Tracer::traceEnter(peg_method_token_, __FILE__, __LINE__, (component), (methodText))

#define PEG_METHOD_EXIT() ::Pegasus::Tracer::traceExit(peg_method_token_, __FILE__, __LINE__)

// The arguments come in parentheses of their own and are evaluated only when they are written.
#define PEG_TRACE(arguments)       \
    do {                           \
        PEG_TRACE_CALL_ arguments; \
    } while (0)

#define PEG_TRACE_CALL_(component, level, ...)                   \
    if (::Pegasus::Tracer::isTraceEnabled((component), (level))) \
    ::Pegasus::TraceCallFrame(__FILE__, __LINE__).invoke((component), (level), __VA_ARGS__)

#define PEG_TRACE_CSTRING(component, level, chars)                                     \
    do {                                                                               \
        if (::Pegasus::Tracer::isTraceEnabled((component), (level)))                   \
            ::Pegasus::Tracer::traceCString(__FILE__, __LINE__, (component), (chars)); \
    } while (0)

#endif
