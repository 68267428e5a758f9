// SPDX-FileCopyrightText: The velmar_remote authors
// SPDX-License-Identifier: MIT
//
// What Util shares with the other sources of this folder (not installed).
#ifndef VELMAR_REMOTE_COMMON_UTILINTERNAL_H
#define VELMAR_REMOTE_COMMON_UTILINTERNAL_H

#include <Pegasus/Common/CIMInstance.h>
#include <Pegasus/Common/CIMName.h>
#include <Pegasus/Common/CIMObjectPath.h>
#include <Pegasus/Common/CIMProperty.h>
#include <Pegasus/Common/CIMValue.h>
#include <Pegasus/Common/OperationContext.h>
#include <Pegasus/Provider/CIMOMHandle.h>

#pragma GCC visibility push(hidden)

namespace velmar_remote {

/// With default attributes.
inline void addProperty(Pegasus::CIMInstance& inst, const Pegasus::CIMName& name,
                        const Pegasus::CIMValue& value) {
    inst.addProperty(Pegasus::CIMProperty(name, value));
}

// The two hops from a system to its control point, one upcall each. Of several domains or control
// points the first is taken; where there is none, the path is empty.

/// The admin domain that holds the system.
Pegasus::CIMObjectPath domainOf(Pegasus::CIMOMHandle& cimom,
                                const Pegasus::OperationContext& context,
                                const Pegasus::CIMObjectPath& system);
/// The hardware control point that the domain holds.
Pegasus::CIMObjectPath controlPointOf(Pegasus::CIMOMHandle& cimom,
                                      const Pegasus::OperationContext& context,
                                      const Pegasus::CIMObjectPath& domain);

inline bool isEmpty(const Pegasus::CIMObjectPath& path) { return path.getClassName().isNull(); }

}  // namespace velmar_remote

#pragma GCC visibility pop

#endif
