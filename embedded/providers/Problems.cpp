// SPDX-FileCopyrightText: The velmar_remote authors
// SPDX-License-Identifier: MIT

#include "providers/Problems.h"

#include <stdio.h>

namespace velmar_embedded {

void Problems::report(const std::string& problem) const {
    if (_observer) {
        _observer(problem);
    } else {
        fprintf(stderr, "CIM server: %s\n", problem.c_str());
    }
}

}  // namespace velmar_embedded
