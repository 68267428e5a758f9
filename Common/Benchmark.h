// SPDX-FileCopyrightText: The velmar_remote authors
// SPDX-License-Identifier: MIT
//
// A stopwatch that writes what it measured into the CIM server's trace.
//
// Not locked: one object belongs to one thread at a time.
#ifndef VELMAR_REMOTE_COMMON_BENCHMARK_H
#define VELMAR_REMOTE_COMMON_BENCHMARK_H

#include <Pegasus/Common/TimeValue.h>

#include "Config.h"

namespace velmar_remote {

/// A stopwatch that writes what it has measured to the trace.
class Benchmark {
 public:
    /// Starts a measurement.
    Benchmark() { start(); }
    virtual ~Benchmark() {}

    /// Starts the measurement again.
    void start() { m_start = Pegasus::TimeValue::getCurrentTime(); }

    /// Milliseconds since the start, exact below 2^32 of them (49.7 days).
    Uint32 getElapsedTime() {
        // Both counts wrap at 32 bits; their difference does not.
        return static_cast<Uint32>(Pegasus::TimeValue::getCurrentTime().toMilliseconds()) -
               static_cast<Uint32>(m_start.toMilliseconds());
    }

    /// Writes "<methodName> took <n> ms." as a trace record; the start stays as it is. Quiet when
    /// there is no memory for the text.
    void logElapsedTime(const char* methodName);

 private:
    Pegasus::TimeValue m_start;
};

}  // namespace velmar_remote

#endif
