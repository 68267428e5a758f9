// SPDX-FileCopyrightText: The velmar_remote authors
// SPDX-License-Identifier: MIT
//
// The former name of <velmar_testing/ServedPackage.h>, for one version.
#ifndef VELMAR_KIT_SERVEDPACKAGE_H
#define VELMAR_KIT_SERVEDPACKAGE_H

#include <velmar_testing/ServedPackage.h>

namespace velmar_kit = velmar_testing;

#endif
