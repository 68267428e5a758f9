// SPDX-FileCopyrightText: The velmar_remote authors
// SPDX-License-Identifier: MIT

#include <Pegasus/Common/Tracer.h>

#include <algorithm>
#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <mutex>
#include <string>
#include <vector>

#include <fcntl.h>
#include <strings.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <sys/time.h>
#include <syslog.h>
#include <unistd.h>

#include "model/TraceHook.h"

namespace velmar_embedded {

std::atomic<void (*)(const char*, size_t, const char*)> traceHook{nullptr};

}  // namespace velmar_embedded

namespace Pegasus {

std::atomic<Uint32> Tracer::_levels(0);
std::atomic<Uint64> Tracer::_components(0);

char const* Tracer::TRACE_COMPONENT_LIST[] = {"Xml",
                                              "XmlIO",
                                              "Http",
                                              "Repository",
                                              "Dispatcher",
                                              "OsAbstraction",
                                              "Config",
                                              "IndicationHandler",
                                              "Authentication",
                                              "Authorization",
                                              "UserManager",
                                              "Shutdown",
                                              "Server",
                                              "IndicationService",
                                              "MessageQueueService",
                                              "ProviderManager",
                                              "ObjectResolution",
                                              "WQL",
                                              "CQL",
                                              "Thread",
                                              "CIMExportRequestDispatcher",
                                              "SSL",
                                              "CIMOMHandle",
                                              "L10N",
                                              "ExportClient",
                                              "Listener",
                                              "DiscardedData",
                                              "ProviderAgent",
                                              "IndicationFormatter",
                                              "StatisticalData",
                                              "CMPIProvider",
                                              "IndicationGeneration",
                                              "IndicationReceipt",
                                              "Subscription",
                                              "Mof",
                                              "CMPIProviderInterface",
                                              "WsmServer",
                                              "RsServer",
                                              "Client",
                                              "ControlProvider"};

namespace {

const Uint32 COMPONENTS =
    sizeof(Tracer::TRACE_COMPONENT_LIST) / sizeof(Tracer::TRACE_COMPONENT_LIST[0]);
static_assert(COMPONENTS == TRC_CONTROLPROVIDER + 1 && COMPONENTS <= 64,
              "every component has a name and a bit");

const unsigned long MAX_FILES = 100;  // each is renamed when the file rolls over

// Where the records go. Lives until the process ends: destructors of others may still trace.
struct Sink {
    std::mutex lock;
    bool toSystemLog = false;
    std::string path;
    int fd = -1;
    Uint64 maxSize = 0;  // bytes
    Uint32 maxFiles = 3;

    bool open();
    void rollOver();
    void write(const std::string& record);
};

Sink& sink() {
    static Sink& only = *new Sink;
    return only;
}

bool Sink::open() {
    const int opened = ::open(path.c_str(), O_WRONLY | O_APPEND | O_CREAT | O_CLOEXEC, 0600);
    if (opened < 0) {
        return false;
    }
    if (fd >= 0) {
        close(fd);
    }
    fd = opened;
    return true;
}

void Sink::rollOver() {
    for (Uint32 i = maxFiles; i > 0; i--) {
        const std::string from = i == 1 ? path : path + "." + std::to_string(i - 1);
        std::rename(from.c_str(), (path + "." + std::to_string(i)).c_str());
    }
    if (maxFiles == 0) {
        unlink(path.c_str());
    }
    open();
}

void Sink::write(const std::string& record) {
    const std::lock_guard<std::mutex> guard(lock);
    if (toSystemLog) {
        syslog(LOG_DEBUG, "%s", record.c_str());
    } else if (fd >= 0) {
        struct stat status;
        if (fstat(fd, &status) == 0 && status.st_size > 0 && Uint64(status.st_size) > maxSize) {
            rollOver();
        }
        // A record that does not fit on the disk is lost: tracing must not disturb its caller.
        if (::write(fd, record.data(), record.size()) < 0) {
            return;
        }
    }
}

void writeRecord(const char* file, size_t line, TraceComponentId component, const char* text) {
    timeval now;
    gettimeofday(&now, nullptr);
    char head[64], place[96];
    std::snprintf(head, sizeof(head), "%lds-%ldus: ", long(now.tv_sec), long(now.tv_usec));
    std::snprintf(place, sizeof(place), " [%ld:%ld:", long(getpid()), long(syscall(SYS_gettid)));
    std::string record(head);
    record += Uint32(component) < COMPONENTS ? Tracer::TRACE_COMPONENT_LIST[component] : "Unknown";
    record.append(place).append(file).append(":").append(std::to_string(line));
    record.append("]: ").append(text).append("\n");
    sink().write(record);
    if (const auto hook = velmar_embedded::traceHook.load(std::memory_order_acquire)) {
        hook(file, line, text);
    }
}

// The bits of the components in a comma-separated list; `known` tells whether it names only such.
Uint64 componentBits(const String& names, bool& known) {
    const std::string list(static_cast<const char*>(names.getCString()));
    Uint64 bits = 0;
    known = true;
    for (std::size_t from = 0, to; from < list.size(); from = to + 1) {
        to = std::min(list.find(',', from), list.size());
        const std::size_t first = std::min(list.find_first_not_of(' ', from), to);
        std::size_t last = to;
        while (last > first && list[last - 1] == ' ') {
            --last;
        }
        const std::string name = list.substr(first, last - first);
        Uint64 found = strcasecmp(name.c_str(), "ALL") == 0 ? ~Uint64(0) : 0;
        for (Uint32 i = 0; i < COMPONENTS; i++) {
            if (strcasecmp(name.c_str(), Tracer::TRACE_COMPONENT_LIST[i]) == 0) {
                found |= Uint64(1) << i;
            }
        }
        known = known && found != 0;
        bits |= found;
    }
    return bits;
}

}  // namespace

void Tracer::writeMethod(const char* what, const TracerToken& token, const char* file,
                         size_t line) {
    writeRecord(file, line, token.component, std::string(what).append(token.method).c_str());
}

void Tracer::traceCString(const char* fileName, const Uint32 lineNum,
                          const TraceComponentId component, const char* cstring) {
    writeRecord(fileName, lineNum, component, cstring);
}

Uint32 Tracer::setTraceFile(const char* traceFile) {
    if (!traceFile || !*traceFile) {
        return 1;
    }
    Sink& out = sink();
    const std::lock_guard<std::mutex> guard(out.lock);
    const std::string before = out.path;
    out.path = traceFile;
    if (out.open()) {
        return 0;
    }
    out.path = before;
    return 1;
}

Uint32 Tracer::setTraceLevel(const Uint32 level) {
    const bool valid = level <= LEVEL5 && (level & (level - 1)) == 0;
    _levels = valid && level != 0 ? level | (level - 1) : 0;
    return valid ? 0 : 1;
}

void Tracer::setTraceComponents(const String& commaSeparatedNames) {
    bool known;
    _components = componentBits(commaSeparatedNames, known);
}

Boolean Tracer::isValidComponents(const String& commaSeparatedNames) {
    bool known;
    componentBits(commaSeparatedNames, known);
    return known;
}

Uint32 Tracer::setTraceFacility(const String& facility) {
    const bool systemLog = String::equalNoCase(facility, "Log");
    if (!systemLog && !String::equalNoCase(facility, "File")) {
        return 1;
    }
    Sink& out = sink();
    const std::lock_guard<std::mutex> guard(out.lock);
    out.toSystemLog = systemLog;
    return 0;
}

void Tracer::setMaxTraceFileSize(const String& kilobytes) {
    const Uint64 size = std::strtoull(kilobytes.getCString(), nullptr, 10) * 1024;
    Sink& out = sink();
    const std::lock_guard<std::mutex> guard(out.lock);
    out.maxSize = size;
}

void Tracer::setMaxTraceFileNumber(const String& number) {
    const Uint32 files =
        Uint32(std::min(std::strtoul(number.getCString(), nullptr, 10), MAX_FILES));
    Sink& out = sink();
    const std::lock_guard<std::mutex> guard(out.lock);
    out.maxFiles = files;
}

void TraceCallFrame::invoke(const TraceComponentId component, const Uint32 level,
                            const char* format, ...) {
    if (!Tracer::isTraceEnabled(component, level)) {
        return;
    }
    va_list arguments, again;
    va_start(arguments, format);
    va_copy(again, arguments);
    const int n = std::vsnprintf(nullptr, 0, format, arguments);
    va_end(arguments);
    std::vector<char> text(std::size_t(n < 0 ? 0 : n) + 1, '\0');
    if (n > 0) {
        std::vsnprintf(text.data(), text.size(), format, again);
    }
    va_end(again);
    Tracer::traceCString(file, line, component, text.data());
}

}  // namespace Pegasus
