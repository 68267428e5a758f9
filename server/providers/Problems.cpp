// SPDX-FileCopyrightText: The velmar_remote authors
// SPDX-License-Identifier: MIT

#include "providers/Problems.h"

#include <stdio.h>

namespace velmar_embedded {

namespace {

void toStderr(const std::string& problem) { fprintf(stderr, "CIM server: %s\n", problem.c_str()); }

}  // namespace

void Problems::report(const std::string& problem) {
    auto tell = [this, problem] {
        try {
            _observer(problem);
        } catch (...) {  // a problem more, which must not lead to the next
            toStderr("the observer of problems failed, told of " + problem);
        }
    };
    if (!_observer || !_teller.queue(tell)) {
        toStderr(problem);
    }
}

}  // namespace velmar_embedded
