// SPDX-FileCopyrightText: The velmar_remote authors
// SPDX-License-Identifier: MIT

#include "Benchmark.h"

#include <stdio.h>
#include <stdlib.h>

#include "Internal.h"

using namespace Pegasus;

namespace velmar_remote {

void Benchmark::logElapsedTime(const char* methodName) {
    char* text;
    if (asprintf(&text, "%s took %u ms.", methodName, getElapsedTime()) == -1) {
        return;
    }
    // As an argument, not as the format: the name may hold percent signs.
    PEG_TRACE((TRACE_COMPONENT, Tracer::LEVEL3, "%s", text));
    free(text);
}

}  // namespace velmar_remote
