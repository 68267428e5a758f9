// SPDX-FileCopyrightText: The velmar_remote authors
// SPDX-License-Identifier: MIT
//
// The former name of <velmar_testing/ThreadSanitizer.h>, for one version.
#ifndef VELMAR_KIT_THREADSANITIZER_H
#define VELMAR_KIT_THREADSANITIZER_H

#include <velmar_testing/ThreadSanitizer.h>

#endif
