// SPDX-FileCopyrightText: The velmar_remote authors
// SPDX-License-Identifier: MIT
//
// Fixed-width names of the CIM side, declared once for the whole library.
#ifndef VELMAR_REMOTE_COMMON_CONFIG_H
#define VELMAR_REMOTE_COMMON_CONFIG_H

#include <Pegasus/Common/Config.h>

namespace velmar_remote {

// The same types as the CIM library's, so that code which uses both namespaces meets one name.
using Pegasus::Boolean;
using Pegasus::Real32;
using Pegasus::Real64;
using Pegasus::Sint16;
using Pegasus::Sint32;
using Pegasus::Sint64;
using Pegasus::Sint8;
using Pegasus::Uint16;
using Pegasus::Uint32;
using Pegasus::Uint64;
using Pegasus::Uint8;

}  // namespace velmar_remote

#endif
