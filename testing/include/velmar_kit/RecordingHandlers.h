// SPDX-FileCopyrightText: The velmar_remote authors
// SPDX-License-Identifier: MIT
//
// The former name of <velmar_testing/RecordingHandlers.h>, for one version.
#ifndef VELMAR_KIT_RECORDINGHANDLERS_H
#define VELMAR_KIT_RECORDINGHANDLERS_H

#include <velmar_testing/RecordingHandlers.h>

namespace velmar_kit = velmar_testing;

#endif
