// SPDX-FileCopyrightText: The velmar_remote authors
// SPDX-License-Identifier: MIT
//
// The former name of <velmar_testing/Printers.h>, for one version.
#ifndef VELMAR_KIT_PRINTERS_H
#define VELMAR_KIT_PRINTERS_H

#include <velmar_testing/Printers.h>

namespace velmar_kit = velmar_testing;

#endif
